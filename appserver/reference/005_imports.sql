-- Sizes of clothes and shoes to begin with, and one row of each codebook that imports look values up in; a
-- company that has rows of its own keeps to those.

INSERT INTO velicine (vel, brend, spol, uzrast, hr_vel)
SELECT v.vel, v.brend, v.spol, v.uzrast, v.hr_vel FROM (
  SELECT 'S' AS vel, 'Demo' AS brend, 'M' AS spol, 'odrasli' AS uzrast, '48' AS hr_vel
  UNION ALL SELECT 'M', 'Demo', 'M', 'odrasli', '50'
  UNION ALL SELECT 'L', 'Demo', 'M', 'odrasli', '52'
  UNION ALL SELECT 'S', 'Demo', 'Ž', 'odrasli', '36'
  UNION ALL SELECT 'M', 'Demo', 'Ž', 'odrasli', '38'
  UNION ALL SELECT 'L', 'Demo', 'Ž', 'odrasli', '40'
  UNION ALL SELECT '9', 'Demo', 'M', 'odrasli', '43'
  UNION ALL SELECT '6', 'Demo', 'Ž', 'odrasli', '39'
  UNION ALL SELECT '3', 'Demo', 'M', 'djeca', '35'
) v WHERE NOT EXISTS (SELECT 1 FROM velicine);

INSERT INTO banke (naziv) SELECT 'Demo banka' WHERE NOT EXISTS (SELECT 1 FROM banke);
INSERT INTO radno_mjesto (naziv) SELECT 'Prodavač' WHERE NOT EXISTS (SELECT 1 FROM radno_mjesto);
INSERT INTO naknada_place (naziv) SELECT 'Prijevoz' WHERE NOT EXISTS (SELECT 1 FROM naknada_place);

INSERT INTO podvrsta (vrsta_id, naziv)
SELECT id, 'Ostalo' FROM vrsta WHERE naziv = 'Roba' AND NOT EXISTS (SELECT 1 FROM podvrsta);
INSERT INTO podgrupa2 (podvrsta_id, naziv)
SELECT id, 'Ostalo' FROM podvrsta WHERE naziv = 'Ostalo' AND NOT EXISTS (SELECT 1 FROM podgrupa2);
INSERT INTO car_tar_br (sifra, naziv)
SELECT '01012100', 'čistokrvni konji za rasplod' WHERE NOT EXISTS (SELECT 1 FROM car_tar_br);

INSERT INTO osr_sku_dug_imv (sifra, naziv, stopa_am)
SELECT '4', 'računala, programi i oprema mreža', 50 WHERE NOT EXISTS (SELECT 1 FROM osr_sku_dug_imv);
INSERT INTO osr_gr_dug_imv (naziv, konto_id)
SELECT 'Oprema', k.id FROM fin_kto k WHERE k.konto = '03' AND NOT EXISTS (SELECT 1 FROM osr_gr_dug_imv);
INSERT INTO osr_mje_smj (sifra, naziv) SELECT '1', 'Ured' WHERE NOT EXISTS (SELECT 1 FROM osr_mje_smj);

INSERT INTO apo_smjestajna_jedinica (sifra, naziv)
SELECT 'DEMO', 'Demo apartman' WHERE NOT EXISTS (SELECT 1 FROM apo_smjestajna_jedinica);
INSERT INTO apo_gruperezervacije (broj, naziv)
SELECT '1', 'Demo grupa' WHERE NOT EXISTS (SELECT 1 FROM apo_gruperezervacije);
