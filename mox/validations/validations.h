#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "mox/foundation/record_set.h"

namespace mox {

// What editing screens check of a field or of a whole record before it is posted. A check that fails tells
// the user why, in one dialog unless stated, and answers false. No check changes a record, the state of its
// set or the position, and none raises but CheckObrSast, with the silent abort: a value that cannot be read
// as what is compared fails, and so does one that a closed set does not have, where one is required; nothing
// is there twice in a closed set, or in one without the field. Values are read as floating-point numbers
// where they are compared as numbers, null being 0 and a date its day count.

// --- stock ---

/// Stock may become negative: the checks of quantities against it pass at once. Set by SetConstraintsOnLager
/// for its own thread, false before.
extern constinit thread_local bool FWorkWithLagerNegative;

/// Reads the setting: FWorkWithLagerNegative becomes true where LAGERNEGATIVE of section GENERAL is 1.
void SetConstraintsOnLager();

/// A quantity that goes out is negative; stock must cover it.
bool CheckLagerNegative(const ConstField& quantity, const ConstField& stock);
bool CheckLagerNegative(double quantity, double stock);
/// The quantity, rounded to a whole number, ties to even, is at most the stock.
bool CheckLager(const ConstField& quantity, const ConstField& stock);
/// No field from `index` on, counted from 0, exceeds the stock. Tells of the first that does.
bool CheckLagerValue(std::span<const ConstField> fields, const ConstField& stock, std::size_t index);
/// Complains at a stock of 0 or less, whatever its message says. Holds also where stock may become negative.
bool CheckLagerZero(const ConstField& stock);

// --- numbers ---

/// No field is 0. All that are stand in the dialog, a line each.
bool CheckIfZero(std::span<const ConstField> fields);
/// Every field is greater than 0, or at least 0 where allow_zero is set. Where stock may become negative and
/// allow_zero is not set, it only must not be 0. All fields that fail stand in the dialog, a line each; its
/// text is the same with and without allow_zero.
bool CheckIfGreaterThenZero(std::span<const ConstField> fields, bool allow_zero);

// --- dates ---

/// A moment not later than now, local time. After the dialog a true company parameter "override_constraints"
/// lets it pass all the same; without one, or with one that is no truth value, it does not.
bool CheckDateForward(const ConstField& date);
/// In the selected working year.
bool CheckDate(const ConstField& date);
/// In the selected working year or the one after it. An empty text stands for the usual message.
bool CheckDateActiveAndNextYear(const ConstField& date, std::string_view text);
/// The related moment is earlier than that of `date`, later or equal, as far as each is allowed.
bool CheckDateOnRelatedDate(const ConstField& date, const ConstField& related, std::string_view message,
                            bool allow_earlier, bool allow_later, bool allow_equal);
/// The same for numbers, both rounded to six decimals: the related one is less, greater or equal.
bool CheckFieldOnRelatedField(const ConstField& field, const ConstField& related, std::string_view message,
                              bool allow_earlier, bool allow_later, bool allow_equal);
/// The dates of a goods receipt. Asks whether to go on where the document and the supplier's document differ
/// in month, where they differ in year, and where the former is earlier; the first no ends the check. Refuses
/// a due date before the supplier's document or more than 360 days after it, the longest term of payment that
/// businesses may agree on.
bool CheckDatesOnPrimka(const ConstField& document_date, const ConstField& supplier_document_date,
                        const ConstField& supplier_due_date);

// --- records ---

/// No required field of the current record is empty. Those that are stand in the dialog, the last field
/// first.
bool CheckRequiredFields(const RecordSet& records);
/// The fields, columns of the set, are greater than 0 in all visible records, one that is being edited
/// counting as it would be posted. Each that is not stands in the dialog once.
bool CheckRequiredFieldsFull(const RecordSet& records, std::span<const ConstField> fields);
/// No other record of the field's set, filtered out or not, holds its value, which may still be edited.
bool CheckFieldUnique(const ConstField& field);
/// No visible record of another set holds the value in its field of that name, one that is being edited
/// counting as it would be posted. In the field's own set its own record does not count.
bool CheckFieldUnique(const ConstField& field, const RecordSet& records);

// --- texts ---

// What is wrong with a text, in the words of the dialog; empty where nothing is. The checks below show it.

std::string EmailFault(std::string_view text);
std::string TelefonFaxFault(std::string_view text);
std::string FiskalniNazivFault(std::string_view text, std::string_view suffix = {});

/// Empty, or at least 6 characters with "@" and "." among them. Otherwise `message` becomes the text shown.
bool CheckEmail(std::string_view text, std::string& message);
/// Empty, or "+" and 8 to 13 digits, the first not 0. A minus sign may stand for a digit at their beginning.
/// Otherwise `message` becomes the text shown.
bool CheckTelefonFax(std::string_view text, std::string& message);
/// The name of business premises or of a till as fiscal receipts allow it: certain characters, no two blanks
/// in a row, the first blank not in place 20. The suffix follows the list of characters in its message.
bool CheckFiskalniNaziv(std::string_view text, std::string_view suffix);
/// A person: "ime" and "prezime" of at least 2 characters, then "telefon", "fax" and "email". Raises Abort
/// after the dialog of the first that fails.
void CheckObrSast(const RecordSet& person);

}  // namespace mox
