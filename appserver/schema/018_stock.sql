-- What stands in the warehouses, and the lines of documents that moved it.
--
-- Quantities are whole millionths of the unit and values whole ten-thousandths of the currency, so that sums are exact:
-- what stands in a warehouse is the sum of its movements, to the last digit.

-- One line of a document in or out of a warehouse; vrijednost is what it is worth at purchase prices.
CREATE TABLE skl_promet (
  id KEY,
  dok_id BIGINT NOT NULL,
  rb INTEGER NOT NULL,
  skl_id BIGINT NOT NULL,
  art_id BIGINT NOT NULL,
  kolicina BIGINT NOT NULL,
  vrijednost BIGINT NOT NULL,
  UNIQUE (dok_id, rb),
  FOREIGN KEY (dok_id) REFERENCES dok (id),
  FOREIGN KEY (skl_id) REFERENCES skladiste (id),
  FOREIGN KEY (art_id) REFERENCES art (id)
);
CREATE INDEX skl_promet_art ON skl_promet (art_id, skl_id);
CREATE INDEX skl_promet_skl ON skl_promet (skl_id);

-- nc is the average purchase price of what stood there last, in ten-thousandths. The movements are who refers to articles and
-- warehouses.
CREATE TABLE skl_stanje (
  id KEY,
  skl_id BIGINT NOT NULL,
  art_id BIGINT NOT NULL,
  kolicina BIGINT NOT NULL,
  vrijednost BIGINT NOT NULL,
  nc BIGINT NOT NULL,
  UNIQUE (skl_id, art_id)
);
CREATE INDEX skl_stanje_art ON skl_stanje (art_id);

-- Lines that name an article by its code alone.
UPDATE dok_stavke SET art_id = (SELECT a.id FROM art a WHERE a.sifra = dok_stavke.sifra)
  WHERE art_id IS NULL AND sorta = 'roba' AND sifra IS NOT NULL;

-- Documents from before have moved the warehouse that they name, or the only one that there is. What their lines do not say of
-- purchase values is valued at the average of all that came in.
INSERT INTO skl_promet (dok_id, rb, skl_id, art_id, kolicina, vrijednost)
WITH stavka AS (
  SELECT s.dok_id, s.rb, s.art_id,
    COALESCE(d.skl_id, (SELECT MAX(k.id) FROM skladiste k WHERE 1 = (SELECT COUNT(*) FROM skladiste))) AS skl_id,
    CASE WHEN d.vrsta IN ('primka-kalkulacija', 'storno-primke-kalkulacije', 'mal-primka-zaduzenje', 'meduskladisnica-ulaz',
      'pocetno-stanje', 'povratnica-kupca') THEN 1 ELSE -1 END AS smjer,
    s.kolicina,
    CASE
      WHEN d.vrsta IN ('primka-kalkulacija', 'storno-primke-kalkulacije')
        THEN COALESCE(NULLIF(s.nci, 0), s.nfci + COALESCE(s.zti, 0))
      WHEN d.vrsta IN ('mal-primka-zaduzenje', 'meduskladisnica-ulaz', 'pocetno-stanje', 'razduzenje-otpis',
        'razduzenje-manjak', 'meduskladisnica-izlaz', 'povratnica-dobavljacu', 'mal-povratnica-dobavljacu',
        'mat-povratnica-dobavljacu', 'racun-vlastite-potrebe') THEN s.nci
    END AS vrijednost
  FROM dok_stavke s JOIN dok d ON d.id = s.dok_id
  WHERE s.sorta = 'roba' AND s.art_id IS NOT NULL AND s.kolicina <> 0
    AND d.vrsta IN ('gotovinski-racun', 'storno-gotovinski-racun', 'otpremnica-racun', 'storno-otpremnica-racun',
      'bez-gotovinski-racun-servis', 'gotovinski-racun-servis', 'mal-gotovinski-racun', 'primka-kalkulacija',
      'storno-primke-kalkulacije', 'mal-primka-zaduzenje', 'razduzenje-otpis', 'razduzenje-manjak', 'meduskladisnica-ulaz',
      'meduskladisnica-izlaz', 'pocetno-stanje', 'povratnica-dobavljacu', 'mal-povratnica-dobavljacu',
      'mat-povratnica-dobavljacu', 'povratnica-kupca', 'racun-vlastite-potrebe')
), prosjek AS (
  SELECT skl_id, art_id, SUM(vrijednost) / SUM(kolicina) AS nc FROM stavka
  WHERE smjer = 1 AND vrijednost IS NOT NULL GROUP BY skl_id, art_id HAVING SUM(kolicina) > 0
)
SELECT s.dok_id, s.rb, s.skl_id, s.art_id, s.smjer * CAST(ROUND(s.kolicina * 1000000) AS BIGINT),
  s.smjer * CAST(ROUND(COALESCE(s.vrijednost, s.kolicina * p.nc, 0) * 10000) AS BIGINT)
FROM stavka s LEFT JOIN prosjek p ON p.skl_id = s.skl_id AND p.art_id = s.art_id
WHERE s.skl_id IS NOT NULL
ORDER BY s.dok_id, s.rb;

INSERT INTO skl_stanje (skl_id, art_id, kolicina, vrijednost, nc)
SELECT skl_id, art_id, SUM(kolicina), SUM(vrijednost),
  CASE WHEN SUM(kolicina) > 0 AND SUM(vrijednost) > 0
    THEN CAST(ROUND(SUM(vrijednost) * 1000000.0 / SUM(kolicina)) AS BIGINT) ELSE 0 END
FROM skl_promet GROUP BY skl_id, art_id;
