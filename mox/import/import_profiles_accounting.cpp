#include "mox/import/import_column_internal.h"
#include "mox/import/import_grid.h"

// Accounts, booking types, voucher lines and open items.

namespace mox {
namespace {

constexpr ImportColumn kOpenItems[] = {
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

constexpr ImportColumn kBookingTypes[] = {
    TextColumn("SIFRA", "Šifra", "4").Required(),
    TextColumn("OPIS", "Opis").Required(),
};

constexpr ImportColumn kChartOfAccounts[] = {
    TextColumn("KONTO", "Konto", "8").Required(),
    TextColumn("OPIS", "Opis", "300").Required(),
};

constexpr ImportColumn kVoucherLines[] = {
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

}  // namespace

void TfrmImportGrid::PrepareImportOtvoreneStavke() { Prepare(14, kOpenItems); }

void TfrmImportGrid::PrepareImportOtvoreneStavkeStrano() {
  ImportColumns columns = ColumnsOf(kOpenItems);
  ImportColumn& oib = ColumnNamed(columns, "PAR_OIB");
  oib = oib.Required(false);
  columns.push_back(TextColumn("PAR_NAZIV", "Naziv partnera")
                        .Required()
                        .Lookup("select naziv as PAR_NAZIV from par where naziv in "));
  Prepare(15, columns);
}

void TfrmImportGrid::PrepareImportVrsteKnjizenja() { Prepare(5, kBookingTypes); }

void TfrmImportGrid::PrepareImportKontniPlan() { Prepare(5, kChartOfAccounts); }

void TfrmImportGrid::PrepareImportTemeljnica() { Prepare(10, kVoucherLines); }

}  // namespace mox
