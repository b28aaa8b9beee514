-- What only imports fill: more of employees, accommodation and articles, and the tables of fixed assets,
-- journals, retail and services. Texts are as long as the columns of the import sheets.

-- An employee's place of birth, the places that issued his papers, his pay and his contract. vrsta_ugovora: O
-- without an end, N with one.
ALTER TABLE zaposlenik ADD COLUMN drzavljanstvo VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN ime_roditelja VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN ranije_prezime VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN spol VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN brak BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN mjesto_rod_id BIGINT REFERENCES mjesto (id);
ALTER TABLE zaposlenik ADD COLUMN datum_rod DATE;
ALTER TABLE zaposlenik ADD COLUMN email VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN fak_odb VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN obucen_znr BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN obucen_zop BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN strucno_osposob BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN hrvi BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN invalidnost DOUBLE PRECISION;
ALTER TABLE zaposlenik ADD COLUMN dat_poc_ro DATE;
ALTER TABLE zaposlenik ADD COLUMN dat_end_ro DATE;
ALTER TABLE zaposlenik ADD COLUMN osobna_br VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN mjesto_osobna_id BIGINT REFERENCES mjesto (id);
ALTER TABLE zaposlenik ADD COLUMN knjizica_br VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN mjesto_knjizica_id BIGINT REFERENCES mjesto (id);
ALTER TABLE zaposlenik ADD COLUMN osobni_broj VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN banka_id BIGINT REFERENCES banke (id);
ALTER TABLE zaposlenik ADD COLUMN broj_racuna VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN zasticeni_racun BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN zasticeni_postotak DOUBLE PRECISION;
ALTER TABLE zaposlenik ADD COLUMN zasticeni_iban VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN placa_na_tekuci BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN dat_poc_ugovora DATE;
ALTER TABLE zaposlenik ADD COLUMN dat_end_ugovora DATE;
ALTER TABLE zaposlenik ADD COLUMN vrsta_ugovora VARCHAR(1);
ALTER TABLE zaposlenik ADD COLUMN putni_trosak_auto BOOLEAN;
ALTER TABLE zaposlenik ADD COLUMN putni_trosak_naknada_id BIGINT REFERENCES naknada_place (id);
ALTER TABLE zaposlenik ADD COLUMN putni_trosak_iznos NUMERIC(19,4);
ALTER TABLE zaposlenik ADD COLUMN datum_stanovanje DATE;
ALTER TABLE zaposlenik ADD COLUMN adresa_stanovanje VARCHAR(100);
ALTER TABLE zaposlenik ADD COLUMN mjesto_stanovanje_id BIGINT REFERENCES mjesto (id);

-- korisnik is the user who entered the article; sifra_dobavljaca is kept as written, whether or not a partner
-- has it.
ALTER TABLE art ADD COLUMN korisnik VARCHAR(100);
ALTER TABLE art ADD COLUMN sifra_dobavljaca VARCHAR(100);

-- Under which codes and names suppliers sell an article.
CREATE TABLE art_dob (
  id KEY,
  art_id BIGINT,
  dobavljac_id BIGINT NOT NULL,
  sifra_kod_proizvodjaca VARCHAR(15),
  naziv_kod_dobavljaca VARCHAR(20) NOT NULL,
  sifra_kod_dobavljaca VARCHAR(20),
  cijena NUMERIC(19,4),
  FOREIGN KEY (art_id) REFERENCES art (id),
  FOREIGN KEY (dobavljac_id) REFERENCES par (id)
);
CREATE INDEX art_dob_art ON art_dob (art_id);
CREATE INDEX art_dob_dobavljac ON art_dob (dobavljac_id);

-- Accommodation.

ALTER TABLE apo_smjestajna_jedinica ADD COLUMN broj_soba DOUBLE PRECISION;
ALTER TABLE apo_smjestajna_jedinica ADD COLUMN broj_kreveta DOUBLE PRECISION;
ALTER TABLE apo_smjestajna_jedinica ADD COLUMN broj_pom_lezaja DOUBLE PRECISION;
ALTER TABLE apo_smjestajna_jedinica ADD COLUMN adresa VARCHAR(100);
ALTER TABLE apo_smjestajna_jedinica ADD COLUMN mjesto_id BIGINT REFERENCES mjesto (id);

-- naziv_par is the partner of a resource that was taken in without looking him up.
ALTER TABLE resurs ADD COLUMN naziv_skl VARCHAR(100);
ALTER TABLE resurs ADD COLUMN aktivan BOOLEAN;
ALTER TABLE resurs ADD COLUMN opis VARCHAR(100);
ALTER TABLE resurs ADD COLUMN tudja BOOLEAN;
ALTER TABLE resurs ADD COLUMN par_id BIGINT REFERENCES par (id);
ALTER TABLE resurs ADD COLUMN naziv_par VARCHAR(100);

-- Persons who are guests; par_id is empty for a guest who is no partner.
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN ime VARCHAR(100);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN prezime VARCHAR(100);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN mjesto_id BIGINT REFERENCES mjesto (id);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN drzava_id BIGINT REFERENCES drzave (id);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN spol VARCHAR(100);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN datum_rod DATE;
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN mjesto_rod_id BIGINT REFERENCES mjesto (id);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN vrsta_isprave VARCHAR(100);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN drzava_rod_id BIGINT REFERENCES drzave (id);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN drzavljanstvo_id BIGINT REFERENCES drzave (id);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN tel VARCHAR(100);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN gsm VARCHAR(100);
ALTER TABLE apo_fizickeosobeatributi ADD COLUMN email VARCHAR(100);

-- Travellers of a booking; grupa is the group's name as the sheet has it.
CREATE TABLE apo_putnici (
  id KEY,
  grupa_rezervacije_id BIGINT,
  grupa VARCHAR(100),
  datum_rodjenja DATE,
  ime VARCHAR(100) NOT NULL,
  prezime VARCHAR(100) NOT NULL,
  spol VARCHAR(1),
  drzava_id BIGINT,
  mjesto_id BIGINT,
  adresa VARCHAR(100),
  oib VARCHAR(11),
  email VARCHAR(100),
  telefon VARCHAR(100),
  mobitel VARCHAR(100),
  roditelj VARCHAR(100),
  kontakt_osoba_telefon VARCHAR(100),
  kontakt_osoba_mobitel VARCHAR(100),
  broj_putovnice VARCHAR(100),
  broj_osobne VARCHAR(100),
  osobna_vrijedi_do DATE,
  putovnica_vrijedi_do DATE,
  vrsta_putne_isprave VARCHAR(100),
  broj_putne_isprave VARCHAR(100),
  drzava_rod_id BIGINT,
  drzavljanstvo_id BIGINT,
  mjesto_rod VARCHAR(100),
  datum_ulaska DATE,
  tip_putnika_unos VARCHAR(100),
  kon_ime VARCHAR(100),
  kon_prezime VARCHAR(100),
  FOREIGN KEY (grupa_rezervacije_id) REFERENCES apo_gruperezervacije (id),
  FOREIGN KEY (drzava_id) REFERENCES drzave (id),
  FOREIGN KEY (mjesto_id) REFERENCES mjesto (id),
  FOREIGN KEY (drzava_rod_id) REFERENCES drzave (id),
  FOREIGN KEY (drzavljanstvo_id) REFERENCES drzave (id)
);
CREATE INDEX apo_putnici_grupa ON apo_putnici (grupa_rezervacije_id);

-- Payments against contracts; vp is the means of payment.
CREATE TABLE apo_uplate (
  id KEY,
  datum DATE NOT NULL,
  vp VARCHAR(100),
  broj_ugo VARCHAR(100) NOT NULL,
  ime VARCHAR(100) NOT NULL,
  prezime VARCHAR(100) NOT NULL,
  sifra_grp VARCHAR(100) NOT NULL,
  iznos NUMERIC(19,4) NOT NULL
);
CREATE INDEX apo_uplate_broj_ugo ON apo_uplate (fold(broj_ugo));

-- Accounting.

CREATE TABLE fin_temeljnica_stavke (
  id KEY,
  konto_id BIGINT NOT NULL,
  opis VARCHAR(100) NOT NULL,
  datum_pp DATE NOT NULL,
  duguje NUMERIC(19,4) NOT NULL,
  potrazuje NUMERIC(19,4) NOT NULL,
  skl_id BIGINT NOT NULL,
  vrsta_knjizenja_id BIGINT NOT NULL,
  FOREIGN KEY (konto_id) REFERENCES fin_kto (id),
  FOREIGN KEY (skl_id) REFERENCES skladiste (id),
  FOREIGN KEY (vrsta_knjizenja_id) REFERENCES fin_vr_k (id)
);
CREATE INDEX fin_temeljnica_stavke_konto ON fin_temeljnica_stavke (konto_id);

-- Fixed assets: bought (dat_nab) from a supplier, in use from dat_poc_up, with their value and what was
-- written off of it regularly and at an accelerated rate until datum.
CREATE TABLE osr_osnovna_sredstva (
  id KEY,
  inv_broj VARCHAR(100) NOT NULL UNIQUE,
  naziv VARCHAR(100) NOT NULL,
  barcode VARCHAR(100),
  jm_id BIGINT NOT NULL,
  sku_dug_imv_id BIGINT NOT NULL,
  gr_dug_imv_id BIGINT NOT NULL,
  rj VARCHAR(100) NOT NULL,
  mje_smj_id BIGINT NOT NULL,
  zaposlenik_id BIGINT,
  dat_poc_up DATE NOT NULL,
  dat_nab DATE NOT NULL,
  nab_vr NUMERIC(19,4) NOT NULL,
  ispr_red NUMERIC(19,4),
  ispr_ubr NUMERIC(19,4),
  par_id BIGINT NOT NULL,
  datum DATE NOT NULL,
  napomena VARCHAR(100),
  FOREIGN KEY (jm_id) REFERENCES jm (id),
  FOREIGN KEY (sku_dug_imv_id) REFERENCES osr_sku_dug_imv (id),
  FOREIGN KEY (gr_dug_imv_id) REFERENCES osr_gr_dug_imv (id),
  FOREIGN KEY (mje_smj_id) REFERENCES osr_mje_smj (id),
  FOREIGN KEY (zaposlenik_id) REFERENCES zaposlenik (id),
  FOREIGN KEY (par_id) REFERENCES par (id)
);

-- Retail. Articles by size and colour, as the makers' catalogues have them: prices and quantities too are
-- texts, and only the bar code is required.
CREATE TABLE lunari_artikli (
  id KEY,
  barcode VARCHAR(100) NOT NULL UNIQUE,
  sifra VARCHAR(100),
  naziv VARCHAR(100),
  jm_id BIGINT,
  tbr VARCHAR(100),
  grupa VARCHAR(100),
  podgrupa VARCHAR(100),
  brand VARCHAR(100),
  spol VARCHAR(100),
  uzrast VARCHAR(100),
  sport VARCHAR(100),
  sezona VARCHAR(100),
  hr_vel VARCHAR(100),
  velicina VARCHAR(100),
  str_naziv VARCHAR(100),
  hr_naziv VARCHAR(100),
  model VARCHAR(100),
  katalog VARCHAR(100),
  nab_cij VARCHAR(100),
  nab_cij_dev VARCHAR(100),
  rabat_ul_p VARCHAR(100),
  fc_rab_ul VARCHAR(100),
  prod_cij VARCHAR(100),
  akcija VARCHAR(100),
  boja VARCHAR(100),
  opis_boje VARCHAR(100),
  razred VARCHAR(100),
  klasa VARCHAR(100),
  trend VARCHAR(100),
  tipology VARCHAR(100),
  cup VARCHAR(100),
  trend_name VARCHAR(100),
  root VARCHAR(100),
  patron VARCHAR(100),
  ws VARCHAR(100),
  naziv_pro VARCHAR(100),
  drz_pod VARCHAR(100),
  tezina VARCHAR(100),
  car_tar_br VARCHAR(100),
  komb_nom VARCHAR(100),
  cij_za_dekl VARCHAR(100),
  kol_za_dekl VARCHAR(100),
  carryover VARCHAR(100),
  webshop VARCHAR(100),
  opis VARCHAR(100),
  FOREIGN KEY (jm_id) REFERENCES jm (id)
);
CREATE INDEX lunari_artikli_barcode ON lunari_artikli (fold(barcode));

CREATE TABLE lunari_kupci (
  id KEY,
  email VARCHAR(100),
  naziv VARCHAR(100),
  adresa VARCHAR(100),
  ptt VARCHAR(100),
  mjesto_id BIGINT,
  drzava_id BIGINT,
  telefon VARCHAR(100),
  FOREIGN KEY (mjesto_id) REFERENCES mjesto (id),
  FOREIGN KEY (drzava_id) REFERENCES drzave (id)
);

-- Services; tbr is the rate of tax in percent.
CREATE TABLE usluge (
  id KEY,
  sifra VARCHAR(100) NOT NULL UNIQUE,
  aktivna BOOLEAN NOT NULL,
  grupa_usl_id BIGINT,
  konto_id BIGINT NOT NULL,
  naziv_hrv VARCHAR(200) NOT NULL,
  naziv_ita VARCHAR(200),
  naziv_slo VARCHAR(200),
  naziv_deu VARCHAR(200),
  naziv_eng VARCHAR(200),
  pc NUMERIC(19,4) NOT NULL,
  tbr DOUBLE PRECISION,
  mpc NUMERIC(19,4),
  FOREIGN KEY (grupa_usl_id) REFERENCES grupa_usl (id),
  FOREIGN KEY (konto_id) REFERENCES fin_kto (id)
);
