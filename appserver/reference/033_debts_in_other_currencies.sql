-- Debts of documents in other currencies. They were first owed as they stand in the document: each is converted as the
-- document is in the books, part by part and to hundredths. A supplier abroad, or one outside of the tax, charges none.
WITH strani AS (
  SELECT d.id, d.datum, d.ukupno, d.tecaj,
    CASE WHEN d.vrsta IN ('primka-kalkulacija', 'storno-primke-kalkulacije', 'mal-primka-zaduzenje')
      AND d.vrsta_dok_dob IN ('RU', 'OK') THEN 0 ELSE 1 END AS s_porezom,
    b.vrsta || ' ' || CAST(b.broj AS VARCHAR(20)) || '/' || CAST(b.godina AS VARCHAR(20)) AS br_dok
  FROM dok d JOIN valuta v ON v.id = d.valuta_id JOIN dok b ON b.id = COALESCE(d.stornira_id, d.id)
  WHERE d.ukupno <> 0 AND d.tecaj > 0
    AND v.oznaka <> CASE WHEN d.datum < '2023-01-01' THEN 'HRK' ELSE 'EUR' END
),
dijelovi AS (
  SELECT s.id, p.osnovica AS iznos FROM strani s JOIN dok_porezi p ON p.dok_id = s.id
  UNION ALL
  SELECT s.id, p.porez FROM strani s JOIN dok_porezi p ON p.dok_id = s.id AND s.s_porezom = 1
  UNION ALL
  SELECT s.id,
    s.ukupno - COALESCE((SELECT SUM(p.osnovica + p.porez * s.s_porezom) FROM dok_porezi p WHERE p.dok_id = s.id), 0)
  FROM strani s
),
stotinke AS (
  SELECT s.id,
    CASE WHEN s.datum < '2023-01-01' THEN i.iznos * 100 * s.tecaj ELSE i.iznos * 100 / s.tecaj END AS iznos
  FROM strani s JOIN dijelovi i ON i.id = s.id
),
u_knjigama AS (
  SELECT id, SUM(ROUND(CAST(iznos + SIGN(iznos) * 0.00001 AS NUMERIC))) / 100.0 AS iznos
  FROM stotinke GROUP BY id
)
UPDATE otvorene_stavke SET duguje = k.iznos FROM u_knjigama k JOIN strani s ON s.id = k.id
WHERE otvorene_stavke.dok_id = s.id AND otvorene_stavke.br_dok = s.br_dok
  AND otvorene_stavke.duguje = s.ukupno;

-- What is owed in euros, of days until 2022, is a document's own debt, whatever else refers to the document.
UPDATE otvorene_stavke SET kuna_za_euro = NULL
WHERE dok_id IN (SELECT d.id FROM dok d JOIN valuta v ON v.id = d.valuta_id WHERE v.oznaka = 'EUR');

UPDATE otvorene_stavke SET kuna_za_euro = CAST(otvorene_stavke.duguje AS DOUBLE PRECISION) / d.ukupno
FROM dok d JOIN valuta v ON v.id = d.valuta_id
WHERE otvorene_stavke.dok_id = d.id AND v.oznaka = 'EUR' AND d.datum < '2023-01-01' AND d.stornira_id IS NULL
  AND otvorene_stavke.br_dok =
    d.vrsta || ' ' || CAST(d.broj AS VARCHAR(20)) || '/' || CAST(d.godina AS VARCHAR(20))
  AND otvorene_stavke.datum_pp < '2023-01-01' AND otvorene_stavke.duguje * d.ukupno > 0;

-- Balances are summed anew by the next transaction that writes.
DELETE FROM par_saldo;
UPDATE par_saldo_do SET stavka_id = 0;
