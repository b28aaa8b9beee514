#include "moxd/directory_schema.h"

namespace mox {

const SchemaFamily& DirectorySchema() {
  // Moments are seconds since 1970, UTC. A change is a further file with the next number.
  static const SchemaFamily family = {"directory of companies",
                                      "imenik_poduzeca",
                                      {{"schema/001_directory.sql", R"(
CREATE TABLE imenik_poduzeca (
  id KEY,
  naziv VARCHAR(48) NOT NULL,
  adresa VARCHAR(1000) NOT NULL
);
CREATE UNIQUE INDEX imenik_poduzeca_naziv ON imenik_poduzeca (fold(naziv));

-- lozinka is the text that argon2id makes of the password; oznaka is how documents name the user.
CREATE TABLE imenik_korisnici (
  id KEY,
  ime VARCHAR(64) NOT NULL,
  oznaka VARCHAR(5) NOT NULL,
  lozinka VARCHAR(200) NOT NULL,
  iskljucen BOOLEAN NOT NULL,
  stvoren BIGINT NOT NULL
);
CREATE UNIQUE INDEX imenik_korisnici_ime ON imenik_korisnici (fold(ime));

CREATE TABLE imenik_uloge (
  korisnik_id BIGINT NOT NULL REFERENCES imenik_korisnici (id),
  poduzece_id BIGINT NOT NULL REFERENCES imenik_poduzeca (id),
  uloga VARCHAR(20) NOT NULL,
  PRIMARY KEY (korisnik_id, poduzece_id, uloga)
);

-- sazetak is the token's digest; the token itself is known to its owner alone.
CREATE TABLE imenik_tokeni (
  id KEY,
  sazetak VARCHAR(64) NOT NULL UNIQUE,
  korisnik_id BIGINT NOT NULL REFERENCES imenik_korisnici (id),
  izdan BIGINT NOT NULL,
  koristen BIGINT NOT NULL,
  vrijedi_do BIGINT NOT NULL,
  adresa VARCHAR(64) NOT NULL
);
CREATE INDEX imenik_tokeni_korisnik ON imenik_tokeni (korisnik_id);

-- Failed attempts in a row of an account or from an address, which sazetak stands for.
CREATE TABLE imenik_pokusaji (
  sazetak VARCHAR(64) PRIMARY KEY,
  neuspjelih BIGINT NOT NULL,
  zadnji BIGINT NOT NULL,
  ceka_do BIGINT NOT NULL
);
CREATE INDEX imenik_pokusaji_zadnji ON imenik_pokusaji (zadnji);
)"},
                                       {"schema/002_moves.sql", R"(
-- Moves of companies that are not finished: oznaka is under which they are known in the databases.
CREATE TABLE imenik_selidbe (
  id KEY,
  poduzece_id BIGINT NOT NULL UNIQUE REFERENCES imenik_poduzeca (id),
  sa_adrese VARCHAR(1000) NOT NULL,
  na_adresu VARCHAR(1000) NOT NULL,
  oznaka VARCHAR(32) NOT NULL
);
)"},
                                       {"schema/003_journal.sql", R"(
-- What administrators of companies changed over the network, and under which key of the request. Users and
-- companies stand by their names, since they may be removed.
CREATE TABLE imenik_dnevnik (
  id KEY,
  vrijeme BIGINT NOT NULL,
  tko VARCHAR(64) NOT NULL,
  poduzece VARCHAR(48) NOT NULL,
  korisnik VARCHAR(64) NOT NULL,
  promjena VARCHAR(200) NOT NULL,
  kljuc VARCHAR(64)
);
CREATE UNIQUE INDEX imenik_dnevnik_kljuc ON imenik_dnevnik (kljuc);
)"},
                                       {"schema/004_refusals.sql", R"(
-- Changes made here are journalled, too, and those that were refused (odbijeno says why). sazetak tells a request under
-- a key from another one; za_poduzece is the company whose own journal lacks the change yet, and transakcija what it
-- is called there.
ALTER TABLE imenik_dnevnik ADD COLUMN transakcija VARCHAR(100);
ALTER TABLE imenik_dnevnik ADD COLUMN sazetak VARCHAR(16);
ALTER TABLE imenik_dnevnik ADD COLUMN odbijeno VARCHAR(1000);
ALTER TABLE imenik_dnevnik ADD COLUMN za_poduzece BIGINT;
CREATE INDEX imenik_dnevnik_ceka ON imenik_dnevnik (za_poduzece) WHERE za_poduzece IS NOT NULL;
)"},
                                       {"schema/005_log_ins.sql", R"(
-- Who logged in and out, and who was refused: korisnik is empty where nobody has the name that was given, and ishod says
-- what it came to.
CREATE TABLE imenik_prijave (
  id KEY,
  vrijeme BIGINT NOT NULL,
  korisnik VARCHAR(64) NOT NULL,
  adresa VARCHAR(64) NOT NULL,
  ishod VARCHAR(40) NOT NULL
);
CREATE INDEX imenik_prijave_vrijeme ON imenik_prijave (vrijeme);
)"}}};
  return family;
}

}  // namespace mox
