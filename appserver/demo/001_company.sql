-- A made-up company with partners and an article, to try everything with.

UPDATE parametri_poduzeca SET vrijednost = 'Demo poduzeće d.o.o.' WHERE naziv = 'NazivPoduzeca';
UPDATE parametri_poduzeca SET vrijednost = '01234567896' WHERE naziv = 'OIBPoduzeca';
UPDATE parametri_poduzeca SET vrijednost = 'Ilica 1' WHERE naziv = 'AdresaPoduzeca';
UPDATE parametri_poduzeca SET vrijednost = '10000 Zagreb' WHERE naziv = 'MjestoPoduzeca';

INSERT INTO skladiste (sifra, naziv, webshop, mjesto_id)
SELECT '1', 'Glavno skladište', TRUE, id FROM mjesto WHERE ptt = '10000';
INSERT INTO poslovni_prostor (skl_id, za_ugovore, oznaka, naplatni_uredjaj, adresa, vrijedi_od)
SELECT id, FALSE, 'PP1', '1', 'Ilica 1, 10000 Zagreb', '2023-01-01' FROM skladiste WHERE sifra = '1';
INSERT INTO poslovni_prostor (skl_id, za_ugovore, oznaka, naplatni_uredjaj, adresa, vrijedi_od)
SELECT id, TRUE, 'UGO1', '1', 'Ilica 1, 10000 Zagreb', '2023-01-01' FROM skladiste WHERE sifra = '1';

INSERT INTO poduzece_ibani (iban, valuta_id, glavni)
SELECT 'HR1210010051863000160', id, TRUE FROM valuta WHERE oznaka = 'EUR';

INSERT INTO komercijalist (naziv) VALUES ('Demo komercijalist');
INSERT INTO par (sifra, naziv, oib, adresa, adresabroj, mjesto_id, drzava_id, valuta_id, tip_tvrtke)
SELECT '1', 'Demo kupac d.o.o.', '12345678903', 'Vukovarska ulica', '1', m.id, m.drzava_id,
  (SELECT id FROM valuta WHERE oznaka = 'EUR'), 'd.o.o.'
FROM mjesto m WHERE m.ptt = '21000';
INSERT INTO par (sifra, naziv, oib, adresa, adresabroj, mjesto_id, drzava_id, valuta_id, tip_tvrtke)
SELECT '2', 'Ana Primjer', '98765432106', 'Korzo', '2', m.id, m.drzava_id, (SELECT id FROM valuta WHERE oznaka = 'EUR'),
  'Fizička osoba'
FROM mjesto m WHERE m.ptt = '51000';

INSERT INTO vrsta (sifra, naziv) VALUES ('1', 'Roba');
INSERT INTO rabatne_grupe (sifra, naziv, rbp1) VALUES ('1', 'Bez rabata', 0);
INSERT INTO grupa_usl (sifra, naziv) VALUES ('1', 'Usluge');
INSERT INTO art (sifra, naziv, jm_id, tbr_id, vrsta_id, rabatna_grupa_id, vpc, mpc)
SELECT '1', 'Demo artikl', j.id, (SELECT id FROM tbr WHERE stopa = 25), (SELECT id FROM vrsta WHERE sifra = '1'),
  (SELECT id FROM rabatne_grupe WHERE sifra = '1'), 80, 100
FROM jm j WHERE j.naziv = 'kom';
