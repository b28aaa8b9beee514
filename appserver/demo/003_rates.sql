-- Exchange rates that are made up.

INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '2024-01-01', 1.1, 'primjer, nije s tečajne liste' FROM valuta WHERE oznaka = 'USD';
INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '2024-01-01', 0.95, 'primjer, nije s tečajne liste' FROM valuta WHERE oznaka = 'CHF';
INSERT INTO tecaj (val_id, datum, tecaj, napomena)
SELECT id, '2024-01-01', 0.86, 'primjer, nije s tečajne liste' FROM valuta WHERE oznaka = 'GBP';
