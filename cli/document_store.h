#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"
#include "mox/documents/document.h"

namespace mox {

class CompanyAccess;

/// Columns of the lines that the database does not keep, and those of which it keeps four decimals only.
struct LostInStore {
  std::vector<std::string> columns;
  std::vector<std::string> decimals;
};

/// The words of a header, in which `partner=CODE` and `skladiste=CODE` become the keys that documents are
/// stored with, par_id and skl_id. Raises Error for a code that there is not.
std::vector<std::string> WithKeys(std::span<const std::string> header_words);

/// Stores a calculated document in one transaction: its header with the words NAME=VALUE (the date is today
/// where none is given), its lines and its recapitulation.
/// Answers what the server gave it, one record: id, vrsta, godina, broj, datum, datum_dospijeca of what is
/// paid later. Adds to `lost` what of the lines it has not kept. Where the partner's credit does not allow
/// it, `confirm_credit` is asked, as often as the partner's balance changes meanwhile. Raises UsageError for
/// a faulty word, Error for a document without lines, and Error that says why the server refused.
RecordSet StoreDocument(Document& document, CompanyAccess& server, std::span<const std::string> header,
                        LostInStore& lost, const std::function<bool()>& confirm_credit);

/// Adds what a table of these columns does not keep of the records, each name once.
void CollectLost(const RecordSet& lines, const Columns& columns, LostInStore& lost);
/// Says for people what was lost, if anything; `whose` is "the lines".
void WarnOfLost(const LostInStore& lost, std::string_view whose, std::ostream& err);

/// Cancels the stored document of that id, its storno's header having the words NAME=VALUE. Answers and
/// raises as StoreDocument.
RecordSet CancelDocument(std::int64_t id, CompanyAccess& server, std::span<const std::string> header);

/// "gotovinski-racun 1/2024 (id 1)", of the record that StoreDocument answers.
std::string StoredNumber(const RecordSet& stored);
/// The same for people, with the due date of what is paid later.
std::string StoredLine(const RecordSet& stored);

}  // namespace mox
