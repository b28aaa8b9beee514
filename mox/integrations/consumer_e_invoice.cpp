#include "mox/integrations/consumer_e_invoice.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "mox/foundation/app.h"
#include "mox/foundation/files.h"
#include "mox/server/param_list.h"
#include "mox/server/read_services.h"
#include "mox/server/request_sender.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

constexpr std::string_view kSending = "Slanje eRačuna B2C";
constexpr std::string_view kAnswer = "B2C";
constexpr std::string_view kCallSupport = "Nazovite korisničku podršku!";
constexpr std::string_view kPrivatePerson = "Fizička osoba";
constexpr std::int64_t kDeliveryFailed = 50;

void ShowError(std::string_view heading, std::string_view message) {
  ShowVelorDialog(TVCustomDialogType::kError, "Greška", heading, message);
}

[[noreturn]] void Refuse(std::string_view message) {
  ShowError(kSending, message);
  throw Abort();
}

std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

// One record with one integer.
RecordSet OneInteger(std::string name, std::string_view field, std::int64_t value) {
  RecordSet records(std::move(name));
  records.DefineField(field, FieldKind::kInteger);
  records.Open();
  records.AppendRecord({value});
  return records;
}

struct Invoice {
  std::string json;
  std::string buyer_kind;
};

// Of the one record in an item of the answer; raises Error where the server gave none.
std::string TextIn(TAstaParamList* answer, std::string_view item, std::string_view field) {
  TAstaParam* const found = answer == nullptr ? nullptr : answer->FindParam(item);
  if (found == nullptr || found->IsNull() || found->AsDataSet().IsEmpty()) {
    throw Error("the application server gave no invoice: the answer of \"MojERacunB2C\" has no \"" +
                std::string(item) + "\"");
  }
  return found->AsDataSet().FieldByName(field).AsText();
}

Invoice ReadInvoice(std::int64_t doc_id) {
  const auto answer = App().Comunication().ReportDataService({{"id", doc_id}}, "MojERacunB2C");
  return {TextIn(answer.get(), "adsData", "jsonData"), TextIn(answer.get(), "adsPartner", "tipTvrtke")};
}

// Shows a refusal, records a sent invoice and reports when the server did not take the record. False in that
// case only.
bool TakeAnswer(RecordSet& answer, std::int64_t doc_id) {
  if (const auto status_code = answer.FindField("statusCode")) {
    ShowError(kAnswer, status_code->AsText() + " ; " + answer.FieldByName("message").AsText() + "\r\n");
    return true;
  }
  RecordSet link("adsMojERacun");
  link.CleanClone(answer);
  RecordSet document = OneInteger("adsDocId", "docId", doc_id);
  bool sent = link.FieldByName("electronicId").AsInteger() > 0;
  if (sent) sent = link.FieldByName("statusId").AsInteger() != kDeliveryFailed;
  const bool recorded = sent && ExecuteTransaction("InsertERacunB2C", {&link, &document});
  if (!recorded) ShowError(kAnswer, kCallSupport);
  return recorded || !sent;
}

}  // namespace

std::optional<RecordSet> eRacunGetLoginData() {
  return CreateDBDataSet("IntegrationsUsersAccounts", "adsLoginData", {});
}

bool eRacunIsDocumentSent(std::int64_t doc_id) {
  RecordSet document = OneInteger("ads", "VelorFormsID", doc_id);
  return !ExecuteTransaction("ERacunVezaSaMojERacunProvjera", {&document});
}

void eRacunB2CSendBill(std::int64_t doc_id) {
  std::optional<RecordSet> login = eRacunGetLoginData();
  if (!login || !login->FieldByName("EracunSendB2CBills").AsBoolean()) {
    Refuse("Za slanje B2C molimo nazovite korisničku podršku!");
  }
  if (eRacunIsDocumentSent(doc_id)) return;

  const HourglassCursor cursor;
  const Invoice invoice = ReadInvoice(doc_id);
  if (invoice.buyer_kind != kPrivatePerson) Refuse("Kupac kojem šaljete eRačun nije fizička osoba!");
  const std::string document = std::to_string(doc_id);
  const std::string invoice_file = FileInApplicationFolder("adsB2C_" + document + ".txt");
  const std::string answer_file = FileInApplicationFolder("adsB2C_" + document + ".xml");
  ReplaceFile(invoice_file, invoice.json);

  if (!RunRequestSender(" -servicetype MojEracunB2C -url " +
                        Quoted(login->FieldByName("EracunB2CUrl").AsText()) + " -link " +
                        Quoted(invoice_file) + " -docId " + Quoted(document) + " -method POST")) {
    ShowMessage("Error starting CallAPIRequestSender!");
    throw Abort();
  }

  // Only an answer that was read is removed: when the application is closing, the sender may leave one later.
  if (std::error_code error; std::filesystem::exists(answer_file, error)) {
    RecordSet answer;
    answer.LoadFromFile(answer_file);
    if (TakeAnswer(answer, doc_id)) RemoveFile(answer_file);
  }
  RemoveFile(invoice_file);
}

}  // namespace mox
