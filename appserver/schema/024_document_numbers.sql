-- The last number that was given of each kind of document and year. The row is written in the transaction that stores the
-- document, so that numbers have neither gaps nor doubles, and only documents of one kind and year wait for each other.
CREATE TABLE dok_brojac (
  id KEY,
  vrsta VARCHAR(50) NOT NULL,
  godina INTEGER NOT NULL,
  zadnji INTEGER NOT NULL,
  UNIQUE (vrsta, godina)
);
INSERT INTO dok_brojac (vrsta, godina, zadnji) SELECT vrsta, godina, MAX(broj) FROM dok GROUP BY vrsta, godina;
