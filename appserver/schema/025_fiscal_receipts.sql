-- What the tax administration's programs said of a receipt: its number there, the issuer's protective code, when it was
-- issued, and the unique number of the receipt, which may come later.
CREATE TABLE dok_fiskalno (
  id KEY,
  dok_id BIGINT NOT NULL UNIQUE,
  broj_racuna VARCHAR(60) NOT NULL,
  zki VARCHAR(32) NOT NULL,
  jir VARCHAR(36),
  vrijeme TIMESTAMP NOT NULL,
  FOREIGN KEY (dok_id) REFERENCES dok (id)
);
