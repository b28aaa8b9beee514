#pragma once

#include "mox/import/import_column.h"

// Accounts, booking types, voucher lines and open items.

#pragma GCC visibility push(hidden)

namespace mox {

inline constexpr ImportColumn kOpenItemColumns[] = {
    NumberColumn("KONTO", "Konto").Lookup("select konto as KONTO from fin_kto where konto in "),
    TextColumn("SIFRA_RJ", "Šifra radne jedinice")
        .Required()
        .Lookup("select sifra as SIFRA_RJ from skladiste where sifra in "),
    TextColumn("OPIS", "Opis", "200"),
    DateColumn("DATUM_PP", "Datum poslovne promjene").Required(),
    NumberColumn("DUGUJE", "Duguje").Required(),
    NumberColumn("POTRAZUJE", "Potražuje").Required(),
    TextColumn("PAR_OIB", "OIB partnera").Required().Lookup("select oib as PAR_OIB from par where oib in "),
    TextColumn("BR_DOK", "Broj dokumenta").Required(),
    DateColumn("DATUM_DOK", "Datum dokumenta").Required(),
    DateColumn("DATUM_DOS", "Datum dospijeća").Required(),
    TextColumn("POZIV_NA_BR", "Poziv na broj").Required(),
};

inline constexpr ImportColumn kBookingTypeColumns[] = {
    TextColumn("SIFRA", "Šifra", "4").Required(),
    TextColumn("OPIS", "Opis").Required(),
};

inline constexpr ImportColumn kAccountColumns[] = {
    TextColumn("KONTO", "Konto", "8").Required(),
    TextColumn("OPIS", "Opis", "300").Required(),
};

inline constexpr ImportColumn kVoucherLineColumns[] = {
    NumberColumn("KONTO", "Konto").Required().Lookup("select konto as KONTO from fin_kto where konto in "),
    TextColumn("OPIS", "Opis").Required(),
    DateColumn("DATUM_PP", "Datum poslovne promjene").Required(),
    NumberColumn("DUGUJE", "Duguje").Required(),
    NumberColumn("POTRAZUJE", "Potražuje").Required(),
    TextColumn("SIFRA_RJ", "Šifra radne jedinice")
        .Required()
        .Lookup("select sifra as SIFRA_RJ from skladiste where sifra in "),
    TextColumn("VR_KNJ", "Vrsta knjiženja")
        .Required()
        .Lookup("select sifra as VR_KNJ from fin_vr_k where sifra in "),
};

// Open items of partners that have no personal number here.
inline constexpr ColumnChange kForeignOpenItems[] = {
    {"PAR_OIB", TextColumn("PAR_OIB", "OIB partnera").Lookup("select oib as PAR_OIB from par where oib in ")},
    {"PAR_NAZIV", TextColumn("PAR_NAZIV", "Naziv partnera")
                      .Required()
                      .Lookup("select naziv as PAR_NAZIV from par where naziv in ")},
};

}  // namespace mox

#pragma GCC visibility pop
