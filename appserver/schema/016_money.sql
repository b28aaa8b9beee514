-- The stored document that opened an item, paid it or cancelled it.
ALTER TABLE otvorene_stavke ADD COLUMN dok_id BIGINT REFERENCES dok (id);
CREATE INDEX otvorene_stavke_dok ON otvorene_stavke (dok_id);
