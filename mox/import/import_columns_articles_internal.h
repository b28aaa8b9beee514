#pragma once

#include "mox/import/import_column.h"

// Articles, services and fixed assets.

#pragma GCC visibility push(hidden)

namespace mox {

inline constexpr ImportColumn kSupplierArticleColumns[] = {
    TextColumn("SIFRA_KOD_PROIZVODJACA", "Šifra kod proizvođača", "15"),
    TextColumn("SIFRA_ARTIKLA_RF", "Šifra artikla")
        .Lookup("select sifra SIFRA_ARTIKLA_RF from art where sifra in "),
    TextColumn("NAZIV_KOD_DOBAVLJACA", "Naziv kod dobavljača", "20").Required(),
    TextColumn("SIFRA_KOD_DOBAVLJACA", "Šifra kod dobavljača", "20"),
    TextColumn("SIFRA_DOBAVLJACA", "Šifra dobavljača")
        .Required()
        .Lookup("select sifra SIFRA_DOBAVLJACA from par where sifra in "),
    NumberColumn("CIJENA", "Cijena"),
};

inline constexpr ImportColumn kArticleColumns[] = {
    TextColumn("SIFRA", "Šifra artikla").Required().Unique("select sifra from art where sifra in "),
    TextColumn("NAZIV", "Naziv artikla").Required(),
    TextColumn("JM", "Jedinica mjere").Required().Lookup("select naziv as JM from jm where naziv in "),
    NumberColumn("TBR", "Stopa PDV-a").Required().Lookup("select stopa as TBR from tbr WHERE stopa in "),
    NumberColumn("CAR_STP", "Carinska stopa"),
    NumberColumn("TROSARINA", "Trošarina"),
    TextColumn("OPIS", "Opis"),
    TextColumn("GRUPA", "Grupa").Required().Lookup("select naziv as GRUPA from vrsta where naziv in "),
    TextColumn("PODGRUPA", "Pogrupa").Lookup("select naziv as PODGRUPA from podvrsta where naziv in "),
    TextColumn("RABAT", "Rabatna grupa")
        .Required()
        .Lookup("select naziv as RABAT from rabatne_grupe where naziv in "),
    TextColumn("VAGA", "Vaga"),
    TextColumn("KONSIGNACIJA", "Konsignacija"),
    TextColumn("NAKNADA", "Naknada"),
    TextColumn("NAZIV_STRANI", "Strani naziv"),
    NumberColumn("CAR_FAKTOR", "Carinski faktor"),
    NumberColumn("TEZINA", "Težina"),
    NumberColumn("STP_KALO_MAL", "Stopa kala maloprodaje"),
    NumberColumn("STP_KALO_VEL", "Stopa kala veleprodaje"),
    TextColumn("PODGRUPA2", "Podgrupa 2").Lookup("select naziv as PODGRUPA2 from podgrupa2 where naziv in "),
    TextColumn("BARCODE", "Barkod"),
    TextColumn("USER", "Korisnik"),
    NumberColumn("CAR_TAR_BR", "Carinski tarifni broj")
        .Lookup("select sifra as CAR_TAR_BR from CAR_TAR_BR WHERE sifra in  "),
    TextColumn("DRZAVA_PORIJEKLA", "Država porijekla")
        .Lookup("select naziv as DRZAVA_PORIJEKLA from drzave where naziv in "),
    TextColumn("SIFRA_DOBAVLJACA", "Šifra dobavljača"),
};

inline constexpr ImportColumn kRetailArticleColumns[] = {
    TextColumn("NAZIV", "Naziv artikla"),
    TextColumn("SIFRA", "Šifra artikla"),
    TextColumn("BARCODE", "Barkod").Required(),
    TextColumn("JM", "Jedinica mjere").Lookup("select naziv as JM from jm where naziv in "),
    TextColumn("TBR", "Stopa PDV-a"),
    TextColumn("GRUPA", "Grupa"),
    TextColumn("PODGRUPA", "Podgrupa"),
    TextColumn("BRAND", "Brend"),
    TextColumn("SPOL", "Spol"),
    TextColumn("UZRAST", "Uzrast"),
    TextColumn("SPORT", "Sport"),
    TextColumn("SEZONA", "Sezona"),
    TextColumn("HR_VEL", "Hrvatska veličina"),
    TextColumn("VELICINA", "Veličina"),
    TextColumn("STR_NAZIV", "Strani naziv"),
    TextColumn("HR_NAZIV", "Hrvatski naziv"),
    TextColumn("MODEL", "Model"),
    TextColumn("KATALOG", "Kataloški broj"),
    TextColumn("NAB_CIJ", "Nabavna cijena"),
    TextColumn("NAB_CIJ_DEV", "Devizna nabavna cijena"),
    TextColumn("RABAT_UL_P", "Ulazni rabat %"),
    TextColumn("FC_RAB_UL", "Fakturna cijena s rabatom"),
    TextColumn("PROD_CIJ", "Prodajna cijena"),
    TextColumn("AKCIJA", "Akcija"),
    TextColumn("BOJA", "Boja"),
    TextColumn("OPIS_BOJE", "Opis boje"),
    TextColumn("RAZRED", "Razred"),
    TextColumn("KLASA", "Klasa"),
    TextColumn("TREND", "Trend"),
    TextColumn("TIPOLOGY", "Tipologija"),
    TextColumn("CUP", "Cup"),
    TextColumn("TREND_NAME", "Naziv trenda"),
    TextColumn("ROOT", "Root"),
    TextColumn("PATRON", "Patron"),
    TextColumn("WS", "WS"),
    TextColumn("NAZIV_PRO", "Naziv proizvođača"),
    TextColumn("DRZ_POD", "Država podrijetla"),
    TextColumn("TEZINA", "Težina"),
    TextColumn("CAR_TAR_BR", "Carinski tarifni broj"),
    TextColumn("KOMB_NOM", "Kombinirana nomenklatura"),
    TextColumn("CIJ_ZA_DEKL", "Cijena za deklaraciju"),
    TextColumn("KOL_ZA_DEKL", "Količina za deklaraciju"),
    TextColumn("carryover", "Carryover"),
    TextColumn("WEBSHOP", "Web-trgovina"),
    TextColumn("OPIS", "Opis"),
};

inline constexpr ImportColumn kServiceColumns[] = {
    TextColumn("SIFRA", "Šifra usluge").Required(),
    BooleanColumn("AKTIVNA", "Aktivna").Required(),
    TextColumn("GRUPA", "Grupa usluga").Lookup("select naziv as GRUPA from grupa_usl where naziv in "),
    TextColumn("KONTO", "Konto", "8").Required().Lookup("select konto as KONTO from fin_kto where konto in "),
    TextColumn("NAZIV_HRV", "Hrvatski naziv", "200").Required(),
    TextColumn("NAZIV_ITA", "Talijanski naziv", "200"),
    TextColumn("NAZIV_SLO", "Slovenski naziv", "200"),
    TextColumn("NAZIV_DEU", "Njemački naziv", "200"),
    TextColumn("NAZIV_ENG", "Engleski naziv", "200"),
    NumberColumn("PC", "Prodajna cijena").Required(),
    NumberColumn("TBR", "Stopa PDV-a"),
    NumberColumn("MPC", "Maloprodajna cijena"),
};

// The look-up of an employee asks for personal numbers and answers codes, so a row passes only where its
// employee has the same of both.
inline constexpr ImportColumn kFixedAssetColumns[] = {
    TextColumn("NAZIV", "Naziv sredstva").Required(),
    TextColumn("INV_BROJ", "Inventarni broj").Required(),
    TextColumn("BARCODE", "Barkod"),
    TextColumn("JM", "Jedinica mjere").Required().Lookup("select naziv as JM from jm where naziv in "),
    NumberColumn("GRP_AM", "Amortizacijska grupa")
        .Required()
        .Lookup("select sifra as GRP_AM from osr_sku_dug_imv where sifra in "),
    TextColumn("GRP_KTO", "Grupa konta")
        .Required()
        .Lookup("select naziv as GRP_KTO from osr_gr_dug_imv where naziv in "),
    TextColumn("RJ", "Radna jedinica").Required(),
    TextColumn("SMJESTAJ", "Smještaj")
        .Required()
        .Lookup("select sifra as SMJESTAJ from OSR_MJE_SMJ where sifra in "),
    TextColumn("SIFRA_ZAP", "Šifra zaposlenika")
        .Lookup("select sifra as SIFRA_ZAP from zaposlenik where oib in "),
    DateColumn("DAT_POC_UP", "Datum početka uporabe").Required(),
    DateColumn("DAT_NAB", "Datum nabave").Required(),
    NumberColumn("NAB_VR", "Nabavna vrijednost").Required(),
    NumberColumn("ISPR_RED", "Redovni ispravak vrijednosti"),
    NumberColumn("ISPR_UBR", "Ubrzani ispravak vrijednosti"),
    TextColumn("PAR", "Naziv dobavljača").Required().Lookup("select naziv as PAR from par where naziv in "),
    DateColumn("DATUM", "Datum").Required(),
    TextColumn("NAPOMENA", "Napomena"),
};

inline constexpr ColumnChange kChangedRetailArticles[] = {{"OPIS", std::nullopt}};

}  // namespace mox

#pragma GCC visibility pop
