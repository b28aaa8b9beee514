#include "paper/page_columns.h"

#include "mox/foundation/find_row.h"

namespace mox {
namespace {

constexpr bool kWhereGiven = false;

constexpr PageColumn kColumns[] = {
    {"rb", "Rb.", PageValue::kNumber},
    {"sifra", "Šifra", PageValue::kText, kWhereGiven},
    {"naziv", "Naziv", PageValue::kText},
    {"slika", "Slika", PageValue::kPicture, kWhereGiven},
    {"jm", "JM", PageValue::kText, kWhereGiven},
    {"kolicina", "Količina", PageValue::kQuantity},
    {"fc", "Fakturna cijena", PageValue::kPrice},
    {"nc", "Nabavna cijena", PageValue::kPrice},
    {"vpc", "Cijena bez PDV-a", PageValue::kPrice},
    {"nvpc", "Nova cijena bez PDV-a", PageValue::kPrice},
    {"pc", "Cijena", PageValue::kPrice},
    {"mpc", "Cijena s PDV-om", PageValue::kPrice},
    {"rabat", "Popust %", PageValue::kDiscounts, kWhereGiven},
    {"marp", "Marža %", PageValue::kPercent, kWhereGiven},
    {"tbr_stp", "PDV %", PageValue::kPercent},
    {"fci", "Fakturni iznos", PageValue::kAmount},
    {"nfci", "Neto iznos", PageValue::kAmount},
    {"zti", "Zavisni troškovi", PageValue::kAmount, kWhereGiven},
    {"nci", "Nabavni iznos", PageValue::kAmount, kWhereGiven},
    {"vpci", "Iznos bez PDV-a", PageValue::kAmount},
    {"nvpci", "Novi iznos", PageValue::kAmount},
    {"pci", "Iznos", PageValue::kAmount},
    {"mpci", "Iznos s PDV-om", PageValue::kAmount},
    {"marza", "Marža", PageValue::kAmount},
    {"mari", "Marža", PageValue::kAmount, kWhereGiven},
    {"razlika", "Razlika", PageValue::kAmount},
    {"osnovica", "Osnovica", PageValue::kAmount},
    {"osnovicaroba", "Osnovica, roba", PageValue::kAmount},
    {"pdviroba", "PDV, roba", PageValue::kAmount},
    {"osnovicausluge", "Osnovica, usluge", PageValue::kAmount},
    {"pdviusluge", "PDV, usluge", PageValue::kAmount},
    {"pdvi", "PDV", PageValue::kAmount},
    {"pdvi_dob", "PDV", PageValue::kAmount},
    {"pov_naki", "Povratna naknada", PageValue::kAmount, kWhereGiven},
    {"pot_naki", "Poticajna naknada", PageValue::kAmount, kWhereGiven},
    {"ukupno", "Ukupno", PageValue::kAmount},
    {"uk_dob", "Ukupno", PageValue::kAmount},
};

}  // namespace

std::span<const PageColumn> PageColumns() { return kColumns; }

const PageColumn* FindPageColumn(std::string_view name) { return FindRow(kColumns, name); }

}  // namespace mox
