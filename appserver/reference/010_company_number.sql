-- The company's identification number, which its e-invoices carry; that of the company to begin with is made up.

INSERT INTO parametri_poduzeca (naziv, vrijednost, opis)
SELECT 'OIBPoduzeca', CASE WHEN vrijednost = 'Demo poduzeće d.o.o.' THEN '01234567896' END, 'OIB poduzeća'
FROM parametri_poduzeca
WHERE naziv = 'NazivPoduzeca' AND NOT EXISTS (SELECT 1 FROM parametri_poduzeca WHERE naziv = 'OIBPoduzeca');
