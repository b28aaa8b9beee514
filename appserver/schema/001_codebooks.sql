-- What every company shares: countries, currencies and rates, places, units, tax rates, groups, accounts.
--
-- In these files `id KEY` is the table's integer primary key, and fold(column) in an index the column without
-- regard to letter case and to blanks at its ends. Everything else is SQL that every database understands.

CREATE TABLE drzave (
  id KEY,
  oznaka VARCHAR(3) NOT NULL UNIQUE,
  naziv VARCHAR(100) NOT NULL
);
CREATE INDEX drzave_oznaka ON drzave (fold(oznaka));
CREATE INDEX drzave_naziv ON drzave (fold(naziv));

CREATE TABLE valuta (
  id KEY,
  oznaka VARCHAR(3) NOT NULL UNIQUE,
  brojcana_oznaka VARCHAR(3),
  naziv VARCHAR(100) NOT NULL
);
CREATE INDEX valuta_oznaka ON valuta (fold(oznaka));

-- Until 2022 kunas for one unit of the currency, from 2023 units of the currency for one euro, as the national
-- bank's list of the date has it. A rate holds until the next one.
CREATE TABLE tecaj (
  id KEY,
  val_id BIGINT NOT NULL,
  datum DATE NOT NULL,
  tecaj DOUBLE PRECISION NOT NULL CHECK (tecaj > 0),
  napomena VARCHAR(100),
  UNIQUE (val_id, datum),
  FOREIGN KEY (val_id) REFERENCES valuta (id)
);

CREATE TABLE mjesto (
  id KEY,
  ptt VARCHAR(100),
  naziv VARCHAR(100) NOT NULL,
  drzava_id BIGINT,
  FOREIGN KEY (drzava_id) REFERENCES drzave (id)
);
CREATE INDEX mjesto_ptt ON mjesto (fold(ptt));
CREATE INDEX mjesto_naziv ON mjesto (fold(naziv));
CREATE INDEX mjesto_drzava ON mjesto (drzava_id);

-- oznaka is the unit's code in e-invoices (UN/ECE Recommendation 20).
CREATE TABLE jm (
  id KEY,
  naziv VARCHAR(20) NOT NULL UNIQUE,
  opis VARCHAR(100),
  oznaka VARCHAR(3)
);
CREATE INDEX jm_naziv ON jm (fold(naziv));

-- Rates of value-added tax in percent; a rate without an end is in force.
CREATE TABLE tbr (
  id KEY,
  stopa DOUBLE PRECISION NOT NULL CHECK (stopa >= 0),
  naziv VARCHAR(60) NOT NULL,
  drzava_id BIGINT NOT NULL,
  vrijedi_od DATE,
  vrijedi_do DATE,
  UNIQUE (drzava_id, stopa, vrijedi_od),
  FOREIGN KEY (drzava_id) REFERENCES drzave (id)
);
CREATE INDEX tbr_stopa ON tbr (stopa);

CREATE TABLE banke (
  id KEY,
  naziv VARCHAR(100) NOT NULL UNIQUE,
  vbdi VARCHAR(7),
  swift VARCHAR(11)
);
CREATE INDEX banke_naziv ON banke (fold(naziv));

CREATE TABLE car_tar_br (
  id KEY,
  sifra VARCHAR(20) NOT NULL UNIQUE,
  naziv VARCHAR(255),
  ctb_stopa DOUBLE PRECISION
);
CREATE INDEX car_tar_br_sifra ON car_tar_br (fold(sifra));

-- Groups of articles in three levels, groups of discounts, groups of services.

CREATE TABLE vrsta (
  id KEY,
  sifra VARCHAR(20),
  naziv VARCHAR(100) NOT NULL UNIQUE
);
CREATE INDEX vrsta_naziv ON vrsta (fold(naziv));

CREATE TABLE podvrsta (
  id KEY,
  vrsta_id BIGINT,
  sifra VARCHAR(20),
  naziv VARCHAR(100) NOT NULL,
  FOREIGN KEY (vrsta_id) REFERENCES vrsta (id)
);
CREATE INDEX podvrsta_naziv ON podvrsta (fold(naziv));
CREATE INDEX podvrsta_vrsta ON podvrsta (vrsta_id);

CREATE TABLE podgrupa2 (
  id KEY,
  podvrsta_id BIGINT,
  sifra VARCHAR(20),
  naziv VARCHAR(100) NOT NULL,
  FOREIGN KEY (podvrsta_id) REFERENCES podvrsta (id)
);
CREATE INDEX podgrupa2_naziv ON podgrupa2 (fold(naziv));
CREATE INDEX podgrupa2_podvrsta ON podgrupa2 (podvrsta_id);

CREATE TABLE rabatne_grupe (
  id KEY,
  sifra VARCHAR(20),
  naziv VARCHAR(100) NOT NULL UNIQUE,
  rbp1 DOUBLE PRECISION
);
CREATE INDEX rabatne_grupe_naziv ON rabatne_grupe (fold(naziv));

CREATE TABLE grupa_usl (
  id KEY,
  sifra VARCHAR(20),
  naziv VARCHAR(100) NOT NULL UNIQUE
);
CREATE INDEX grupa_usl_naziv ON grupa_usl (fold(naziv));

-- The chart of accounts, and the kinds of bookings.

CREATE TABLE fin_kto (
  id KEY,
  konto VARCHAR(8) NOT NULL UNIQUE,
  opis VARCHAR(300) NOT NULL
);
CREATE INDEX fin_kto_konto ON fin_kto (fold(konto));

CREATE TABLE fin_vr_k (
  id KEY,
  sifra VARCHAR(4) NOT NULL UNIQUE,
  opis VARCHAR(100) NOT NULL
);
CREATE INDEX fin_vr_k_sifra ON fin_vr_k (fold(sifra));

-- Fixed assets: groups by depreciation, groups by account, places.

CREATE TABLE osr_sku_dug_imv (
  id KEY,
  sifra VARCHAR(20) NOT NULL UNIQUE,
  naziv VARCHAR(100),
  stopa_am DOUBLE PRECISION
);
CREATE INDEX osr_sku_dug_imv_sifra ON osr_sku_dug_imv (fold(sifra));

CREATE TABLE osr_gr_dug_imv (
  id KEY,
  naziv VARCHAR(100) NOT NULL UNIQUE,
  konto_id BIGINT,
  FOREIGN KEY (konto_id) REFERENCES fin_kto (id)
);
CREATE INDEX osr_gr_dug_imv_naziv ON osr_gr_dug_imv (fold(naziv));

CREATE TABLE osr_mje_smj (
  id KEY,
  sifra VARCHAR(20) NOT NULL UNIQUE,
  naziv VARCHAR(100)
);
CREATE INDEX osr_mje_smj_sifra ON osr_mje_smj (fold(sifra));

-- Croatian sizes of clothes and shoes by the maker's size, the brand, the sex and the age.
CREATE TABLE velicine (
  id KEY,
  vel VARCHAR(20) NOT NULL,
  brend VARCHAR(60) NOT NULL,
  spol VARCHAR(20) NOT NULL,
  uzrast VARCHAR(20) NOT NULL,
  hr_vel VARCHAR(20) NOT NULL,
  UNIQUE (vel, brend, spol, uzrast)
);
CREATE INDEX velicine_vel ON velicine (fold(vel));
