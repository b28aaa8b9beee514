-- Users, whom documents name in user_id, and codes that are numbered on: the highest of those that are digits
-- alone and at most seven of them, as longer ones are bar codes and the like.

CREATE TABLE korisnik (
  id KEY,
  user_id VARCHAR(5) NOT NULL UNIQUE,
  naziv VARCHAR(100) NOT NULL,
  oib VARCHAR(11),
  aktivan BOOLEAN DEFAULT TRUE NOT NULL
);
CREATE INDEX korisnik_user ON korisnik (fold(user_id));

CREATE INDEX par_sifra_broj ON par ((CAST(sifra AS BIGINT)), (LENGTH(sifra)))
  WHERE LENGTH(sifra) > 0 AND LENGTH(sifra) < 8 AND TRIM(sifra, '0123456789') = '';
CREATE INDEX art_sifra_broj ON art ((CAST(sifra AS BIGINT)), (LENGTH(sifra)))
  WHERE LENGTH(sifra) > 0 AND LENGTH(sifra) < 8 AND TRIM(sifra, '0123456789') = '';

-- Partners that were imported without codes get some.
UPDATE par SET sifra = CAST(id + (SELECT COALESCE(MAX(CAST(p.sifra AS BIGINT)), 0) FROM par p
    WHERE LENGTH(p.sifra) > 0 AND LENGTH(p.sifra) < 8 AND TRIM(p.sifra, '0123456789') = '') AS VARCHAR(20))
  WHERE sifra IS NULL;
