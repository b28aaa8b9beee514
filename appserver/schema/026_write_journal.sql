-- What was written: when, by whom, by which transaction, which document where it was one of them, and what became of
-- it. A write that names a key is kept with what it was answered (odgovor, as text), so that it can be sent again: under
-- one key one request is carried out once. sazetak tells that request from another one.
CREATE TABLE dnevnik_upisa (
  id KEY,
  vrijeme TIMESTAMP NOT NULL,
  korisnik VARCHAR(100) NOT NULL,
  transakcija VARCHAR(100) NOT NULL,
  dok_id BIGINT,
  dokumenti VARCHAR(200),
  upisano BOOLEAN NOT NULL,
  razlog VARCHAR(1000),
  kljuc VARCHAR(100),
  sazetak VARCHAR(16),
  odgovor TEXT
);
CREATE INDEX dnevnik_upisa_vrijeme ON dnevnik_upisa (vrijeme);
CREATE UNIQUE INDEX dnevnik_upisa_kljuc ON dnevnik_upisa (kljuc) WHERE kljuc IS NOT NULL;
CREATE INDEX dnevnik_upisa_dok ON dnevnik_upisa (dok_id) WHERE dok_id IS NOT NULL;
