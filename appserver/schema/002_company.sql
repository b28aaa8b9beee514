-- The company itself: parameters, warehouses, premises, bank accounts, employees, accounts of integrations.

CREATE TABLE parametri_poduzeca (
  id KEY,
  naziv VARCHAR(100) NOT NULL UNIQUE,
  vrijednost VARCHAR(255),
  opis VARCHAR(255)
);

CREATE TABLE dodatni_parametri (
  id KEY,
  naziv VARCHAR(100) NOT NULL UNIQUE,
  vrijednost VARCHAR(255),
  opis VARCHAR(255)
);

CREATE TABLE dodatne_mogucnosti (
  id KEY,
  code VARCHAR(100) NOT NULL UNIQUE,
  allow BOOLEAN DEFAULT FALSE NOT NULL,
  opis VARCHAR(255)
);

CREATE TABLE skladiste (
  id KEY,
  sifra VARCHAR(20) NOT NULL UNIQUE,
  naziv VARCHAR(100) NOT NULL,
  gln VARCHAR(13),
  adresa VARCHAR(100),
  mjesto_id BIGINT,
  webshop BOOLEAN DEFAULT FALSE NOT NULL,
  aktivan BOOLEAN DEFAULT TRUE NOT NULL,
  FOREIGN KEY (mjesto_id) REFERENCES mjesto (id)
);
CREATE INDEX skladiste_sifra ON skladiste (fold(sifra));
CREATE INDEX skladiste_gln ON skladiste (gln);

-- Business premises under which fiscal receipts are numbered; za_ugovore: those of contracts.
CREATE TABLE poslovni_prostor (
  id KEY,
  skl_id BIGINT NOT NULL,
  za_ugovore BOOLEAN DEFAULT FALSE NOT NULL,
  oznaka VARCHAR(20) NOT NULL,
  naplatni_uredjaj VARCHAR(20) NOT NULL,
  adresa VARCHAR(100),
  vrijedi_od DATE,
  UNIQUE (skl_id, za_ugovore, oznaka, naplatni_uredjaj),
  FOREIGN KEY (skl_id) REFERENCES skladiste (id)
);

CREATE TABLE poduzece_ibani (
  id KEY,
  iban VARCHAR(34) NOT NULL UNIQUE,
  banka_id BIGINT,
  valuta_id BIGINT,
  glavni BOOLEAN DEFAULT FALSE NOT NULL,
  FOREIGN KEY (banka_id) REFERENCES banke (id),
  FOREIGN KEY (valuta_id) REFERENCES valuta (id)
);

CREATE TABLE radno_mjesto (
  id KEY,
  naziv VARCHAR(100) NOT NULL UNIQUE
);
CREATE INDEX radno_mjesto_naziv ON radno_mjesto (fold(naziv));

CREATE TABLE naknada_place (
  id KEY,
  naziv VARCHAR(100) NOT NULL UNIQUE
);
CREATE INDEX naknada_place_naziv ON naknada_place (fold(naziv));

CREATE TABLE zaposlenik (
  id KEY,
  sifra VARCHAR(100) NOT NULL UNIQUE,
  ime VARCHAR(100) NOT NULL,
  prezime VARCHAR(100) NOT NULL,
  oib VARCHAR(100),
  jmbg VARCHAR(100),
  radno_mjesto_id BIGINT,
  aktivan BOOLEAN DEFAULT TRUE NOT NULL,
  FOREIGN KEY (radno_mjesto_id) REFERENCES radno_mjesto (id)
);
CREATE INDEX zaposlenik_sifra ON zaposlenik (fold(sifra));
CREATE INDEX zaposlenik_oib ON zaposlenik (fold(oib));
CREATE INDEX zaposlenik_jmbg ON zaposlenik (fold(jmbg));

-- An employee's list of a period.
CREATE TABLE rlista (
  id KEY,
  zaposlenik_id BIGINT NOT NULL,
  od_datuma DATE NOT NULL,
  do_datuma DATE NOT NULL,
  CHECK (od_datuma <= do_datuma),
  FOREIGN KEY (zaposlenik_id) REFERENCES zaposlenik (id)
);
CREATE INDEX rlista_zaposlenik ON rlista (zaposlenik_id, do_datuma);

-- The company's accounts with intermediaries; user_id is empty in the account of all users.
CREATE TABLE integracije_racuni (
  id KEY,
  user_id VARCHAR(5) DEFAULT '' NOT NULL UNIQUE,
  eracun_send_b2c_bills BOOLEAN DEFAULT FALSE NOT NULL,
  eracun_b2c_url VARCHAR(255),
  eracun_user_name VARCHAR(100),
  eracun_key VARCHAR(255)
);
