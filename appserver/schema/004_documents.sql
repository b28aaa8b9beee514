-- Documents with their lines and their tax by rate, links between them, payment slips, e-invoices.

CREATE TABLE dok (
  id KEY,
  vrsta VARCHAR(50) NOT NULL,
  godina INTEGER NOT NULL,
  broj INTEGER NOT NULL,
  datum DATE NOT NULL,
  datum_dospijeca DATE,
  skl_id BIGINT,
  par_id BIGINT,
  valuta_id BIGINT,
  tecaj DOUBLE PRECISION,
  user_id VARCHAR(5),
  broj_dok_dob VARCHAR(50),
  datum_dok_dob DATE,
  nacin_placanja VARCHAR(20),
  poziv_na_br VARCHAR(50),
  opis VARCHAR(255),
  ukupno NUMERIC(19,4),
  UNIQUE (vrsta, godina, broj),
  CHECK (broj > 0),
  FOREIGN KEY (skl_id) REFERENCES skladiste (id),
  FOREIGN KEY (par_id) REFERENCES par (id),
  FOREIGN KEY (valuta_id) REFERENCES valuta (id)
);
CREATE INDEX dok_par_broj_dok_dob ON dok (par_id, fold(broj_dok_dob));

-- A line is goods or a service; its columns are the fields that the calculators of documents know.
CREATE TABLE dok_stavke (
  id KEY,
  dok_id BIGINT NOT NULL,
  rb INTEGER NOT NULL,
  sorta VARCHAR(10) NOT NULL CHECK (sorta IN ('roba', 'usluga')),
  art_id BIGINT,
  sifra VARCHAR(100),
  naziv VARCHAR(150),
  jm VARCHAR(20),
  kolicina DOUBLE PRECISION,
  nc NUMERIC(19,4),
  nci NUMERIC(19,4),
  fc NUMERIC(19,4),
  fci NUMERIC(19,4),
  nfci NUMERIC(19,4),
  zti NUMERIC(19,4),
  vpc NUMERIC(19,4),
  vpci NUMERIC(19,4),
  mpc NUMERIC(19,4),
  mpci NUMERIC(19,4),
  nmpc NUMERIC(19,4),
  nmpci NUMERIC(19,4),
  nvpc NUMERIC(19,4),
  nvpci NUMERIC(19,4),
  pc NUMERIC(19,4),
  pci NUMERIC(19,4),
  pc_int NUMERIC(19,4),
  pci_int NUMERIC(19,4),
  rbp1 DOUBLE PRECISION,
  rbp2 DOUBLE PRECISION,
  rbp3 DOUBLE PRECISION,
  rbi1 NUMERIC(19,4),
  rbi2 NUMERIC(19,4),
  rbi3 NUMERIC(19,4),
  rabatiznos NUMERIC(19,4),
  popust DOUBLE PRECISION,
  popust_iznos NUMERIC(19,4),
  tbr_stp DOUBLE PRECISION,
  pdvi NUMERIC(19,4),
  osnovica NUMERIC(19,4),
  ukupno NUMERIC(19,4),
  pov_nak NUMERIC(19,4),
  pov_naki NUMERIC(19,4),
  pot_nak NUMERIC(19,4),
  pot_naki NUMERIC(19,4),
  pdvi_dob NUMERIC(19,4),
  uk_dob NUMERIC(19,4),
  osnovicaroba NUMERIC(19,4),
  osnovicausluge NUMERIC(19,4),
  pdviroba NUMERIC(19,4),
  pdviusluge NUMERIC(19,4),
  marza NUMERIC(19,4),
  mari NUMERIC(19,4),
  marp DOUBLE PRECISION,
  razlika NUMERIC(19,4),
  ztp DOUBLE PRECISION,
  nca NUMERIC(19,4),
  marpa DOUBLE PRECISION,
  maria NUMERIC(19,4),
  mpcia NUMERIC(19,4),
  mpca NUMERIC(19,4),
  mpcv NUMERIC(19,4),
  mpci_v NUMERIC(19,4),
  rbi1_v NUMERIC(19,4),
  ukupno_v NUMERIC(19,4),
  pdvi_v NUMERIC(19,4),
  vpci_v NUMERIC(19,4),
  normativ DOUBLE PRECISION,
  normativ_izn NUMERIC(19,4),
  lgr_kol DOUBLE PRECISION,
  lgr_koleta DOUBLE PRECISION,
  lgr_bruto DOUBLE PRECISION,
  lgr_neto DOUBLE PRECISION,
  koleta DOUBLE PRECISION,
  bruto DOUBLE PRECISION,
  neto DOUBLE PRECISION,
  ctb_stopa DOUBLE PRECISION,
  neoporezivo NUMERIC(19,4),
  vrsta VARCHAR(20),
  vrsta_stavke INTEGER,
  pp_iznos NUMERIC(19,4),
  pp_stopa DOUBLE PRECISION,
  UNIQUE (dok_id, rb),
  FOREIGN KEY (dok_id) REFERENCES dok (id),
  FOREIGN KEY (art_id) REFERENCES art (id)
);

CREATE TABLE dok_porezi (
  id KEY,
  dok_id BIGINT NOT NULL,
  rb INTEGER NOT NULL,
  stopa DOUBLE PRECISION NOT NULL,
  oznaka_stope VARCHAR(20),
  vrsta VARCHAR(20),
  osnovica NUMERIC(19,4) NOT NULL,
  porez NUMERIC(19,4) NOT NULL,
  neoporezivo NUMERIC(19,4),
  pp_stopa DOUBLE PRECISION,
  pp_iznos NUMERIC(19,4),
  ukupno NUMERIC(19,4) NOT NULL,
  UNIQUE (dok_id, rb),
  FOREIGN KEY (dok_id) REFERENCES dok (id)
);

-- A document made from a record of any table.
CREATE TABLE dok_veze (
  id KEY,
  parent_table VARCHAR(100) NOT NULL,
  parent_column VARCHAR(100) NOT NULL,
  parent_doc_id BIGINT NOT NULL,
  child_tip VARCHAR(50) NOT NULL,
  child_doc_id BIGINT NOT NULL,
  FOREIGN KEY (child_doc_id) REFERENCES dok (id)
);
CREATE INDEX dok_veze_parent ON dok_veze (parent_doc_id);
CREATE INDEX dok_veze_child ON dok_veze (child_doc_id);

-- Links to be made when the user stores his next document of the kind child_tip.
CREATE TABLE dok_veze_kasnije (
  id KEY,
  parent_table VARCHAR(100) NOT NULL,
  parent_column VARCHAR(100) NOT NULL,
  parent_doc_id BIGINT NOT NULL,
  child_tip VARCHAR(15) NOT NULL,
  user_id VARCHAR(5) NOT NULL
);
CREATE INDEX dok_veze_kasnije_user ON dok_veze_kasnije (user_id, child_tip);

-- What a payment slip (HUB-3) says besides payer, payee, amount and reference.
CREATE TABLE virman (
  id KEY,
  naziv VARCHAR(60) NOT NULL UNIQUE,
  iban_id BIGINT,
  model VARCHAR(4) NOT NULL,
  sifra_namjene VARCHAR(4),
  opis_placanja VARCHAR(35),
  FOREIGN KEY (iban_id) REFERENCES poduzece_ibani (id)
);

-- Documents that an intermediary has taken as e-invoices.
CREATE TABLE eracun_veze (
  id KEY,
  dok_id BIGINT NOT NULL UNIQUE,
  electronic_id BIGINT NOT NULL,
  status_id INTEGER,
  odgovor TEXT,
  FOREIGN KEY (dok_id) REFERENCES dok (id)
);
