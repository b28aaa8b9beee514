-- Sizes of clothes and shoes, and one row of each codebook that imports look values up in.

INSERT INTO velicine (vel, brend, spol, uzrast, hr_vel) VALUES
  ('S', 'Demo', 'M', 'odrasli', '48'),
  ('M', 'Demo', 'M', 'odrasli', '50'),
  ('L', 'Demo', 'M', 'odrasli', '52'),
  ('S', 'Demo', 'Ž', 'odrasli', '36'),
  ('M', 'Demo', 'Ž', 'odrasli', '38'),
  ('L', 'Demo', 'Ž', 'odrasli', '40'),
  ('9', 'Demo', 'M', 'odrasli', '43'),
  ('6', 'Demo', 'Ž', 'odrasli', '39'),
  ('3', 'Demo', 'M', 'djeca', '35');

INSERT INTO banke (naziv) VALUES ('Demo banka');
INSERT INTO radno_mjesto (naziv) VALUES ('Prodavač');
INSERT INTO naknada_place (naziv) VALUES ('Prijevoz');

INSERT INTO podvrsta (vrsta_id, naziv) SELECT id, 'Ostalo' FROM vrsta WHERE naziv = 'Roba';
INSERT INTO podgrupa2 (podvrsta_id, naziv) SELECT id, 'Ostalo' FROM podvrsta WHERE naziv = 'Ostalo';
INSERT INTO car_tar_br (sifra, naziv) VALUES ('01012100', 'čistokrvni konji za rasplod');

INSERT INTO osr_sku_dug_imv (sifra, naziv, stopa_am) VALUES ('4', 'računala, programi i oprema mreža', 50);
INSERT INTO osr_gr_dug_imv (naziv, konto_id) SELECT 'Oprema', id FROM fin_kto WHERE konto = '03';
INSERT INTO osr_mje_smj (sifra, naziv) VALUES ('1', 'Ured');

INSERT INTO apo_smjestajna_jedinica (sifra, naziv) VALUES ('DEMO', 'Demo apartman');
INSERT INTO apo_gruperezervacije (broj, naziv) VALUES ('1', 'Demo grupa');
