-- Reports ask for the documents and the items of a period.
CREATE INDEX dok_datum ON dok (datum);
CREATE INDEX otvorene_stavke_datum ON otvorene_stavke (datum_pp);

-- What partners owe, in whole ten-thousandths: the sums of their open items up to the one in par_saldo_do. The items are who
-- refers to partners.
CREATE TABLE par_saldo (
  id KEY,
  par_id BIGINT NOT NULL UNIQUE,
  duguje BIGINT NOT NULL,
  potrazuje BIGINT NOT NULL
);
CREATE TABLE par_saldo_do (
  id KEY,
  stavka_id BIGINT NOT NULL
);
INSERT INTO par_saldo (par_id, duguje, potrazuje)
SELECT par_id, SUM(CAST(ROUND(duguje * 10000) AS BIGINT)), SUM(CAST(ROUND(potrazuje * 10000) AS BIGINT))
FROM otvorene_stavke GROUP BY par_id;
INSERT INTO par_saldo_do (stavka_id) SELECT COALESCE(MAX(id), 0) FROM otvorene_stavke;
