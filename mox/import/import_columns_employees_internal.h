#pragma once

#include "mox/import/import_column.h"

// Employees.

#pragma GCC visibility push(hidden)

namespace mox {

inline constexpr ImportColumn kEmployeeColumns[] = {
    TextColumn("SIFRA", "Šifra zaposlenika").Required(),
    TextColumn("DRZAVLJANSTVO", "Državljanstvo"),
    TextColumn("IME", "Ime").Required(),
    TextColumn("PREZIME", "Prezime").Required(),
    TextColumn("OIB", "OIB"),
    TextColumn("IME_RODITELJA", "Ime roditelja"),
    TextColumn("JMBG", "JMBG").Unique("select JMBG from zaposlenik WHERE JMBG in "),
    TextColumn("RANIJE_PREZIME", "Ranije prezime"),
    TextColumn("SPOL", "Spol"),
    BooleanColumn("BRAK", "Brak"),
    TextColumn("PTT_MJE_ROD", "PTT mjesta rođenja")
        .Lookup("select PTT as PTT_MJE_ROD from mjesto where PTT in "),
    TextColumn("MJESTO_ROD", "Mjesto rođenja")
        .Lookup("select NAZIV as MJESTO_ROD from mjesto where NAZIV in "),
    DateColumn("DATUM_ROD", "Datum rođenja").Required(),
    TextColumn("EMAIL", "e-mail"),
    TextColumn("FAK_ODB", "Faktor odbitka").Required(),
    BooleanColumn("OBUCEN_ZNR", "Obučen za zaštitu na radu"),
    BooleanColumn("OBUCEN_ZOP", "Obučen za zaštitu od požara"),
    BooleanColumn("STRUCNO_OSPOSOB", "Stručno osposobljavanje"),
    BooleanColumn("HRVI", "HRVI"),
    NumberColumn("INVALIDNOST", "Invalidnost"),
    DateColumn("DAT_POC_RO", "Datum početka radnog odnosa"),
    DateColumn("DAT_END_RO", "Datum kraja radnog odnosa"),
    TextColumn("OSOBNA_BR", "Broj osobne iskaznice"),
    TextColumn("PTT_OSOBNA", "PTT mjesta osobne iskaznice")
        .Lookup("select PTT as PTT_OSOBNA from mjesto where PTT in "),
    TextColumn("MJESTO_OSOBNA", "Mjesto osobne iskaznice")
        .Lookup("select NAZIV as MJESTO_OSOBNA from mjesto where NAZIV in "),
    TextColumn("KNJIZICA_BR", "Broj radne knjižice"),
    TextColumn("PTT_KNJIZICA", "PTT mjesta radne knjižice")
        .Lookup("select PTT as PTT_KNJIZICA from mjesto where PTT in "),
    TextColumn("MJESTO_KNJIZICA", "Mjesto radne knjižice")
        .Lookup("select NAZIV as MJESTO_KNJIZICA from mjesto where NAZIV in "),
    TextColumn("OSOBNI_BROJ", "Osobni broj"),
    TextColumn("BANKA", "Banka").Lookup("select NAZIV as BANKA from banke where NAZIV in "),
    TextColumn("BROJ_RACUNA", "Broj računa"),
    BooleanColumn("ZASTICENI_RACUN", "Zaštićeni račun"),
    NumberColumn("ZASTICENI_POSTOTAK", "Zaštićeni postotak"),
    TextColumn("ZASTICENI_IBAN", "Zaštićeni IBAN"),
    BooleanColumn("PLACA_NA_TEKUCI", "Plaća na tekući račun"),
    BooleanColumn("AKTIVAN", "Aktivan"),
    DateColumn("DAT_POC_UGOVORA", "Datum početka ugovora").Required(),
    DateColumn("DAT_END_UGOVORA", "Datum kraja ugovora"),
    TextColumn("VRSTA_UGOVORA", "Vrsta ugovora (O/N)", "1").Required(),
    BooleanColumn("PUTNI_TROSAK_AUTO", "Putni trošak automatski"),
    TextColumn("PUTNI_TROSAK_NAKNADA_NAZIV", "Naziv naknade putnog troška")
        .Lookup("select NAZIV as PUTNI_TROSAK_NAKNADA_NAZIV from naknada_place where upper(NAZIV) in "),
    NumberColumn("PUTNI_TROSAK_IZNOS", "Iznos putnog troška"),
    DateColumn("DATUM_STANOVANJE", "Datum stanovanja"),
    TextColumn("ADRESA_STANOVANJE", "Adresa stanovanja").Required(),
    TextColumn("PTT_STANOVANJE", "PTT mjesta stanovanja")
        .Lookup("select PTT as PTT_STANOVANJE from mjesto where PTT in "),
    TextColumn("MJESTO_STANOVANJE", "Mjesto stanovanja")
        .Required()
        .Lookup("select NAZIV as MJESTO_STANOVANJE from mjesto where NAZIV in "),
    TextColumn("RADNO_MJESTO", "Radno mjesto")
        .Lookup("select NAZIV as RADNO_MJESTO from RADNO_MJESTO where upper(NAZIV) in "),
};

}  // namespace mox

#pragma GCC visibility pop
