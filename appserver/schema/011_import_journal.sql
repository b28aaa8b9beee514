-- What was imported, so that it can be found and taken back. Rows that were changed since are recognised by
-- their digests (otisci, 16 digits a row, of the columns in stupci). The keys are runs such as "12-15,20". An
-- import that changed rows keeps them as they were (prije, the text form of a record set).
CREATE TABLE uvoz (
  id KEY,
  vrijeme TIMESTAMP NOT NULL,
  korisnik VARCHAR(100),
  profil VARCHAR(100) NOT NULL,
  datoteka VARCHAR(255),
  sazetak VARCHAR(64),
  tablica VARCHAR(100) NOT NULL,
  redaka BIGINT NOT NULL,
  kljucevi TEXT NOT NULL,
  stupci TEXT NOT NULL,
  otisci TEXT NOT NULL,
  prije TEXT,
  ponisteno TIMESTAMP,
  ponistio VARCHAR(100)
);
CREATE INDEX uvoz_sazetak ON uvoz (sazetak);
