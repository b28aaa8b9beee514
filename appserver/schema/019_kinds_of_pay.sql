-- Kinds of pay. What is paid at once opens no item of the partner; oznaka is the code of the kind on fiscal receipts.
CREATE TABLE nacini_placanja (
  id KEY,
  naziv VARCHAR(20) NOT NULL UNIQUE,
  oznaka VARCHAR(1),
  odmah BOOLEAN DEFAULT FALSE NOT NULL
);
CREATE INDEX nacini_placanja_naziv ON nacini_placanja (fold(naziv));
CREATE INDEX nacini_placanja_oznaka ON nacini_placanja (fold(oznaka));

-- Whether an invoice was paid at once; null for documents that nobody pays.
ALTER TABLE dok ADD COLUMN placeno_odmah BOOLEAN;
