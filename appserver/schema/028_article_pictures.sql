-- Pictures of articles, one each: a JPEG, PNG or GIF as base64, with what its header says of it.
CREATE TABLE art_slike (
  id KEY,
  art_id BIGINT NOT NULL UNIQUE,
  vrsta VARCHAR(4) NOT NULL,
  sirina INTEGER NOT NULL,
  visina INTEGER NOT NULL,
  slika TEXT NOT NULL,
  vrijeme TIMESTAMP NOT NULL,
  FOREIGN KEY (art_id) REFERENCES art (id)
);
