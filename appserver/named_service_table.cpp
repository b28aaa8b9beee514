#include "appserver/named_service_table.h"

#include <algorithm>

#include "appserver/article_pictures.h"
#include "appserver/client_services.h"
#include "appserver/codebook_services.h"
#include "appserver/document_list.h"
#include "appserver/e_invoice.h"
#include "appserver/fold.h"
#include "appserver/mail_outbox.h"
#include "appserver/partner_balances.h"
#include "appserver/print_services.h"
#include "appserver/report_services.h"
#include "appserver/stock_services.h"
#include "appserver/stored_document.h"
#include "appserver/write_journal.h"
#include "mox/codes/exchange_rates.h"
#include "mox/codes/payment_slip.h"
#include "mox/foundation/clock.h"

namespace mox {
namespace {

// The rate is asked by the currency's id or by its code.
void CheckTecaj(Database& /*database*/, ServiceInputs& inputs) {
  const std::string& by = inputs.As<std::string>("valIdOrValOzn");
  if (by != "id" && by != "ozn") throw Error("input \"valIdOrValOzn\" must be \"id\" or \"ozn\"");
  const std::string key = "val_" + by;
  if (inputs.IsNull(key)) throw Error("input \"" + key + "\" is missing");
}

// The numbers of a supplier's documents begin anew each year.
void PrepareBrojDokDob(Database& /*database*/, ServiceInputs& inputs) {
  const int year = ToCivil(inputs.As<Date>("datum_dok_dob")).year;
  inputs.Derive("od", FieldKind::kDate, MakeDate(year, 1, 1).value());
  inputs.Derive("do", FieldKind::kDate, MakeDate(year, 12, 31).value());
  inputs.Derive("broj_kljuc", FieldKind::kText, FoldKey(inputs.As<std::string>("broj_dok_dob")));
}

// Links have the code of the kind, which may also be asked for by its name.
void PrepareChildTip(Database& /*database*/, ServiceInputs& inputs) {
  std::string tip = inputs.IsNull("child_tip") ? std::string() : inputs.As<std::string>("child_tip");
  if (const DocumentKind* const kind = FindDocumentTip(tip)) tip = kind->tip;
  inputs.Derive("tip", FieldKind::kText, std::move(tip));
}

void PrepareDocument(Database& database, ServiceInputs& inputs) {
  RequireDocument(database, inputs.As<std::int64_t>("id"));
}

// What was due before that day is overdue beyond the days that the partner is allowed.
void PrepareKreditniLimit(Database& database, ServiceInputs& inputs) {
  const RecordSet days =
      database.Query("dani", ParseColumns("dani:integer"),
                     "SELECT dani_kasnjenja FROM par WHERE id = :par_id", {inputs["par_id"]});
  const std::int64_t allowed = days.IsEmpty() ? 0 : days.AsInteger(0);
  const std::int64_t first_day = MakeDate(1, 1, 1).value().days;
  const std::int64_t since = std::max(Today().days - allowed, first_day);
  inputs.Derive("kasni_prije", FieldKind::kDate, Date{static_cast<std::int32_t>(since)});
}

void PreparePartnerCode(Database& /*database*/, ServiceInputs& inputs) {
  inputs.Derive("kljuc", FieldKind::kText, FoldKey(inputs.As<std::string>("sifra")));
}

// The payee of a payment slip, and what the document itself says: its reference, where nobody entered one,
// and in which currency its amount is.
void PrepareVirman(Database& database, ServiceInputs& inputs) {
  const CompanyData& company = inputs.Company();
  company.RequireNamed();
  for (const std::string_view name : {"NazivPoduzeca", "AdresaPoduzeca", "MjestoPoduzeca"}) {
    inputs.Derive(name, FieldKind::kText, *company.Parameter(name));
  }
  inputs.Derive("GlavniIban", FieldKind::kText, company.RequireIban());
  const auto document = ReadStoredDocument(database, inputs.As<std::int64_t>("DocId"));
  std::string reference;
  std::string currency;
  if (document) {
    const RecordSet& header = document->header;
    const auto number = [&](std::string_view field) {
      return header.AsInteger(*header.FindFieldIndex(field));
    };
    reference = PaymentReference(document->vrsta, number("broj"), number("godina"));
    currency = GetValutaOznakaByDate(header.AsDate(*header.FindFieldIndex("datum")));
  }
  inputs.Derive("PozivNaBroj", FieldKind::kText, std::move(reference));
  inputs.Derive("ValutaDatuma", FieldKind::kText, std::move(currency));
}

void FillFeature(Database& /*database*/, const ServiceInputs& inputs, RecordSet& answer) {
  if (const auto allowed = inputs.Company().Feature(inputs.As<std::string>("Code"))) {
    answer.AppendRecord({*allowed});
  }
}

void FillAdditionalParameters(Database& /*database*/, const ServiceInputs& inputs, RecordSet& answer) {
  inputs.Company().AppendAdditional(answer);
}

void FillCompany(Database& /*database*/, const ServiceInputs& inputs, RecordSet& answer) {
  inputs.Company().AppendAll(answer);
}

void FillTravellerReference(Database& /*database*/, const ServiceInputs& inputs, RecordSet& answer) {
  const auto type = inputs.Company().Parameter("TipPozivaNaBrojPutnika");
  answer.AppendRecord({type ? Value(*type) : Value()});
}

constexpr std::string_view kSkladisteColumns =
    "id:integer,sifra,naziv,gln,adresa,ptt,mjesto,webshop:boolean,aktivan:boolean";

constexpr std::string_view kPoslovniProstorColumns =
    "id:integer,skl_id:integer,oznaka,naplatni_uredjaj,adresa,vrijedi_od:date";

constexpr std::string_view kDokumentColumns =
    "id:integer,vrsta,godina:integer,broj:integer,datum:date,datum_isporuke:date,datum_dospijeca:date,"
    "skl_id:integer,"
    "skl_naziv,par_id:integer,par_naziv,valuta_id:integer,val_ozn,tecaj:float,user_id,broj_dok_dob,"
    "datum_dok_dob:date,vrsta_dok_dob,nacin_placanja,poziv_na_br,opis,ukupno:currency,stornira_id:integer,"
    "storno_id:integer,vrsta_stavki";

// --- the company ---

constexpr std::string_view kTecajColumns = "datum:date,val_id:integer,val_ozn,tecaj:float,val_naziv,napomena";

constexpr std::string_view kTecajSql = R"(
SELECT t.datum, v.id, v.oznaka, t.tecaj, v.naziv, t.napomena
FROM tecaj t JOIN valuta v ON v.id = t.val_id
WHERE t.datum <= :datum
  AND ((:valIdOrValOzn = 'id' AND v.id = :val_id) OR
       (:valIdOrValOzn = 'ozn' AND v.oznaka = UPPER(TRIM(:val_ozn))))
ORDER BY t.datum DESC LIMIT 1)";

// Sums are of whole ten-thousandths, as a sum of numbers with decimals may be off by one of them.
const std::string kCreditSql = R"(
SELECT p.limit_duga, p.dani_kasnjenja, COALESCE(s.saldo, 0) / 10000.0, COALESCE(s.kasne, 0),
  p.fakturiranje_limit_duga, p.faktur_limit_duga_once
FROM par p LEFT JOIN
  (SELECT d.par_id, SUM(d.saldo) AS saldo,
     SUM(CASE WHEN d.saldo > 0 AND d.dospjelo < :kasni_prije THEN 1 ELSE 0 END) AS kasne
   FROM
     (SELECT o.par_id, )" + OpenInEuros() +
                               R"( AS saldo, MIN(CASE WHEN o.duguje > 0 THEN o.datum_dos END) AS dospjelo
      FROM otvorene_stavke o WHERE o.par_id = :par_id GROUP BY o.par_id, o.br_dok) d
   GROUP BY d.par_id) s ON s.par_id = p.id
WHERE p.id = :par_id)";

const NamedService kServices[] = {
    // --- the company ---

    {"GetSkladista", Right::kRead, "", "all warehouses", {{"adsSkl", kSkladisteColumns, R"(
SELECT s.id, s.sifra, s.naziv, s.gln, s.adresa, m.ptt, m.naziv, s.webshop, s.aktivan
FROM skladiste s LEFT JOIN mjesto m ON m.id = s.mjesto_id
ORDER BY s.sifra)"}}},

    {"GetSklFromGLN",
     Right::kRead,
     "GLN",
     "the warehouse of a global location number",
     {{"adsSkl", kSkladisteColumns, R"(
SELECT s.id, s.sifra, s.naziv, s.gln, s.adresa, m.ptt, m.naziv, s.webshop, s.aktivan
FROM skladiste s LEFT JOIN mjesto m ON m.id = s.mjesto_id
WHERE s.gln = TRIM(:GLN))"}}},

    {"WebshopSklGet",
     Right::kRead,
     "",
     "the warehouse of the web shop",
     {{"adsWebshopSkl", "webshop_rj_id:integer", R"(
SELECT id FROM skladiste WHERE webshop ORDER BY id LIMIT 1)"}}},

    {"GetCompanyIban",
     Right::kRead,
     "",
     "the company's bank accounts, the main one first",
     {{"adsIbani", "id:integer,iban,banka,swift,valuta,glavni:boolean", R"(
SELECT i.id, i.iban, b.naziv, b.swift, v.oznaka, i.glavni
FROM poduzece_ibani i
LEFT JOIN banke b ON b.id = i.banka_id
LEFT JOIN valuta v ON v.id = i.valuta_id
ORDER BY i.glavni DESC, i.id)"}}},

    {"PoslProstorZaFisk",
     Right::kRead,
     "skl_id:integer",
     "the business premises of a warehouse, for fiscal receipts",
     {{"PoslProData", kPoslovniProstorColumns, R"(
SELECT id, skl_id, oznaka, naplatni_uredjaj, adresa, vrijedi_od
FROM poslovni_prostor WHERE skl_id = :skl_id AND NOT za_ugovore ORDER BY id)"}}},

    {"UgoPoslProstorZaFisk",
     Right::kRead,
     "skl_id:integer",
     "the same for contracts",
     {{"PoslProData", kPoslovniProstorColumns, R"(
SELECT id, skl_id, oznaka, naplatni_uredjaj, adresa, vrijedi_od
FROM poslovni_prostor WHERE skl_id = :skl_id AND za_ugovore ORDER BY id)"}}},

    {"AdditionalFeaturesData",
     Right::kRead,
     "Code",
     "whether an additional feature is allowed",
     {{"adsAddFeatures", "Allow:boolean", "", FillFeature}}},

    {"Kat\\DodatniParametriPoduzeca",
     Right::kRead,
     "",
     "the additional company parameters",
     {{"adsList", "naziv,vrijednost,opis", "", FillAdditionalParameters}}},

    {"Kat\\ParametriPoduzeca",
     Right::kRead,
     "",
     "who the company is and how it works: parameters, additional features, the e-invoice account",
     {{"adsList", "naziv,vrijednost,opis,skupina", "", FillCompany}}},

    {"IntegrationsUsersAccounts",
     Right::kEnterDocuments,
     "",
     "the company's account with the intermediary of e-invoices, and that attempts to send are remembered",
     {{"adsLoginData", "EracunSendB2CBills:boolean,EracunB2CUrl,EracunUserName,EracunPokusaji:boolean", R"(
SELECT eracun_send_b2c_bills, eracun_b2c_url, eracun_user_name, TRUE
FROM integracije_racuni WHERE user_id = '')"}}},

    {"CheckIfRlistaExist",
     Right::kRead,
     "zapID:integer,od_datuma:date,do_datuma:date",
     "an employee's lists that reach into a period",
     {{"ads", "id:integer,od_datuma:date,do_datuma:date", R"(
SELECT id, od_datuma, do_datuma FROM rlista
WHERE zaposlenik_id = :zapID AND od_datuma <= :do_datuma AND do_datuma >= :od_datuma
ORDER BY od_datuma, id)"}}},

    // --- partners and payments ---

    {"PartnerZaDokument",
     Right::kRead,
     "sifra",
     "the partner whose code a document names",
     {{"adsPartner", "id:integer,sifra,naziv",
       "SELECT id, sifra, naziv FROM par WHERE fold(sifra) = :kljuc ORDER BY id LIMIT 1"}},
     PreparePartnerCode},

    {"KreditniLimitPartnera",
     Right::kRead,
     "par_id:integer",
     "a partner's credit limit, allowed days overdue, open balance in euros and number of overdue documents",
     {{"KreditniLimit",
       "limit:currency,DaniKasnjenja:integer,saldo:currency,PostojiKasnjenje:integer,"
       "fakturiranje_limit_duga:boolean,faktur_limit_duga_once:boolean",
       kCreditSql}},
     PrepareKreditniLimit},

    {"GetTecaj",
     Right::kRead,
     "datum:date,val_id?:integer,val_ozn?:text,valIdOrValOzn:text",
     "the exchange rate of a currency on a date: the last one on or before it",
     {{"adsTecaj", kTecajColumns, kTecajSql}, {"adsInfoTecaj", kTecajColumns, kTecajSql}},
     CheckTecaj},

    {"GetVirmanData",
     Right::kRead,
     "VirmanId:integer,DocId:integer,IznosRacuna:currency,ParId:integer",
     "what a payment slip (HUB-3) for a document says",
     {{"adsVirmanData",
       "platitelj_naziv,platitelj_adresa,platitelj_mjesto,primatelj_naziv,primatelj_adresa,"
       "primatelj_mjesto,primatelj_iban,model,poziv_na_br,iznos:currency,valuta,sifra_namjene,"
       "opis_placanja",
       R"(
SELECT p.naziv, TRIM(COALESCE(p.adresa, '') || ' ' || COALESCE(p.adresabroj, '')),
  TRIM(COALESCE(m.ptt, '') || ' ' || COALESCE(m.naziv, '')),
  :NazivPoduzeca, :AdresaPoduzeca, :MjestoPoduzeca, i.iban, s.model,
  CASE WHEN s.model = 'HR99' THEN '' ELSE COALESCE(NULLIF(TRIM(d.poziv_na_br), ''), :PozivNaBroj) END,
  CAST(:IznosRacuna AS NUMERIC(19,4)), COALESCE(v.oznaka, :ValutaDatuma), s.sifra_namjene, s.opis_placanja
FROM virman s
JOIN par p ON p.id = :ParId
JOIN dok d ON d.id = :DocId
LEFT JOIN mjesto m ON m.id = p.mjesto_id
LEFT JOIN poduzece_ibani i ON i.id = s.iban_id OR (s.iban_id IS NULL AND i.iban = :GlavniIban)
LEFT JOIN valuta v ON v.id = d.valuta_id
WHERE s.id = :VirmanId)"}},
     PrepareVirman},

    {"GetTipPozivaNaBrojPutnika",
     Right::kRead,
     "",
     "the payment reference that travellers get",
     {{"adsPozivNaBroj", "poziv_na_br", "", FillTravellerReference}}},

    // --- documents ---

    {"ProvjeraBrojaDokDobUlRac",
     Right::kRead,
     "id:integer,broj_dok_dob:text,datum_dok_dob:date,par_id:integer",
     "whether another document has the supplier's document number of that year",
     {{"Zaglavlje", "BrojDokDobKoristen:boolean", R"(
SELECT EXISTS (SELECT 1 FROM dok
  WHERE par_id = :par_id AND fold(broj_dok_dob) = :broj_kljuc AND id <> :id AND stornira_id IS NULL
    AND NOT EXISTS (SELECT 1 FROM dok s WHERE s.stornira_id = dok.id)
    AND datum_dok_dob BETWEEN :od AND :do))"}},
     PrepareBrojDokDob},

    {"GetVezniDocIdFromDB",
     Right::kRead,
     "parent_table:text,parent_column:text,parent_doc_id:integer,child_tip?:text",
     "the documents linked to a record, of one kind or of any",
     {{"ads", "child_doc_id:integer,child_tip,godina:integer,broj:integer,datum:date", R"(
SELECT v.child_doc_id, v.child_tip, d.godina, d.broj, d.datum
FROM dok_veze v JOIN dok d ON d.id = v.child_doc_id
WHERE v.parent_doc_id = :parent_doc_id
  AND v.parent_table = :parent_table AND v.parent_column = :parent_column
  AND (:tip = '' OR v.child_tip = :tip)
ORDER BY v.id)"}},
     PrepareChildTip},

    {"Dokument",
     Right::kRead,
     "id:integer",
     "a stored document with its lines and its tax by rate",
     {{"Zaglavlje", kDokumentColumns, R"(
SELECT d.id, d.vrsta, d.godina, d.broj, d.datum, d.datum_isporuke, d.datum_dospijeca, d.skl_id, s.naziv, d.par_id,
  p.naziv, d.valuta_id, v.oznaka, d.tecaj, d.user_id, d.broj_dok_dob, d.datum_dok_dob,
  d.vrsta_dok_dob, d.nacin_placanja, d.poziv_na_br, d.opis, d.ukupno, d.stornira_id,
  (SELECT id FROM dok WHERE stornira_id = d.id),
  COALESCE((SELECT o.vrsta FROM dok o WHERE o.id = d.stornira_id), d.vrsta)
FROM dok d
LEFT JOIN skladiste s ON s.id = d.skl_id
LEFT JOIN par p ON p.id = d.par_id
LEFT JOIN valuta v ON v.id = d.valuta_id
WHERE d.id = :id)"},
      {"Stavke", "*dok_stavke", R"(
SELECT * FROM dok_stavke WHERE dok_id = :id ORDER BY rb)"},
      {"Rekapitulacija", "*dok_porezi", R"(
SELECT * FROM dok_porezi WHERE dok_id = :id ORDER BY rb)"},
      {"DokDobavljaca", "*dok_dobavljac", R"(
SELECT * FROM dok_dobavljac WHERE dok_id = :id)"}},
     PrepareDocument},

    // --- e-invoices ---

    {"MojERacunB2C",
     Right::kEnterDocuments,
     "id:integer",
     "a stored document as the intermediary of e-invoices gets it, and the kind of its buyer",
     {{"adsData", "jsonData", "", FillInvoiceData}, {"adsPartner", "tipTvrtke", R"(
SELECT p.tip_tvrtke FROM dok d LEFT JOIN par p ON p.id = d.par_id WHERE d.id = :id)"}}},

    {"ERacunZaKupca",
     Right::kRead,
     "id:integer",
     "the e-invoice that a document has, as its buyer may have it",
     {{"adsData", "jsonData", "", FillInvoiceForBuyer}},
     PrepareDocument},

    {"ERacunVeza",
     Right::kRead,
     "id:integer",
     "the e-invoice that was made of a document",
     {{"adsERacun", "electronicId:integer,statusId:integer,odgovor", R"(
SELECT electronic_id, status_id, odgovor FROM eracun_veze WHERE dok_id = :id)"}}},

    {"ERacunPokusaj",
     Right::kRead,
     "id:integer",
     "the last attempt to send a document, where it is not known what became of it",
     {{"adsPokusaj", "pokusaj,sazetak,vrijeme:datetime,u_tijeku:boolean", R"(
SELECT pokusaj, sazetak, vrijeme, u_tijeku FROM eracun_pokusaji WHERE dok_id = :id)"}}},

    {"DnevnikUvoza",
     Right::kRead,
     "",
     "the stored imports, the last one first",
     {{"adsUvoz",
       "id:integer,vrijeme:datetime,korisnik,profil,datoteka,sazetak,tablica,redaka:integer,kljucevi,"
       "ponisteno:datetime,ponistio",
       R"(
SELECT id, vrijeme, korisnik, profil, datoteka, sazetak, tablica, redaka, kljucevi, ponisteno, ponistio
FROM uvoz ORDER BY id DESC)"}}},

};

}  // namespace

std::span<const NamedService> NamedServiceTable() {
  static const auto all = [] {
    std::vector<NamedService> table(std::begin(kServices), std::end(kServices));
    table.push_back(DocumentListService());
    table.push_back(WriteJournalService());
    for (const std::span<const NamedService> family :
         {PrintServices(), MailServices(), ArticlePictureServices(), StockServices(), ReportServices(),
          CodebookServices(), ClientServices()}) {
      table.insert(table.end(), family.begin(), family.end());
    }
    return table;
  }();
  return all;
}

}  // namespace mox
