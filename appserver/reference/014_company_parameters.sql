-- The parameters that came later.

INSERT INTO parametri_poduzeca (naziv, vrijednost, opis)
SELECT 'RadnaGodina', NULL, 'radna godina; prazno: tekuća'
WHERE NOT EXISTS (SELECT 1 FROM parametri_poduzeca WHERE naziv = 'RadnaGodina');
INSERT INTO parametri_poduzeca (naziv, vrijednost, opis)
SELECT 'override_constraints', 'false', 'budući datum se upozorava, ali dopušta'
WHERE NOT EXISTS (SELECT 1 FROM parametri_poduzeca WHERE naziv = 'override_constraints');
