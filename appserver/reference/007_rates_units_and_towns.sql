-- Exchange rates that are fixed for good; the others come with the national bank's lists.

INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '1994-05-30', 1, 'domaća valuta' FROM valuta WHERE oznaka = 'HRK';
INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '2023-01-01', 7.5345, 'fiksni tečaj konverzije' FROM valuta WHERE oznaka = 'HRK';
INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '2022-12-31', 7.5345, 'fiksni tečaj konverzije' FROM valuta WHERE oznaka = 'EUR';
INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '2023-01-01', 1, 'domaća valuta' FROM valuta WHERE oznaka = 'EUR';
INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '2023-01-01', 1.95583, 'fiksni tečaj valutnog odbora' FROM valuta WHERE oznaka = 'BAM';

-- Rates of value-added tax, with the days from which and to which they held.

INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 0, 'bez poreza', id, NULL, NULL FROM drzave WHERE oznaka = 'HR';
INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 5, 'snižena stopa', id, '2013-01-01', NULL FROM drzave WHERE oznaka = 'HR';
INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 13, 'snižena stopa', id, '2014-01-01', NULL FROM drzave WHERE oznaka = 'HR';
INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 25, 'opća stopa', id, '2012-03-01', NULL FROM drzave WHERE oznaka = 'HR';
INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 10, 'nekadašnja snižena stopa', id, '2006-01-01', '2013-12-31' FROM drzave WHERE oznaka = 'HR';
INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 22, 'nekadašnja opća stopa', id, '1998-01-01', '2009-07-31' FROM drzave WHERE oznaka = 'HR';
INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 23, 'nekadašnja opća stopa', id, '2009-08-01', '2012-02-29' FROM drzave WHERE oznaka = 'HR';
INSERT INTO tbr (stopa, naziv, drzava_id, vrijedi_od, vrijedi_do)
SELECT 17, 'opća stopa', id, '2006-01-01', NULL FROM drzave WHERE oznaka = 'BA';

INSERT INTO jm (naziv, opis, oznaka) VALUES
  ('kom', 'komad', 'H87'),
  ('kpl', 'komplet', 'SET'),
  ('par', 'par', 'PR'),
  ('pak', 'pakiranje', 'XPK'),
  ('kut', 'kutija', 'XBX'),
  ('boca', 'boca', 'XBO'),
  ('g', 'gram', 'GRM'),
  ('kg', 'kilogram', 'KGM'),
  ('t', 'tona', 'TNE'),
  ('ml', 'mililitar', 'MLT'),
  ('l', 'litra', 'LTR'),
  ('cm', 'centimetar', 'CMT'),
  ('m', 'metar', 'MTR'),
  ('km', 'kilometar', 'KMT'),
  ('m2', 'četvorni metar', 'MTK'),
  ('m3', 'kubni metar', 'MTQ'),
  ('kWh', 'kilovatsat', 'KWH'),
  ('min', 'minuta', 'MIN'),
  ('sat', 'sat', 'HUR'),
  ('dan', 'dan', 'DAY'),
  ('mj', 'mjesec', 'MON'),
  ('god', 'godina', 'ANN'),
  ('usl', 'usluga', 'E48');

-- The twenty largest towns of Croatia with the post code of their centre.

INSERT INTO mjesto (ptt, naziv) VALUES
  ('10000', 'Zagreb'),
  ('21000', 'Split'),
  ('51000', 'Rijeka'),
  ('31000', 'Osijek'),
  ('23000', 'Zadar'),
  ('10410', 'Velika Gorica'),
  ('52100', 'Pula'),
  ('35000', 'Slavonski Brod'),
  ('47000', 'Karlovac'),
  ('42000', 'Varaždin'),
  ('22000', 'Šibenik'),
  ('20000', 'Dubrovnik'),
  ('44000', 'Sisak'),
  ('21212', 'Kaštela'),
  ('10430', 'Samobor'),
  ('43000', 'Bjelovar'),
  ('32100', 'Vinkovci'),
  ('48000', 'Koprivnica'),
  ('40000', 'Čakovec'),
  ('21210', 'Solin');
UPDATE mjesto SET drzava_id = (SELECT id FROM drzave WHERE oznaka = 'HR');
