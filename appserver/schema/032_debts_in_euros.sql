-- Kunas for one euro at which a debt in euros, of days until 2022, stands among items in kunas; null where it is 7.53450.
ALTER TABLE otvorene_stavke ADD COLUMN kuna_za_euro DOUBLE PRECISION CHECK (kuna_za_euro > 0);
UPDATE otvorene_stavke SET kuna_za_euro = (SELECT 1.0 * otvorene_stavke.duguje / d.ukupno FROM dok d WHERE d.id = otvorene_stavke.dok_id)
WHERE duguje <> 0 AND datum_pp < '2023-01-01' AND dok_id IN
  (SELECT e.id FROM dok e JOIN valuta v ON v.id = e.valuta_id WHERE v.oznaka = 'EUR' AND e.ukupno <> 0);

-- Balances are summed anew by the next transaction that writes.
DELETE FROM par_saldo;
UPDATE par_saldo_do SET stavka_id = 0;
