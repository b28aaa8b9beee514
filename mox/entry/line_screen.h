#pragma once

#include <string_view>
#include <vector>

#include "mox/documents/document_kinds.h"

namespace mox {

// How the lines of documents look on a screen.

/// What people read above a field of a document or its lines, "Količina"; the name itself where it has none.
std::string_view CaptionOf(std::string_view field);

/// Gives every field its caption as its label, and its number format: quantities and prices as the settings
/// have them, amounts with two decimals, percents as they are. Name and unit price lines need, so `naziv`
/// becomes required.
void PrepareLinesForScreen(RecordSet& lines);

/// The fields of the lines in the order in which people read them: what the line is, its inputs in the order
/// in which they are multiplied, what the line comes to, then what else is calculated.
std::vector<std::string_view> LineFieldsForScreen(const LineSchema& schema);

/// Makes the open record of the services a line of a service of the codebook: what `service`, a record of the
/// answer of "Kat\usluge", says of it. Nothing is posted.
void BecomeLineOfService(RecordSet& services, const RecordRow& service);

}  // namespace mox
