#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

#include "mox/foundation/app.h"
#include "mox/foundation/digest.h"
#include "mox/foundation/files.h"
#include "mox/integrations/consumer_e_invoice.h"
#include "mox/integrations/send_attempt_internal.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

// One that no other attempt has.
std::string NewName() {
  std::random_device random;
  const std::string drawn = std::to_string(random()) + ' ' + std::to_string(random());
  return "pokusaj " + DigestText(drawn + App().Platform().StateFolder());
}

// One record of texts, and the document.
RecordSet AttemptRecord(std::int64_t doc_id,
                        std::initializer_list<std::pair<std::string_view, std::string>> texts) {
  RecordSet records("adsPokusaj");
  records.DefineField("docId", FieldKind::kInteger);
  std::vector<Value> values = {doc_id};
  for (const auto& [name, text] : texts) {
    records.DefineField(name, FieldKind::kText);
    values.emplace_back(text);
  }
  records.Open();
  records.AppendRecord(values);
  return records;
}

}  // namespace

// What the database remembers of a document's last attempt.
struct SendAttempt::Mark {
  std::string name;
  std::string answer_name;
  bool under_way;
};

SendAttempt::SendAttempt(bool kept, std::int64_t doc_id, InvoiceFiles files, std::string answer_name)
    : kept_(kept), doc_id_(doc_id), files_(std::move(files)), answer_name_(std::move(answer_name)) {}

std::optional<SendAttempt::Mark> SendAttempt::ReadMark() const {
  auto found = CreateDBDataSet("ERacunPokusaj", "adsPokusaj", {{"id", doc_id_}});
  if (!found || found->IsEmpty()) return std::nullopt;
  return Mark{found->FieldByName("pokusaj").AsText(), found->FieldByName("sazetak").AsText(),
              found->FieldByName("u_tijeku").AsBoolean()};
}

// False where the last attempt is another one than that which was seen.
bool SendAttempt::Store() {
  RecordSet record =
      AttemptRecord(doc_id_, {{"pokusaj", name_}, {"prethodni", before_}, {"sazetak", answer_name_}});
  const bool stored = ExecuteTransaction("ERacunPokusajPocetak", {&record});
  if (stored) before_ = name_;
  return stored;
}

// Whether the answer of that name is at hand and says that there is no e-invoice.
bool SendAttempt::IsNotAccepted(const std::string& answer_name) const {
  if (std::error_code error; !std::filesystem::exists(files_.answer, error)) return false;
  try {
    RecordSet answer;
    answer.LoadFromFile(files_.answer);
    return answer.Name() == answer_name && !IsAcceptedAnswer(answer);
  } catch (const Error&) {
    return false;
  }
}

// Whether no earlier attempt can have delivered the invoice.
bool SendAttempt::IsTheFirst(const std::optional<Mark>& mark,
                             const std::optional<InvoiceAttempt>& left) const {
  if (!mark) return !left || left->step == AttemptStep::kPost || left->step == AttemptStep::kAskOnly;
  if (!left) return IsNotAccepted(mark->answer_name);
  return left->name == mark->name && left->step == AttemptStep::kPost;
}

// The file is written first: what is not in the database yet was not posted either.
void SendAttempt::Begin() {
  if (!kept_) return;
  const std::optional<Mark> mark = ReadMark();
  const std::optional<InvoiceAttempt> left = ReadAttempt(files_.attempt);
  const bool own = mark && left && left->name == mark->name;
  const bool first = IsTheFirst(mark, left);
  before_ = mark ? mark->name : std::string();
  if (first || own || !mark || !mark->under_way) {
    name_ = own ? left->name : NewName();
    WriteAttempt(files_.attempt, {name_, first ? AttemptStep::kPost : AttemptStep::kAsk});
    if (Store()) return;
    const std::optional<Mark> other = ReadMark();
    before_ = other ? other->name : std::string();
  }
  name_.clear();
  WriteAttempt(files_.attempt, {"", AttemptStep::kAskOnly});
}

void SendAttempt::BeginAgain() {
  if (!kept_) {
    RemoveFile(files_.attempt);
    return;
  }
  if (name_.empty()) name_ = NewName();
  WriteAttempt(files_.attempt, {name_, AttemptStep::kPostAgain});
  if (Store()) return;
  RemoveFile(files_.attempt);
  throw Error("document " + std::to_string(doc_id_) + ": another program has begun to send it; try again");
}

void SendAttempt::CarryOver() {
  const std::optional<InvoiceAttempt> left = ReadAttempt(files_.attempt);
  if (!left || ReadMark()) return;
  if (eRacunIsDocumentSent(doc_id_)) {
    RemoveFile(files_.attempt);
  } else if (!IsTheFirst(std::nullopt, left)) {
    name_ = NewName();
    WriteAttempt(files_.attempt, {name_, AttemptStep::kAsk});
    if (Store()) End();
  }
}

void SendAttempt::End(bool in_doubt) {
  if (!kept_ || App().Platform().IsTerminated()) return;
  const std::optional<InvoiceAttempt> left = ReadAttempt(files_.attempt);
  if (!name_.empty()) {
    const bool known = !left || left->step == AttemptStep::kPost;
    RecordSet record =
        AttemptRecord(doc_id_, {{"pokusaj", name_}, {"poznat", known && !in_doubt ? "true" : "false"}});
    ExecuteTransaction("ERacunPokusajKraj", {&record});
  }
  if (left && (left->step == AttemptStep::kPost || left->step == AttemptStep::kAskOnly)) {
    RemoveFile(files_.attempt);
  }
}

void CarryOverAttempts() {
  for (const std::int64_t doc_id : DocumentsWithAttempts()) {
    const InvoiceFiles files = InvoiceFilesOf(doc_id);
    SendAttempt(true, doc_id, files, {}).CarryOver();
  }
}

}  // namespace mox
