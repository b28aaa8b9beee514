-- Services are found by their codes as people write them.
CREATE INDEX usluge_sifra ON usluge (fold(sifra));
