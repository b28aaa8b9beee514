INSERT INTO nacini_placanja (naziv, oznaka, odmah) VALUES
  ('Gotovina', 'G', TRUE),
  ('Kartica', 'K', TRUE),
  ('Ček', 'C', TRUE),
  ('Transakcijski račun', 'T', FALSE),
  ('Ostalo', 'O', FALSE);

-- Invoices that were stored before: their kind of document says how they were paid, and those that are paid later get
-- the items that they have not yet.

UPDATE dok SET placeno_odmah = vrsta NOT IN
  ('otpremnica-racun', 'storno-otpremnica-racun', 'racun-usluga', 'racun-usluga-inozemstvo',
   'bez-gotovinski-racun-servis')
WHERE vrsta IN
  ('gotovinski-racun', 'storno-gotovinski-racun', 'otpremnica-racun', 'storno-otpremnica-racun', 'racun-usluga',
   'racun-usluga-inozemstvo', 'bez-gotovinski-racun-servis', 'gotovinski-racun-usluga',
   'gotovinski-racun-usluga-marina', 'gotovinski-racun-servis', 'mal-gotovinski-racun', 'racun-vlastite-potrebe');

INSERT INTO otvorene_stavke
  (par_id, skl_id, opis, datum_pp, duguje, br_dok, datum_dok, datum_dos, poziv_na_br, dok_id)
SELECT d.par_id, d.skl_id, d.opis, d.datum, d.ukupno,
  d.vrsta || ' ' || CAST(d.broj AS VARCHAR(20)) || '/' || CAST(d.godina AS VARCHAR(20)), d.datum,
  COALESCE(d.datum_dospijeca,
    CASE WHEN p.odgoda > 0 AND p.odgoda <= 3650 THEN days_after(d.datum, p.odgoda) ELSE d.datum END),
  d.poziv_na_br, d.id
FROM dok d JOIN par p ON p.id = d.par_id
WHERE NOT d.placeno_odmah AND d.stornira_id IS NULL AND d.ukupno <> 0
  AND NOT EXISTS (SELECT 1 FROM otvorene_stavke o WHERE o.dok_id = d.id AND o.duguje <> 0)
ORDER BY d.id;

INSERT INTO otvorene_stavke
  (par_id, skl_id, opis, datum_pp, duguje, br_dok, datum_dok, datum_dos, poziv_na_br, dok_id)
SELECT o.par_id, o.skl_id, 'Storno', s.datum, -o.duguje, o.br_dok, s.datum, o.datum_dos, o.poziv_na_br, s.id
FROM dok s JOIN otvorene_stavke o ON o.dok_id = s.stornira_id AND o.duguje <> 0
WHERE NOT EXISTS (SELECT 1 FROM otvorene_stavke c WHERE c.dok_id = s.id AND c.duguje <> 0)
ORDER BY s.id;
