#include "paper/page.h"

#include <algorithm>

#include "mox/codes/amount_in_words.h"
#include "mox/codes/exchange_rates.h"
#include "mox/codes/payment_codes.h"
#include "mox/codes/payment_slip.h"
#include "mox/documents/document_books.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "paper/page_check.h"
#include "paper/page_source.h"
#include "paper/page_tables.h"

namespace mox {
namespace {

std::string IdText(std::int64_t id) { return "document " + std::to_string(id); }

// A fact that the document has.
void Add(std::vector<PageFact>& facts, std::string label, std::string text) {
  if (!text.empty()) facts.push_back({std::move(label), std::move(text)});
}

std::string Joined(const std::string& a, std::string_view separator, const std::string& b) {
  return a + (a.empty() || b.empty() ? std::string() : std::string(separator)) + b;
}

std::int64_t IntegerOf(const RecordSet& records, std::string_view field) {
  const RecordRow record = records.RowAt(0);
  return record.AsInteger(record.IndexOf(field));
}

std::string DateField(const RecordSet& records, std::string_view field) {
  if (records.RowCount() == 0) return {};
  const RecordRow record = records.RowAt(0);
  const std::size_t index = record.IndexOf(field);
  return record.IsNull(index) ? std::string() : DateToText(record.AsDate(index), CurrentLocale());
}

// --- who, where and when ---

bool IsAbroad(const RecordSet& partner) {
  const std::string country = TextOf(partner, "oznaka_drzave");
  return !country.empty() && country != "HR";
}

// Documents that are for buyers abroad by their kind.
bool IsForAbroad(const DocumentKind& kind) { return kind.name.ends_with("-inozemstvo"); }

// Buyers abroad need the number of the tax for all of the union, and the code of the bank.
PageParty SellerOf(const RecordSet& seller, bool to_abroad) {
  PageParty party{.heading = {}, .name = TextOf(seller, "naziv"), .lines = {}};
  party.lines.push_back(Joined(TextOf(seller, "adresa"), ", ", TextOf(seller, "mjesto")));
  party.lines.push_back("OIB: " + TextOf(seller, "oib"));
  if (to_abroad) party.lines.push_back("PDV ID: HR" + TextOf(seller, "oib"));
  if (const std::string iban = TextOf(seller, "iban"); !iban.empty()) {
    party.lines.push_back("IBAN: " + Joined(iban, ", ", TextOf(seller, "banka")));
    const std::string swift = TextOf(seller, "swift");
    if (to_abroad && !swift.empty()) party.lines.push_back("SWIFT: " + swift);
  }
  return party;
}

PageParty PartnerOf(const RecordSet& partner, const DocumentKind& kind) {
  if (partner.IsEmpty()) return {};
  const bool supplies =
      kind.is == DocumentClass::kGoodsReceipt || kind.name.ends_with("povratnica-dobavljacu");
  PageParty party{.heading = supplies ? "Dobavljač" : "Kupac", .name = TextOf(partner, "naziv"), .lines = {}};
  const auto add = [&](const std::string& line) {
    if (!line.empty()) party.lines.push_back(line);
  };
  add(TextOf(partner, "adresa"));
  add(Joined(TextOf(partner, "ptt"), " ", TextOf(partner, "mjesto")));
  if (IsAbroad(partner)) add(TextOf(partner, "drzava"));
  if (const std::string oib = TextOf(partner, "oib"); !oib.empty()) add("OIB: " + oib);
  if (const std::string number = TextOf(partner, "pdv_br"); !number.empty()) add("PDV ID: " + number);
  if (const std::string number = TextOf(partner, "matbr"); !number.empty()) add("Porezni broj: " + number);
  return party;
}

std::string NumberOf(const RecordSet& records, std::string_view fiscal) {
  if (!fiscal.empty()) return std::string(fiscal);
  return TextOf(records, "broj") + "/" + TextOf(records, "godina");
}

// An invoice that is paid when it is handed over, which the tax administration is told of.
bool IsCashInvoice(const PageSource& source) { return source.kind->IsSale() && !source.IsPaidLater(); }

// When a receipt was issued; where the tax administration does not know of it, when it was stored, with the
// day where that is another one than the document's.
std::string TimeOf(const PageSource& source, Date date) {
  if (source.fiscal.IsEmpty() && !IsCashInvoice(source)) return {};
  const RecordRow record = (source.fiscal.IsEmpty() ? source.stored : source.fiscal).RowAt(0);
  const std::size_t field = record.IndexOf("vrijeme");
  if (record.IsNull(field)) return {};
  const DateTime moment = record.AsDateTime(field);
  const std::string text = FormatIsoDateTime(moment);
  const std::string time = text.substr(text.find('T') + 1, std::string_view("hh:mm:ss").size());
  return DayOf(moment) == date ? time : DateToText(DayOf(moment), CurrentLocale()) + " " + time;
}

// "Gotovinski račun 1/2026 od 02.03.2026": another document that a page names.
std::string NamedWith(const RecordSet& document, const PaperTemplate& paper) {
  const DocumentKind* const kind = FindDocumentKind(TextOf(document, "vrsta"));
  return Joined(kind == nullptr ? std::string() : paper.TitleOf(*kind), " ",
                NumberOf(document, TextOf(document, "broj_racuna"))) +
         " od " + DateField(document, "datum");
}

void AddFacts(const PageSource& source, const PaperTemplate& paper, DocumentPage& page) {
  const RecordSet& header = source.header;
  std::vector<PageFact>& facts = page.facts;
  if (page.cancelled) Add(facts, "STORNIRANO", NamedWith(source.storno, paper));
  const bool is_offer = source.kind->is == DocumentClass::kProForma;
  const bool bought = source.kind->is == DocumentClass::kInvoice || is_offer;
  Add(facts, bought ? "Datum izdavanja" : "Datum", DateField(header, "datum"));
  Add(facts, "Vrijeme izdavanja", TimeOf(source, page.date));
  const std::string place = Joined(TextOf(source.place, "ptt"), " ", TextOf(source.place, "mjesto"));
  if (bought) Add(facts, "Mjesto izdavanja", place.empty() ? TextOf(source.seller, "mjesto") : place);
  Add(facts, "Datum isporuke", DateField(header, "datum_isporuke"));
  Add(facts, "Datum dospijeća", DateField(header, "datum_dospijeca"));
  const std::string pay = TextOf(header, "nacin_placanja");
  Add(facts, "Način plaćanja",
      !pay.empty() || !bought || source.kind->is_own_use ? pay
      : source.IsPaidLater()                             ? "Transakcijski račun"
                                                         : "Gotovina");
  if (!source.fiscal.IsEmpty()) Add(facts, "Interni broj", NumberOf(header, ""));
  Add(facts, "Skladište", TextOf(source.place, "naziv"));
  Add(facts, "Operater", TextOf(header, "user_id"));
  Add(facts, "Dokument dobavljača",
      Joined(Joined(TextOf(header, "vrsta_dok_dob"), " ", TextOf(header, "broj_dok_dob")), ", ",
             DateField(header, "datum_dok_dob")));
  const RecordRow record = header.RowAt(0);
  if (const std::size_t rate = record.IndexOf("tecaj"); !record.IsNull(rate)) {
    Add(facts, "Tečaj", RateText(record.AsFloat(rate), CurrentLocale()));
  }
}

// --- what it comes to ---

Currency SumOf(const RecordSet& records, std::string_view field) {
  Currency sum;
  if (records.RowCount() == 0) return sum;
  const std::size_t index = *records.FindFieldIndex(field);
  for (const RecordRow& record : records.Rows()) sum += record.AsCurrency(index);
  return sum;
}

void AddTaxes(const PageSource& source, DocumentPage& page) {
  const RecordSet& taxes = source.taxes;
  const auto charged = [&](Currency tax) { return source.IsUncharged() ? Currency() : tax; };
  const LocaleSettings& locale = CurrentLocale();
  const auto add = [&](std::string rate, Currency base, Currency tax, bool is_sum = false) {
    page.taxes.push_back({std::move(rate), AmountText(base, locale), AmountText(tax, locale),
                          AmountText(base + tax, locale), is_sum});
  };
  for (const RecordRow& tax : taxes.Rows()) {
    std::string rate = tax.AsText(tax.IndexOf("oznaka_stope"));
    if (rate.empty()) rate = PercentText(tax.AsFloat(tax.IndexOf("stopa")), locale) + "%";
    add(rate, tax.AsCurrency(tax.IndexOf("osnovica")), charged(tax.AsCurrency(tax.IndexOf("porez"))));
  }
  if (page.taxes.size() > 1) {
    add("Ukupno", SumOf(taxes, "osnovica"), charged(SumOf(taxes, "porez")), true);
  }
}

// Lines are rounded one by one, so the sum of their totals may part from base and tax, by a cent a line at
// most.
void AddSums(const PageSource& source, Currency discount, DocumentPage& page) {
  const LocaleSettings& locale = CurrentLocale();
  const auto add = [&](std::string label, Currency amount, bool strong = false) {
    page.sums.push_back({std::move(label), AmountText(amount, locale), strong});
  };
  if (!discount.IsZero()) page.discount = AmountText(discount, locale);
  const Currency base = SumOf(source.taxes, "osnovica");
  const bool uncharged = source.IsUncharged();
  const Currency tax = uncharged ? Currency() : SumOf(source.taxes, "porez");
  const Currency fees = uncharged ? Currency() : Fees(*source.figures_kind, source.Sets());
  if (!source.taxes.IsEmpty()) add("Osnovica", base);
  if (!page.total) {
    if (!source.taxes.IsEmpty()) add("PDV", tax);
    return;
  }
  if (!source.taxes.IsEmpty() && !uncharged) add("PDV", tax);
  if (!source.taxes.IsEmpty() && !fees.IsZero()) add("Povratna naknada", fees);
  const Currency rest = *page.total - base - tax - fees;
  if (!rest.IsZero() && !source.taxes.IsEmpty()) add("Zaokruženje", rest);
  const bool paid = (source.kind->IsSale() || source.kind->is == DocumentClass::kProForma) &&
                    page.total->Sign() >= 0 && !page.cancelled;
  add(paid ? "Ukupno za platiti" : "Ukupno", *page.total, true);
}

std::string InWords(Currency total, const std::string& currency) {
  const std::string words = BrojSlovima(total.Sign() < 0 ? -total : total, currency);
  return words.empty() ? words : (total.Sign() < 0 ? "minus " : "") + words;
}

// The figures are those of the document, by the one rule for them.
void CheckSource(const PageSource& source, const DocumentPage& page) {
  try {
    CheckFigures(*source.figures_kind, source.Sets(), FiguresOf::kStored);
  } catch (const Error& error) {
    throw Error(IdText(page.id) + " does not add up: " + error.what());
  }
  const RecordRow header = source.header.RowAt(0);
  const std::size_t stored = header.IndexOf("ukupno");
  if (page.total && !header.IsNull(stored) && R2(header.AsCurrency(stored)) != *page.total) {
    throw Error(IdText(page.id) + " has the total " + header.AsCurrency(stored).ToString() +
                ", its lines have " + page.total->ToString());
  }
  if (source.original.IsEmpty() || !page.total) return;
  const RecordRow original = source.original.RowAt(0);
  const Currency cancelled = original.AsCurrency(original.IndexOf("ukupno"));
  if (!(R2(cancelled) + *page.total).IsZero()) {
    throw Error(IdText(page.id) + " cancels " + cancelled.ToString() + ", but its total is " +
                page.total->ToString());
  }
}

// --- codes and notes ---

// What it comes to in the currency of the country. None where that is its own, or no rate is known.
std::optional<ConvertedTotal> InCurrencyOfCountry(const PageSource& source, const DocumentPage& page) {
  if (page.currency == GetValutaOznakaByDate(page.date) || !page.total) return std::nullopt;
  const RecordRow header = source.header.RowAt(0);
  const double rate = header.AsFloat(header.IndexOf("tecaj"));
  if (!(rate > 0)) return std::nullopt;
  return TotalInCurrencyOfDate(*page.total, source.taxes, !source.IsUncharged(), page.date, rate);
}

void AddFiscal(const PageSource& source, DocumentPage& page) {
  if (IsCashInvoice(source) && TextOf(source.header, "user_id").empty()) {
    page.warnings.emplace_back(
        "it is paid at once and names no operator (user_id), whom a receipt has to name");
  }
  if (source.fiscal.IsEmpty()) {
    if (IsCashInvoice(source)) {
      page.warnings.emplace_back(
          "it is paid at once, and what the tax administration knows of it is not stored "
          "(mox store FiskalniPodaciUpis): no ZKI, JIR, number and code on it");
    }
    return;
  }
  Add(page.fiscal, "ZKI", TextOf(source.fiscal, "zki"));
  Add(page.fiscal, "JIR", TextOf(source.fiscal, "jir"));
  // The receipt was reported in the currency of the country.
  const auto converted = InCurrencyOfCountry(source, page);
  const bool is_home = page.currency == GetValutaOznakaByDate(page.date);
  if (!page.total || (!is_home && !converted)) return;
  const Currency reported = is_home ? *page.total : converted->total;
  const RecordRow record = source.fiscal.RowAt(0);
  // Of the address a program makes sense, whatever the locale of who prints it.
  page.verification_code =
      ReceiptVerificationAddress(TextOf(source.fiscal, "zki"), reported.ToDouble(),
                                 record.AsDateTime(record.IndexOf("vrijeme")), LocaleSettings());
}

// What is owed in kunas is paid in euros: of documents from their time converted once by the fixed rate, of
// later ones as it stands in the books, by the rate of the document.
std::optional<Currency> EurosOfOwedKunas(const PageSource& source, const DocumentPage& page) {
  if (page.currency != "HRK" || !page.total) return std::nullopt;
  if (page.currency == GetValutaOznakaByDate(page.date)) return EurosOfKunas(*page.total);
  const auto converted = InCurrencyOfCountry(source, page);
  return converted ? std::optional(converted->total) : std::nullopt;
}

std::optional<std::int64_t> SlipId(const RecordSet& slips, const std::string& name) {
  for (const RecordRow& slip : slips.Rows()) {
    if (name.empty() || EqualsIgnoringCase(slip.AsTextView(slip.IndexOf("naziv")), name)) {
      return slip.AsInteger(slip.IndexOf("id"));
    }
  }
  return std::nullopt;
}

// What the slip says, by the payment slip that the template names or the first one. Why there is none is
// told.
void AddSlip(const PageSource& source, const PaperTemplate& paper, DocumentPage& page) {
  const auto warn = [&](const std::string& reason) {
    page.warnings.push_back(std::string(kNoPaymentCode) + reason);
  };
  const std::string& name = paper.Text("placanje", "virman");
  const auto slip_id = SlipId(source.slips, name);
  if (!slip_id) {
    return warn(name.empty() ? "the company has no payment slip (mox codebook virman)"
                             : "there is no payment slip \"" + name + '"');
  }
  if (source.partner.IsEmpty()) return warn("the document has no partner");
  const RecordRow partner = source.partner.RowAt(0);
  const std::optional<Currency> euros = EurosOfOwedKunas(source, page);
  auto slip = GetVirmanDataFromDatabase(*slip_id, partner.AsInteger(partner.IndexOf("id")), page.id,
                                        euros.value_or(*page.total));
  if (!slip || slip->IsEmpty()) return warn("the server has no payment slip for the document");
  slip->First();
  if (euros) {
    slip->Edit();
    slip->FieldByName("valuta").SetText("EUR");
    slip->Post();
  }
  if (const std::string& payee = paper.Text("placanje", "primatelj"); !payee.empty()) {
    slip->Edit();
    slip->FieldByName("primatelj_naziv").SetText(payee);
    slip->Post();
  }
  page.payment.clear();
  Add(page.payment, "IBAN", TextOf(*slip, "primatelj_iban"));
  const std::string model = TextOf(*slip, "model");
  const std::string reference = TextOf(*slip, "poziv_na_br");
  if (ReferenceFault(model, reference).empty()) {
    Add(page.payment, "Model i poziv na broj", Joined(model, " ", reference));
  }
  if (model != "HR00" && model != "HR99") {
    const bool is_made = TextOf(source.header, "poziv_na_br").empty();
    page.warnings.push_back(
        is_made ? "the reference of its payment is made without control digits, which banks may want under " +
                      model + "; poziv_na_br of the header is for one that has them"
                : "the control digits that the reference of its payment may need under " + model +
                      " are not checked");
  }
  Add(page.payment, "Opis plaćanja", TextOf(*slip, "opis_placanja"));
  try {
    SlipCode code = PaymentSlipCode(slip->RowAt(0));
    page.payment_code = std::move(code.text);
    for (const std::string& left_out : code.left_out) {
      page.warnings.push_back("the payment code is without " + left_out);
    }
  } catch (const Error& error) {
    warn(error.what());
  }
}

// Of a customer, who pays later.
bool AsksForPayment(const PageSource& source) {
  return (source.kind->IsSale() || source.kind->is == DocumentClass::kProForma) && source.IsPaidLater();
}

void AddPayment(const PageSource& source, const PaperTemplate& paper, DocumentPage& page) {
  if (!AsksForPayment(source) || !page.total || page.total->Sign() <= 0 || page.cancelled) return;
  const std::string iban = TextOf(source.seller, "iban");
  if (iban.empty()) {
    page.warnings.push_back(std::string(kNoPaymentCode) + "the company has no bank account");
    return;
  }
  const std::string reference = TextOf(source.header, "poziv_na_br");
  Add(page.payment, "IBAN", iban);
  Add(page.payment, "Poziv na broj",
      reference.empty() ? PaymentReference(source.kind->name, IntegerOf(source.header, "broj"),
                                           IntegerOf(source.header, "godina"))
                        : reference);
  if (paper.IsYes("placanje", "kod")) AddSlip(source, paper, page);
}

// Rates decide, and not the sum of the tax, which may be 0 by itself.
bool HasUntaxedLines(const RecordSet& taxes) {
  for (const RecordRow& tax : taxes.Rows()) {
    if (tax.AsFloat(tax.IndexOf("stopa")) == 0) return true;
  }
  return taxes.IsEmpty();
}

// Where nothing else says in what it is paid.
void AddEurosOfKunas(const PageSource& source, DocumentPage& page) {
  const auto euros = AsksForPayment(source) ? EurosOfOwedKunas(source, page) : std::nullopt;
  if (!euros) return;
  page.notes.push_back("Po fiksnom tečaju konverzije 7,53450: ukupno " + AmountText(*euros, CurrentLocale()) +
                       " EUR.");
}

// Tax is charged, and the books are kept, in the currency of the country, whatever that of the document: what
// it comes to there is what its payment is held against.
void AddInCurrencyOfCountry(const PageSource& source, DocumentPage& page) {
  const std::string home(GetValutaOznakaByDate(page.date));
  if (page.currency == home || !page.total) return AddEurosOfKunas(source, page);
  const auto converted = InCurrencyOfCountry(source, page);
  if (!converted) {
    page.warnings.push_back("it is in " + page.currency + " and has no exchange rate (tecaj): its tax in " +
                            home + " is not on it");
    return;
  }
  const LocaleSettings& locale = CurrentLocale();
  const RecordRow header = source.header.RowAt(0);
  const double rate = header.AsFloat(header.IndexOf("tecaj"));
  const auto text = [&](Currency amount) { return AmountText(amount, locale) + " " + home; };
  std::string note = "Po tečaju " + RateText(rate, locale) + ": ";
  if (!source.taxes.IsEmpty()) {
    note += "osnovica " + text(converted->base) + ", PDV " + text(converted->tax) + ", ";
  }
  page.notes.push_back(note + "ukupno " + text(converted->total) + ".");
}

// The buyer's number of the tax, as his country begins it; of one outside the union any that he has.
std::string BuyerNumberFault(const RecordSet& partner) {
  constexpr std::string_view kUnion =
      "AT BE BG CY CZ DE DK EE ES FI FR GR HU IE IT LT LU LV MT NL PL PT RO SE SI SK";
  const std::string country = TextOf(partner, "oznaka_drzave");
  const std::string number = TextOf(partner, "pdv_br");
  const std::vector<std::string_view> members = SplitNames(kUnion);
  const bool is_member = std::find(members.begin(), members.end(), country) != members.end();
  if (number.empty()) {
    const bool has_other = !is_member && !TextOf(partner, "matbr").empty();
    return has_other ? std::string() : "the buyer's PDV ID (pdv_br of the partner) is not on it";
  }
  const std::string begins = country == "GR" ? "EL" : country;
  if (!is_member || number.starts_with(begins)) return {};
  return "the buyer's PDV ID " + InQuotes(number) + " does not begin with " + begins;
}

// Whoever buys abroad owes the tax himself, and is named by his number.
void WarnOfBuyerAbroad(const PageSource& source, DocumentPage& page) {
  if (!IsForAbroad(*source.kind)) return;
  const std::string country = TextOf(source.partner, "oznaka_drzave");
  if (!IsAbroad(source.partner)) {
    page.warnings.push_back("it is for buyers abroad, and " +
                            (source.partner.IsEmpty() ? std::string("it has no partner")
                             : country.empty() ? std::string("the country of its partner is not stored")
                                               : "its partner is in " + country));
  }
  if (source.partner.IsEmpty() || !HasUntaxedLines(source.taxes)) return;
  if (std::string fault = BuyerNumberFault(source.partner); !fault.empty())
    page.warnings.push_back(std::move(fault));
}

void AddNotes(const PageSource& source, const PaperTemplate& paper, DocumentPage& page) {
  if (!source.original.IsEmpty()) page.notes.push_back("Stornira se: " + NamedWith(source.original, paper));
  const std::string text = ParagraphOf(source.header, "opis");
  if (!text.empty()) page.notes.push_back(text);
  AddInCurrencyOfCountry(source, page);
  WarnOfBuyerAbroad(source, page);
  const bool taxed = !HasUntaxedLines(source.taxes);
  if (source.kind->IsSale() && !taxed && text.empty() && paper.Text("napomene", "bez_poreza").empty() &&
      paper.Text("napomene", std::string(source.kind->name) + ".bez_poreza").empty()) {
    page.warnings.emplace_back(
        "lines of it carry no tax, and no note says by which law (bez_poreza of [napomene] in the template, "
        "or "
        "opis)");
  }
  const Placeholders values = PlaceholdersOf(page, CurrentLocale());
  for (const std::string& note : paper.NotesOf(*source.kind, taxed))
    page.notes.push_back(Filled(note, values));
  page.footer = Filled(paper.Text("podnozje", "tekst"), values);
}

}  // namespace

DocumentPage MakePage(std::int64_t id, const PaperTemplate& paper) {
  const PageSource source = ReadPageSource(id);
  const LocaleSettings& locale = CurrentLocale();
  DocumentPage page;
  page.id = id;
  page.kind = source.kind;
  page.title = paper.TitleOf(*source.kind);
  page.number = NumberOf(source.header, TextOf(source.fiscal, "broj_racuna"));
  const RecordRow header = source.header.RowAt(0);
  page.date = header.AsDate(header.IndexOf("datum"));
  page.currency = TextOf(source.header, "val_ozn");
  if (page.currency.empty()) page.currency = GetValutaOznakaByDate(page.date);
  page.seller = SellerOf(source.seller, IsAbroad(source.partner) || IsForAbroad(*source.kind));
  page.partner = PartnerOf(source.partner, *source.kind);
  page.partner_mail = TextOf(source.partner, "email");
  page.total = ToBePaid(*source.figures_kind, source.Sets());
  CheckSource(source, page);
  page.cancelled = !source.storno.IsEmpty();
  AddFacts(source, paper, page);
  const Currency discount = FillTables(source, paper, page);
  AddTaxes(source, page);
  AddSums(source, discount, page);
  if (page.total && paper.IsYes("stranica", "slovima")) page.words = InWords(*page.total, page.currency);
  AddPayment(source, paper, page);
  AddFiscal(source, page);
  AddNotes(source, paper, page);
  CheckPage(page, locale);
  return page;
}

std::string FileNameOf(const DocumentPage& page) {
  // Numbers of fiscal receipts begin anew each year, and do not say which.
  const std::string year = "/" + std::to_string(ToCivil(page.date).year);
  const bool has_year =
      page.number.ends_with(year) && std::count(page.number.begin(), page.number.end(), '/') == 1;
  std::string name = std::string(page.kind->name) + "-" + page.number + (has_year ? "" : year) + ".pdf";
  for (char& c : name) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!plain && std::string_view("._-").find(c) == std::string_view::npos) c = '-';
  }
  return name;
}

Placeholders PlaceholdersOf(const DocumentPage& page, const LocaleSettings& locale) {
  Placeholders values;
  values["naslov"] = page.title;
  values["broj"] = page.number;
  values["datum"] = DateToText(page.date, locale);
  values["iznos"] = page.total ? AmountText(*page.total, locale) + " " + page.currency : std::string();
  values["kupac"] = page.partner.name;
  values["poduzece"] = page.seller.name;
  const auto due = std::find_if(page.facts.begin(), page.facts.end(),
                                [](const PageFact& fact) { return fact.label == "Datum dospijeća"; });
  values["dospijece"] = due == page.facts.end() ? std::string() : due->text;
  return values;
}

}  // namespace mox
