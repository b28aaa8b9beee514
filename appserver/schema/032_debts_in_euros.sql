-- Kunas for one euro at which a debt in euros, of days until 2022, stands among items in kunas; null where it is 7.53450.
-- Debts of stored documents get theirs once each has its item.
ALTER TABLE otvorene_stavke ADD COLUMN kuna_za_euro DOUBLE PRECISION CHECK (kuna_za_euro > 0);
