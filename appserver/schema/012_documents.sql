-- Documents that cancel others, totals of suppliers' documents, links by the codes of kinds.

-- The document that this one cancels. A document is cancelled once.
ALTER TABLE dok ADD COLUMN stornira_id BIGINT REFERENCES dok (id);
CREATE UNIQUE INDEX dok_stornira ON dok (stornira_id);

-- The kind of the supplier's document: RU and OK carry no input tax.
ALTER TABLE dok ADD COLUMN vrsta_dok_dob VARCHAR(5);

-- What a supplier's document comes to: goods and input tax by rate, return fees.
CREATE TABLE dok_dobavljac (
  id KEY,
  dok_id BIGINT NOT NULL UNIQUE,
  roba_0 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  roba_5 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  roba_10 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  roba_13 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  roba_17 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  roba_22 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  roba_23 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  roba_25 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pdv_10 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pdv_13 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pdv_5 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pdv_17 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pdv_22 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pdv_23 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pdv_25 NUMERIC(19,4) DEFAULT 0 NOT NULL,
  pov_nak NUMERIC(19,4) DEFAULT 0 NOT NULL,
  FOREIGN KEY (dok_id) REFERENCES dok (id)
);

-- Links waited under the first 15 characters of a kind's name. Where several kinds begin so, the link is for the
-- plain cash invoice, and for the transfer that is received, which is what waits for another document.
UPDATE dok_veze_kasnije SET child_tip = CASE child_tip
  WHEN 'gotovinski-racu' THEN 'got-racun'
  WHEN 'storno-gotovins' THEN 'storno-got-rac'
  WHEN 'otpremnica-racu' THEN 'otp-racun'
  WHEN 'storno-otpremni' THEN 'storno-otp-rac'
  WHEN 'racun-usluga-in' THEN 'racun-usl-inoz'
  WHEN 'bez-gotovinski-' THEN 'bezgot-rac-srv'
  WHEN 'mal-gotovinski-' THEN 'mal-got-racun'
  WHEN 'mal-dnevni-izv-' THEN 'mal-dnevni-izv'
  WHEN 'primka-kalkulac' THEN 'primka-kalk'
  WHEN 'storno-primke-k' THEN 'storno-primke'
  WHEN 'mal-primka-zadu' THEN 'mal-primka-zad'
  WHEN 'razduzenje-otpi' THEN 'razd-otpis'
  WHEN 'razduzenje-manj' THEN 'razd-manjak'
  WHEN 'meduskladisnica' THEN 'meduskl-ulaz'
  WHEN 'povratnica-doba' THEN 'povrat-dobavlj'
  WHEN 'mal-povratnica-' THEN 'mal-povrat-dob'
  WHEN 'mat-povratnica-' THEN 'mat-povrat-dob'
  WHEN 'povratnica-kupc' THEN 'povrat-kupca'
  WHEN 'racun-vlastite-' THEN 'racun-vl-potr'
  ELSE child_tip END;

-- Links that were made had the kind's name.
UPDATE dok_veze SET child_tip = CASE child_tip
  WHEN 'gotovinski-racun' THEN 'got-racun'
  WHEN 'storno-gotovinski-racun' THEN 'storno-got-rac'
  WHEN 'otpremnica-racun' THEN 'otp-racun'
  WHEN 'storno-otpremnica-racun' THEN 'storno-otp-rac'
  WHEN 'racun-usluga-inozemstvo' THEN 'racun-usl-inoz'
  WHEN 'bez-gotovinski-racun-servis' THEN 'bezgot-rac-srv'
  WHEN 'gotovinski-racun-usluga' THEN 'got-rac-usluga'
  WHEN 'gotovinski-racun-usluga-marina' THEN 'got-rac-marina'
  WHEN 'gotovinski-racun-servis' THEN 'got-rac-servis'
  WHEN 'mal-gotovinski-racun' THEN 'mal-got-racun'
  WHEN 'mal-dnevni-izv-blag' THEN 'mal-dnevni-izv'
  WHEN 'primka-kalkulacija' THEN 'primka-kalk'
  WHEN 'storno-primke-kalkulacije' THEN 'storno-primke'
  WHEN 'mal-primka-zaduzenje' THEN 'mal-primka-zad'
  WHEN 'razduzenje-otpis' THEN 'razd-otpis'
  WHEN 'razduzenje-manjak' THEN 'razd-manjak'
  WHEN 'meduskladisnica-ulaz' THEN 'meduskl-ulaz'
  WHEN 'meduskladisnica-izlaz' THEN 'meduskl-izlaz'
  WHEN 'povratnica-dobavljacu' THEN 'povrat-dobavlj'
  WHEN 'mal-povratnica-dobavljacu' THEN 'mal-povrat-dob'
  WHEN 'mat-povratnica-dobavljacu' THEN 'mat-povrat-dob'
  WHEN 'povratnica-kupca' THEN 'povrat-kupca'
  WHEN 'racun-vlastite-potrebe' THEN 'racun-vl-potr'
  ELSE child_tip END;
