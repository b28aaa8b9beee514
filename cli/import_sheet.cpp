#include "cli/import_sheet.h"

#include <memory>
#include <ostream>

#include "cli/host.h"
#include "cli/options.h"
#include "mox/foundation/app.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "sheets/grid_sheet.h"
#include "sheets/open_sheet.h"

namespace mox {
namespace {

const OutputKind kColumnMap = {"a map of headings",
                               [](std::string_view text) { return text.starts_with("heading,column"); }};

TextEncoding EncodingOf(const SheetArguments& arguments) {
  if (arguments.encoding.empty()) return TextEncoding::kRecognised;
  if (const auto encoding = EncodingNamed(arguments.encoding)) return *encoding;
  throw UsageError("--encoding: \"" + arguments.encoding +
                   "\" is none of UTF-8, UTF-16, Windows-1250 and ISO-8859-2");
}

HeadingMode HeadingOf(const SheetArguments& arguments) {
  const bool has_map = !arguments.map.empty() || !arguments.save_map.empty();
  if (arguments.no_heading && (arguments.heading || has_map)) {
    throw UsageError("--no-heading contradicts --heading, --map and --save-map");
  }
  if (arguments.no_heading) return HeadingMode::kAbsent;
  return arguments.heading || has_map ? HeadingMode::kPresent : HeadingMode::kRecognised;
}

void SaveMap(const SheetText& sheet, const SheetArguments& arguments, Session& session) {
  session.files.Write(arguments.save_map, WriteColumnMap(sheet.map), kColumnMap);
  if (!sheet.has_unknown_heading) return;
  throw Error("nothing was stored, for some headings are unknown: write their columns into " +
              arguments.save_map + ", leave those empty that are not wanted, and import with --map " +
              arguments.save_map);
}

}  // namespace

void DeclareSheetArguments(Options& options, SheetArguments& arguments) {
  options.Flag("--heading", arguments.heading, "the first row is a heading, which is recognised otherwise");
  options.Flag("--no-heading", arguments.no_heading,
               "the first row is none; the columns stand in their order");
  options.Value("--map", arguments.map, "FILE",
                "which column each heading of the sheet is, as --save-map wrote it");
  options.Value("--save-map", arguments.save_map, "FILE",
                "write which column each heading is taken for; where some are\n"
                "unknown, to be filled in for --map");
  options.Value("--sheet", arguments.sheet, "NAME", "of a spreadsheet, where it is not the first one");
  options.Value("--encoding", arguments.encoding, "NAME",
                "of a text file, where it is not recognised: UTF-8, UTF-16, Windows-1250,\n"
                "ISO-8859-2");
}

SheetText ReadImportSheet(const FileText& file, const SheetArguments& arguments,
                          const std::vector<ImportFieldDef>& fields, Session& session) {
  const std::vector<SheetColumn> columns = SheetColumnsOf(fields);
  LayoutOptions layout{HeadingOf(arguments), {}, App().Locale().Settings()};
  const SheetChoice choice{arguments.sheet, columns.size(), EncodingOf(arguments)};
  if (!arguments.map.empty()) {
    if (IsNamedPipe(arguments.map)) throw Error(arguments.map + ": is a pipe and not a file");
    layout.map = ReadColumnMap({arguments.map, ReadWholeFile(arguments.map)}, columns);
    session.files.Keep(arguments.map, "the map of headings");
  }
  if (!arguments.save_map.empty()) session.files.Require(arguments.save_map, kColumnMap);
  const std::unique_ptr<SheetRows> rows = OpenSheet({file.label, file.bytes}, choice);
  SheetText sheet;
  try {
    sheet = LayOutSheet(*rows, columns, layout);
  } catch (const UnclearHeading& error) {
    throw Error(std::string(error.what()) + "; --heading or --no-heading says it");
  }
  for (const std::string& remark : sheet.remarks) session.err << "mox: " << OnOneLine(remark) << std::endl;
  if (!arguments.save_map.empty()) SaveMap(sheet, arguments, session);
  return sheet;
}

}  // namespace mox
