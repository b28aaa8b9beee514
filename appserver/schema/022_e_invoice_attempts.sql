-- Documents that may have been sent as e-invoices: stored before the invoice is posted, taken away when it is known
-- what became of it. An attempt (pokusaj) is known to the workstation that made it by the same text in a file;
-- u_tijeku is true until its program has told how it ended. sazetak names the invoice that was posted.
CREATE TABLE eracun_pokusaji (
  id KEY,
  dok_id BIGINT NOT NULL UNIQUE,
  pokusaj VARCHAR(40) NOT NULL,
  sazetak VARCHAR(40),
  vrijeme TIMESTAMP NOT NULL,
  u_tijeku BOOLEAN NOT NULL,
  FOREIGN KEY (dok_id) REFERENCES dok (id)
);
