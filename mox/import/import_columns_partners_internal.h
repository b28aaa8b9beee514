#pragma once

#include "mox/import/import_column.h"

// Partners, customers and places.

#pragma GCC visibility push(hidden)

namespace mox {

inline constexpr ImportColumn kPartnerColumns[] = {
    TextColumn("NAZIV", "Naziv partnera").Required().Unique("select NAZIV from PAR WHERE NAZIV in"),
    TextColumn("OIB", "OIB partnera", "11"),
    TextColumn("ADRESA", "Adresa"),
    TextColumn("ADRESABROJ", "Kućni broj", "10"),
    TextColumn("ADRESADODATAKBROJ", "Dodatak kućnom broju", "10"),
    TextColumn("PTT", "PTT mjesta").Required().Lookup("select PTT as PTT from mjesto where PTT in "),
    TextColumn("MJESTO", "Naziv mjesta")
        .Required()
        .Lookup("select NAZIV as MJESTO from mjesto where NAZIV in "),
    TextColumn("VLASNIK", "Vlasnik", "60"),
    TextColumn("VLA_TEL", "Vlasnik telefon", "20"),
    TextColumn("VLA_MOB", "Vlasnik mobitel", "20"),
    TextColumn("VLA_ADRESA", "Vlasnik adresa", "60"),
    TextColumn("TIP_TVRTKE", "Tip tvrtke", "50"),
    TextColumn("PDV_BR", "PDV ID broj", "15"),
    TextColumn("IBAN", "IBAN", "50"),
    TextColumn("SWIFT", "SWIFT", "50"),
    TextColumn("MATBR", "Porezni broj", "13"),
    TextColumn("DRZAVA", "Oznaka države", "3").Lookup("select OZNAKA as DRZAVA from DRZAVE WHERE OZNAKA in"),
    TextColumn("VALUTA", "Oznaka valute", "3").Lookup("select OZNAKA as VALUTA from valuta WHERE OZNAKA in"),
    TextColumn("TELEFON", "Telefon", "20"),
    TextColumn("FAX", "Fax", "20"),
    TextColumn("EMAIL", "e-mail", "60"),
    TextColumn("WEB", "Web-adresa", "60"),
    TextColumn("EMAIL_ERACUN", "e-mail za Moj-eRačun", "150"),
    TextColumn("BROJ_UGOVORA", "Broj ugovora", "10"),
    TextColumn("NACIN_PLACANJA", "Način plaćanja", "20"),
    NumberColumn("LIMIT_DUGA", "Kreditni limit"),
    NumberColumn("ODGODA", "Odgoda plaćanja"),
    TextColumn("KOMERCIJALIST", "Komercijalist", "50")
        .Lookup("select NAZIV as KOMERCIJALIST from KOMERCIJALIST WHERE NAZIV in"),
    NumberColumn("TUZENI_IZNOS", "Tužena potraživanja"),
    BooleanColumn("tuzen", "Tužen"),
    BooleanColumn("DENY_IN_DOC", "Zabrana nabave"),
    NumberColumn("TUZIO_IZNOS", "Tužena dugovanja"),
    BooleanColumn("DENY_OUT_DOC", "Zabrana isporuke"),
    BooleanColumn("AKTIVAN", "Aktivan"),
    TextColumn("NAPOMENA", "Napomena", "255"),
};

inline constexpr ImportColumn kPartnerMailColumns[] = {
    TextColumn("OIB", "OIB partnera", "11").Required(),
    TextColumn("EMAIL", "e-mail za eRačun", "60"),
};

inline constexpr ImportColumn kRetailCustomerColumns[] = {
    TextColumn("EMAIL", "e-mail"),
    TextColumn("NAZIV", "Naziv kupca"),
    TextColumn("ADRESA", "Adresa"),
    TextColumn("PTT", "PTT mjesta"),
    TextColumn("MJESTO", "Naziv mjesta").Lookup("select NAZIV as MJESTO from mjesto where NAZIV in "),
    TextColumn("DRZAVA", "Oznaka države", "50").Lookup("select OZNAKA as DRZAVA from DRZAVE WHERE OZNAKA in"),
    TextColumn("TELEFON", "Telefon"),
};

inline constexpr ImportColumn kPlaceColumns[] = {
    TextColumn("NAZIV", "Naziv mjesta").Required().Unique("select naziv from mjesto WHERE naziv in"),
    TextColumn("PTT", "PTT mjesta"),
    TextColumn("DRZAVA", "Oznaka države").Lookup("select OZNAKA as DRZAVA from DRZAVE WHERE OZNAKA in"),
};

inline constexpr ColumnChange kPartnersWithOib[] = {
    {"ADRESABROJ", std::nullopt},
    {"ADRESADODATAKBROJ", std::nullopt},
    {"OIB", TextColumn("OIB", "OIB partnera", "11").Required()},
    {"NAZIV", TextColumn("NAZIV", "Naziv partnera").Required()},
};

}  // namespace mox

#pragma GCC visibility pop
