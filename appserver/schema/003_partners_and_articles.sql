-- Partners with their open items, articles, and what bookings of accommodation refer to.

CREATE TABLE komercijalist (
  id KEY,
  naziv VARCHAR(50) NOT NULL UNIQUE
);
CREATE INDEX komercijalist_naziv ON komercijalist (fold(naziv));

-- limit_duga 0: no credit limit; dani_kasnjenja 0: any delay is allowed. tip_tvrtke is the kind of partner,
-- such as "Fizička osoba"; odgoda the days of payment.
CREATE TABLE par (
  id KEY,
  sifra VARCHAR(20) UNIQUE,
  naziv VARCHAR(100) NOT NULL,
  oib VARCHAR(11),
  adresa VARCHAR(100),
  adresabroj VARCHAR(10),
  adresadodatakbroj VARCHAR(10),
  mjesto_id BIGINT,
  drzava_id BIGINT,
  valuta_id BIGINT,
  vlasnik VARCHAR(60),
  vla_tel VARCHAR(20),
  vla_mob VARCHAR(20),
  vla_adresa VARCHAR(60),
  tip_tvrtke VARCHAR(50),
  pdv_br VARCHAR(15),
  iban VARCHAR(50),
  swift VARCHAR(50),
  matbr VARCHAR(13),
  telefon VARCHAR(20),
  fax VARCHAR(20),
  email VARCHAR(60),
  web VARCHAR(60),
  email_eracun VARCHAR(150),
  broj_ugovora VARCHAR(10),
  nacin_placanja VARCHAR(20),
  limit_duga NUMERIC(19,4) DEFAULT 0 NOT NULL,
  dani_kasnjenja INTEGER DEFAULT 0 NOT NULL,
  fakturiranje_limit_duga BOOLEAN DEFAULT FALSE NOT NULL,
  faktur_limit_duga_once BOOLEAN DEFAULT FALSE NOT NULL,
  odgoda DOUBLE PRECISION,
  komercijalist_id BIGINT,
  tuzeni_iznos NUMERIC(19,4),
  tuzen BOOLEAN DEFAULT FALSE NOT NULL,
  deny_in_doc BOOLEAN DEFAULT FALSE NOT NULL,
  tuzio_iznos NUMERIC(19,4),
  deny_out_doc BOOLEAN DEFAULT FALSE NOT NULL,
  aktivan BOOLEAN DEFAULT TRUE NOT NULL,
  napomena VARCHAR(255),
  FOREIGN KEY (mjesto_id) REFERENCES mjesto (id),
  FOREIGN KEY (drzava_id) REFERENCES drzave (id),
  FOREIGN KEY (valuta_id) REFERENCES valuta (id),
  FOREIGN KEY (komercijalist_id) REFERENCES komercijalist (id)
);
CREATE INDEX par_sifra ON par (fold(sifra));
CREATE INDEX par_naziv ON par (fold(naziv));
CREATE INDEX par_oib ON par (fold(oib));

-- Open items of partners: a debt stands in duguje, what was paid of it in potrazuje of a row with the same
-- number of document.
CREATE TABLE otvorene_stavke (
  id KEY,
  par_id BIGINT NOT NULL,
  konto_id BIGINT,
  skl_id BIGINT,
  opis VARCHAR(200),
  datum_pp DATE,
  duguje NUMERIC(19,4) DEFAULT 0 NOT NULL,
  potrazuje NUMERIC(19,4) DEFAULT 0 NOT NULL,
  br_dok VARCHAR(100) NOT NULL,
  datum_dok DATE,
  datum_dos DATE NOT NULL,
  poziv_na_br VARCHAR(100),
  FOREIGN KEY (par_id) REFERENCES par (id),
  FOREIGN KEY (konto_id) REFERENCES fin_kto (id),
  FOREIGN KEY (skl_id) REFERENCES skladiste (id)
);
CREATE INDEX otvorene_stavke_par ON otvorene_stavke (par_id, br_dok);

CREATE TABLE art (
  id KEY,
  sifra VARCHAR(100) NOT NULL UNIQUE,
  naziv VARCHAR(150) NOT NULL,
  jm_id BIGINT,
  tbr_id BIGINT,
  car_stp DOUBLE PRECISION,
  trosarina DOUBLE PRECISION,
  opis TEXT,
  vrsta_id BIGINT,
  podvrsta_id BIGINT,
  podgrupa2_id BIGINT,
  rabatna_grupa_id BIGINT,
  vaga BOOLEAN DEFAULT FALSE NOT NULL,
  konsignacija BOOLEAN DEFAULT FALSE NOT NULL,
  naknada BOOLEAN DEFAULT FALSE NOT NULL,
  pov_nak NUMERIC(19,4),
  naziv_strani VARCHAR(150),
  car_faktor DOUBLE PRECISION,
  tezina DOUBLE PRECISION,
  stp_kalo_mal DOUBLE PRECISION,
  stp_kalo_vel DOUBLE PRECISION,
  barcode VARCHAR(100),
  car_tar_br_id BIGINT,
  drzava_porijekla_id BIGINT,
  dobavljac_id BIGINT,
  vpc NUMERIC(19,4),
  mpc NUMERIC(19,4),
  aktivan BOOLEAN DEFAULT TRUE NOT NULL,
  FOREIGN KEY (jm_id) REFERENCES jm (id),
  FOREIGN KEY (tbr_id) REFERENCES tbr (id),
  FOREIGN KEY (vrsta_id) REFERENCES vrsta (id),
  FOREIGN KEY (podvrsta_id) REFERENCES podvrsta (id),
  FOREIGN KEY (podgrupa2_id) REFERENCES podgrupa2 (id),
  FOREIGN KEY (rabatna_grupa_id) REFERENCES rabatne_grupe (id),
  FOREIGN KEY (car_tar_br_id) REFERENCES car_tar_br (id),
  FOREIGN KEY (drzava_porijekla_id) REFERENCES drzave (id),
  FOREIGN KEY (dobavljac_id) REFERENCES par (id)
);
CREATE INDEX art_sifra ON art (fold(sifra));
CREATE INDEX art_barcode ON art (fold(barcode));

CREATE TABLE apo_smjestajna_jedinica (
  id KEY,
  sifra VARCHAR(100) NOT NULL UNIQUE,
  naziv VARCHAR(100) NOT NULL
);
CREATE INDEX apo_smjestajna_jedinica_sifra ON apo_smjestajna_jedinica (fold(sifra));
CREATE INDEX apo_smjestajna_jedinica_naziv ON apo_smjestajna_jedinica (fold(naziv));

CREATE TABLE resurs (
  id KEY,
  sifra VARCHAR(100) NOT NULL UNIQUE,
  naziv VARCHAR(100) NOT NULL,
  apo_smjestajna_jedinica_id BIGINT,
  FOREIGN KEY (apo_smjestajna_jedinica_id) REFERENCES apo_smjestajna_jedinica (id)
);
CREATE INDEX resurs_sifra ON resurs (fold(sifra));
CREATE INDEX resurs_naziv ON resurs (fold(naziv));

CREATE TABLE apo_fizickeosobeatributi (
  id KEY,
  par_id BIGINT,
  brojputneisprave VARCHAR(100),
  FOREIGN KEY (par_id) REFERENCES par (id)
);
CREATE INDEX apo_fizickeosobeatributi_brojputneisprave ON apo_fizickeosobeatributi (fold(brojputneisprave));

CREATE TABLE apo_gruperezervacije (
  id KEY,
  broj VARCHAR(20) NOT NULL UNIQUE,
  naziv VARCHAR(100)
);
CREATE INDEX apo_gruperezervacije_broj ON apo_gruperezervacije (fold(broj));
