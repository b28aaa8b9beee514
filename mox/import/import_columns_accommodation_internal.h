#pragma once

#include "mox/codes/payment_codes.h"
#include "mox/import/import_column.h"

// Accommodation: units, resources, guests, travellers, payments against contracts.

#pragma GCC visibility push(hidden)

namespace mox {

/// Whether payments of travellers name them by their personal numbers; asks the server.
inline bool TravellersPayByOib() { return GetTipPozivaNaBrojPutnika() == "OIB"; }

inline constexpr ImportColumn kUnitColumns[] = {
    TextColumn("SIFRA", "Šifra jedinice")
        .Required()
        .Unique("select SIFRA from APO_SMJESTAJNA_JEDINICA WHERE SIFRA in"),
    TextColumn("NAZIV", "Naziv jedinice")
        .Required()
        .Unique("select NAZIV from APO_SMJESTAJNA_JEDINICA WHERE NAZIV in"),
    NumberColumn("BROJ_SOBA", "Broj soba"),
    NumberColumn("BROJ_KREVETA", "Broj kreveta").Required(),
    NumberColumn("BROJ_POM_LEZAJA", "Broj pomoćnih ležaja").Required(),
    TextColumn("ADRESA", "Adresa"),
    TextColumn("PTT", "PTT mjesta").Required().Lookup("select PTT as PTT from mjesto where PTT in "),
    TextColumn("MJESTO", "Naziv mjesta")
        .Required()
        .Lookup("select NAZIV as MJESTO from mjesto where NAZIV in "),
};

inline constexpr ImportColumn kResourceColumns[] = {
    TextColumn("SIFRA", "Šifra resursa").Required().Unique("select SIFRA from RESURS WHERE SIFRA in"),
    TextColumn("NAZIV", "Naziv resursa")
        .Required()
        .Lookup("select NAZIV as NAZIV from apo_smjestajna_jedinica where NAZIV in")
        .Unique("select NAZIV from RESURS WHERE NAZIV in"),
    TextColumn("NAZIV_SKL", "Naziv skladišta"),
    BooleanColumn("AKTIVAN", "Aktivan"),
    TextColumn("OPIS", "Opis"),
    BooleanColumn("TUDJA", "Tuđa"),
    TextColumn("NAZIV_PAR", "Naziv partnera").Lookup("select NAZIV as NAZIV_PAR from PAR WHERE NAZIV in"),
};

inline constexpr ImportColumn kHotelGuestColumns[] = {
    TextColumn("Ime", "Ime").Required(),
    TextColumn("Prezime", "Prezime").Required(),
    TextColumn("MJESTO", "Naziv mjesta").Lookup("select NAZIV as MJESTO from mjesto where NAZIV in "),
    TextColumn("DRZAVA", "Oznaka države").Lookup("select OZNAKA as DRZAVA from DRZAVE WHERE OZNAKA in"),
    TextColumn("SPOL", "Spol"),
    DateColumn("DATUM_ROD", "Datum rođenja"),
    TextColumn("MJESTO_ROD", "Mjesto rođenja")
        .Lookup("select NAZIV as MJESTO_ROD from mjesto where NAZIV in "),
    TextColumn("VRSTA_ISPRAVE", "Vrsta isprave"),
    TextColumn("BROJ_ISPRAVE", "Broj isprave")
        .Unique("select BrojPutneIsprave as BROJ_ISPRAVE from APO_FizickeOsobeAtributi "
                "WHERE BrojPutneIsprave in "),
    TextColumn("DRZAVA_ROD", "Država rođenja")
        .Lookup("select OZNAKA as DRZAVA_ROD from DRZAVE WHERE OZNAKA in"),
    TextColumn("DRZAVA_DRZAVLJANSTVO", "Državljanstvo")
        .Lookup("select OZNAKA as DRZAVA_DRZAVLJANSTVO from DRZAVE WHERE OZNAKA in"),
    TextColumn("TEL", "Telefon"),
    TextColumn("GSM", "Mobitel"),
    TextColumn("EMAIL", "e-mail"),
};

inline constexpr std::string_view kNoQuery = " ";

inline constexpr ImportColumn kTravellerColumns[] = {
    TextColumn("BROJ_GR", "Broj grupe")
        .Lookup("select BROJ as BROJ_GR from APO_GrupeRezervacije where BROJ in"),
    TextColumn("GRUPA", "Naziv grupe"),
    DateColumn("DATUM_RODJENJA", "Datum rođenja"),
    TextColumn("IME", "Ime").Required(),
    TextColumn("PREZIME", "Prezime").Required(),
    TextColumn("SPOL", "Spol", "1"),
    TextColumn("DRZAVA", "Oznaka države").Lookup("select OZNAKA as DRZAVA from DRZAVE WHERE OZNAKA in"),
    TextColumn("MJESTO", "Naziv mjesta").Lookup("select NAZIV as MJESTO from mjesto where NAZIV in "),
    TextColumn("ADRESA", "Adresa"),
    TextColumn("OIB", "OIB putnika", "11"),
    TextColumn("EMAIL", "e-mail").WithoutLookup(kNoQuery),
    TextColumn("TELEFON", "Telefon").WithoutLookup(kNoQuery),
    TextColumn("MOBITEL", "Mobitel").WithoutLookup(kNoQuery),
    TextColumn("RODITELJ", "Roditelj"),
    TextColumn("KONTAKT_OSOBA_TELEFON", "Telefon kontakt osobe"),
    TextColumn("KONTAKT_OSOBA_MOBITEL", "Mobitel kontakt osobe"),
    TextColumn("BROJ_PUTOVNICE", "Broj putovnice"),
    TextColumn("BROJ_OSOBNE", "Broj osobne iskaznice"),
    DateColumn("OSOBNA_VRIJEDI_DO", "Osobna iskaznica vrijedi do"),
    DateColumn("PUTOVNICA_VRIJEDI_DO", "Putovnica vrijedi do"),
    TextColumn("VRSTA_PUTNE_ISPRAVE", "Vrsta putne isprave"),
    TextColumn("BROJ_PUTNE_ISPRAVE", "Broj putne isprave"),
    TextColumn("DRZAVA_ROD", "Država rođenja")
        .Lookup("select OZNAKA as DRZAVA_ROD from DRZAVE WHERE OZNAKA in"),
    TextColumn("DRZAVLJANSTVO", "Državljanstvo")
        .Lookup("select OZNAKA as DRZAVLJANSTVO from DRZAVE WHERE OZNAKA in"),
    TextColumn("MJESTO_ROD", "Mjesto rođenja"),
    DateColumn("DATUM_ULASKA", "Datum ulaska"),
    TextColumn("TIP_PUTNIKA_UNOS", "Tip putnika"),
    TextColumn("KON_IME", "Ime kontakt osobe"),
    TextColumn("KON_PREZIME", "Prezime kontakt osobe"),
};

inline constexpr ImportColumn kContractPaymentColumns[] = {
    DateColumn("DATUM", "Datum uplate").Required(),    TextColumn("VP", "Vrsta plaćanja"),
    TextColumn("BROJ_UGO", "Broj ugovora").Required(), TextColumn("IME", "Ime").Required(),
    TextColumn("PREZIME", "Prezime").Required(),       TextColumn("SIFRA_GRP", "Šifra grupe").Required(),
    NumberColumn("IZNOS", "Iznos").Required(),
};

// Resources as they are written.
inline constexpr ColumnChange kResourcesWithoutLookups[] = {
    {"NAZIV",
     TextColumn("NAZIV", "Naziv resursa").Required().Unique("select NAZIV from RESURS WHERE NAZIV in")},
    {"NAZIV_PAR", TextColumn("NAZIV_PAR", "Naziv partnera")},
};

inline constexpr ColumnChange kTravellersWithOib[] = {
    {"OIB", TextColumn("OIB", "OIB", "11").Required(), TravellersPayByOib},
};

}  // namespace mox

#pragma GCC visibility pop
