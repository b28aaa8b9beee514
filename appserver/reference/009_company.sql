-- What every company begins with: its parameters, of which its own data are still to be set, a payment slip and
-- the account of the intermediary of e-invoices.

INSERT INTO parametri_poduzeca (naziv, vrijednost, opis) VALUES
  ('PdviCalcDigit', '2', 'decimale iznosa poreza'),
  ('FaktorEura', '7.5345', 'kuna za jedan euro'),
  ('NazivPoduzeca', NULL, 'naziv poduzeća'),
  ('AdresaPoduzeca', NULL, 'ulica i broj poduzeća'),
  ('MjestoPoduzeca', NULL, 'poštanski broj i mjesto poduzeća'),
  ('TipPozivaNaBrojPutnika', 'BROJ', 'poziv na broj putnika: OIB ili BROJ');

INSERT INTO dodatne_mogucnosti (code, allow, opis) VALUES
  ('PrimkaDocDobInZTI', FALSE, 'zavisni troškovi ulaze u osnovicu dokumenta dobavljača');

INSERT INTO virman (naziv, model, sifra_namjene, opis_placanja)
VALUES ('Uplata računa', 'HR00', 'OTHR', 'Plaćanje računa');
INSERT INTO integracije_racuni (user_id) VALUES ('');
