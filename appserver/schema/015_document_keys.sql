-- The name of the attempt that stored a document, and a digest of its lines: the same attempt again is answered with the
-- document that is stored already.
ALTER TABLE dok ADD COLUMN kljuc VARCHAR(200);
ALTER TABLE dok ADD COLUMN kljuc_sazetak VARCHAR(16);
CREATE UNIQUE INDEX dok_kljuc ON dok (kljuc);
