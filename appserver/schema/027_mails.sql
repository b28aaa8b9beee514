-- Mails of documents. A mail is here before it is sent and stays: stanje is ceka (to be sent), salje (its program is at
-- work, or broke down), poslano, odbijeno (the server will not take it) or nepoznato (it may have been sent, and no answer
-- tells). poruka names it to its receiver, so that a second copy can be told from a second mail.
CREATE TABLE posta (
  id KEY,
  dok_id BIGINT NOT NULL,
  kome VARCHAR(254) NOT NULL,
  predmet VARCHAR(255) NOT NULL,
  tekst TEXT NOT NULL,
  poruka VARCHAR(40) NOT NULL UNIQUE,
  stanje VARCHAR(10) NOT NULL CHECK (stanje IN ('ceka', 'salje', 'poslano', 'odbijeno', 'nepoznato')),
  vrijeme TIMESTAMP NOT NULL,
  FOREIGN KEY (dok_id) REFERENCES dok (id)
);
CREATE INDEX posta_dok ON posta (dok_id);

-- Every sending of a mail: who began it and when, how it ended (stanje, as above; null while nobody knows) and what the
-- server said.
CREATE TABLE posta_slanja (
  id KEY,
  posta_id BIGINT NOT NULL,
  vrijeme TIMESTAMP NOT NULL,
  korisnik VARCHAR(100),
  kraj TIMESTAMP,
  stanje VARCHAR(10),
  odgovor VARCHAR(500),
  FOREIGN KEY (posta_id) REFERENCES posta (id)
);
CREATE INDEX posta_slanja_posta ON posta_slanja (posta_id);

-- The company's account with its server of mails: one row at most.
CREATE TABLE posta_racun (
  id KEY,
  url VARCHAR(255) NOT NULL,
  korisnik VARCHAR(100),
  lozinka VARCHAR(255),
  posiljatelj VARCHAR(254) NOT NULL
);
