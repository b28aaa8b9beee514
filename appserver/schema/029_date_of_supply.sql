-- When what an invoice is for was supplied, where that is another day than its date.
ALTER TABLE dok ADD COLUMN datum_isporuke DATE;
