#include "mox/integrations/consumer_e_invoice.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "mox/foundation/app.h"
#include "mox/foundation/files.h"
#include "mox/integrations/send_attempt_internal.h"
#include "mox/server/invoice_files.h"
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
constexpr std::string_view kMaybeSent = "mozda_poslan";  // a field of the sender's own answers
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
  const RecordSet* const records = found == nullptr || found->IsNull() ? nullptr : &found->AsDataSet();
  if (records == nullptr || records->IsEmpty()) {
    throw Error("the application server gave no invoice: the answer of \"MojERacunB2C\" has no \"" +
                std::string(item) + "\"");
  }
  return records->FieldByName(field).AsText();
}

Invoice ReadInvoice(std::int64_t doc_id) {
  const auto answer = App().Comunication().ReportDataService({{"id", doc_id}}, "MojERacunB2C");
  return {TextIn(answer.get(), "adsData", "jsonData"), TextIn(answer.get(), "adsPartner", "tipTvrtke")};
}

// Records a sent invoice and reports where there is none, or the server did not take the record. False in
// the latter case.
bool Record(const RecordSet& answer, std::int64_t doc_id) {
  RecordSet link("adsMojERacun");
  link.CleanClone(answer);
  RecordSet document = OneInteger("adsDocId", "docId", doc_id);
  bool sent = answer.FieldByName("electronicId").AsInteger() > 0;
  if (sent) sent = answer.FieldByName("statusId").AsInteger() != kDeliveryFailed;
  const bool recorded = sent && ExecuteTransaction("InsertERacunB2C", {&link, &document});
  if (!recorded) ShowError(kAnswer, kCallSupport);
  return recorded || !sent;
}

// Whether the server remembers which invoices may have been sent.
bool KeepsAttempts(const RecordSet& login) {
  const auto keeps = login.FindFieldIndex("EracunPokusaji");
  return keeps && login.AsBoolean(*keeps);
}

// An invoice on its way: its text, where it goes, and the files that carry it.
struct Sending {
  std::int64_t doc_id;
  std::string url;
  std::string json;
  InvoiceFiles files;
};

// Stops with the silent abort, after a message, when the request sender cannot be started.
void RunSender(const Sending& sending, SendAttempt& attempt) {
  ReplaceFile(sending.files.invoice, sending.json, FileAccess::kOwnerOnly);
  if (RunRequestSender(" -servicetype MojEracunB2C -url " + Quoted(sending.url) + " -link " +
                       Quoted(sending.files.invoice) + " -docId " + Quoted(std::to_string(sending.doc_id)) +
                       " -method POST")) {
    return;
  }
  attempt.End();
  ShowMessage("Error starting CallAPIRequestSender!");
  throw Abort();
}

// None where the sender left no answer.
std::optional<RecordSet> ReadAnswer(const Sending& sending) {
  if (std::error_code error; !std::filesystem::exists(sending.files.answer, error)) return std::nullopt;
  RecordSet answer;
  answer.LoadFromFile(sending.files.answer);
  return answer;
}

// Whether the invoice is to be posted although an earlier attempt may have delivered it.
bool IsToBePostedAgain(const RecordSet& answer) {
  if (!answer.FindFieldIndex(kMaybeSent)) return false;
  return ShowVelorDialog(TVCustomDialogType::kConfirmation, "Upozorenje!", kSending,
                         "Račun je možda već poslan: odgovor na raniji pokušaj nije stigao. Provjerite kod "
                         "posrednika.\r\nPoslati ponovo?") == kDialogYes;
}

// Only an answer that was taken is removed: one that could not be recorded, or belongs to another invoice,
// stays.
void TakeAnswer(const RecordSet& answer, const Sending& sending, SendAttempt& attempt) {
  if (IsAnswerToAnother(answer.Name(), sending.url, sending.json)) {
    attempt.End(true);
    ShowError(kAnswer, "Odgovor u datoteci " + sending.files.answer + " ne pripada ovom računu.");
    return;
  }
  if (!IsAcceptedAnswer(answer)) attempt.End();
  if (const auto status_code = answer.FindField("statusCode")) {
    if (!answer.FindField(kMaybeSent)) {
      ShowError(kAnswer, status_code->AsText() + " ; " + answer.FieldByName("message").AsText() + "\r\n");
    }
  } else if (!Record(answer, sending.doc_id)) {
    attempt.End(true);
    return;
  }
  RemoveFile(sending.files.answer);
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
  const std::optional<RecordSet> login = eRacunGetLoginData();
  if (!login || !login->FieldByName("EracunSendB2CBills").AsBoolean()) {
    Refuse("Za slanje B2C molimo nazovite korisničku podršku!");
  }
  // Until the answer is recorded no other program finds the document without an e-invoice.
  const FileLock lock = LockInvoiceFiles();
  const bool keeps_attempts = KeepsAttempts(*login);
  if (keeps_attempts) CarryOverAttempts();
  if (eRacunIsDocumentSent(doc_id)) return;

  const HourglassCursor cursor;
  Invoice invoice = ReadInvoice(doc_id);
  if (invoice.buyer_kind != kPrivatePerson) Refuse("Kupac kojem šaljete eRačun nije fizička osoba!");
  const Sending sending = {doc_id, login->FieldByName("EracunB2CUrl").AsText(), std::move(invoice.json),
                           InvoiceFilesOf(doc_id)};
  SendAttempt attempt(keeps_attempts, doc_id, sending.files, InvoiceAnswerName(sending.url, sending.json));
  attempt.Begin();
  RunSender(sending, attempt);
  std::optional<RecordSet> answer = ReadAnswer(sending);
  if (answer && IsToBePostedAgain(*answer)) {
    attempt.BeginAgain();
    RunSender(sending, attempt);
    answer = ReadAnswer(sending);
  }
  if (answer) {
    TakeAnswer(*answer, sending, attempt);
  } else {
    attempt.End();
  }
  RemoveFile(sending.files.invoice);
}

}  // namespace mox
