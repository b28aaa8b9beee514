#include "sheets/xlsx_book.h"

#include <algorithm>
#include <map>
#include <optional>
#include <pugixml.hpp>
#include <string_view>

#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr std::string_view kRootRelationships = "_rels/.rels";

// Writers choose their own prefixes, and there are two sets of namespaces; the local names are the same.
std::string_view LocalName(std::string_view name) {
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node Child(const pugi::xml_node& node, std::string_view local_name) {
  for (const pugi::xml_node& child : node) {
    if (LocalName(child.name()) == local_name) return child;
  }
  return {};
}

std::string Attribute(const pugi::xml_node& node, std::string_view local_name) {
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    if (LocalName(attribute.name()) == local_name) return attribute.value();
  }
  return {};
}

bool IsTrue(const std::string& flag) { return flag == "1" || flag == "true"; }

pugi::xml_document Parse(const ZipPackage& package, const std::string& part) {
  std::string bytes = package.Read(part);
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_buffer(bytes.data(), bytes.size());
  if (!result) package.Damaged(part, result.description());
  return document;
}

struct Relationship {
  std::string type;  // the last word of its address, "worksheet"
  std::string part;
};

// The part that a target names, as seen from the folder of the part that has the relationship.
std::string Resolve(const std::string& folder, std::string_view target) {
  std::string path = target.starts_with('/') ? std::string(target) : folder + "/" + std::string(target);
  std::vector<std::string> names;
  for (std::size_t at = 0; at <= path.size();) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    const std::string name = path.substr(at, end - at);
    if (name == ".." && !names.empty()) names.pop_back();
    if (!name.empty() && name != "." && name != "..") names.push_back(name);
    at = end + 1;
  }
  path.clear();
  for (const std::string& name : names) path += (path.empty() ? "" : "/") + name;
  return path;
}

std::string FolderOf(const std::string& part) {
  const std::size_t slash = part.rfind('/');
  return slash == std::string::npos ? "" : part.substr(0, slash);
}

using Relationships = std::map<std::string, Relationship>;

// Of a part, by their ids.
Relationships ReadRelationships(const ZipPackage& package, const std::string& relationships,
                                const std::string& folder) {
  Relationships found;
  const pugi::xml_document document = Parse(package, relationships);
  for (const pugi::xml_node& node : document.document_element()) {
    const std::string type = Attribute(node, "Type");
    if (Attribute(node, "TargetMode") == "External") continue;
    found[Attribute(node, "Id")] = {type.substr(type.rfind('/') + 1),
                                    Resolve(folder, Attribute(node, "Target"))};
  }
  return found;
}

std::string PartOf(const Relationships& relationships, std::string_view type) {
  for (const auto& [id, relationship] : relationships) {
    if (relationship.type == type) return relationship.part;
  }
  return {};
}

std::string WorkbookPart(const ZipPackage& package) {
  const std::string part =
      package.Has(std::string(kRootRelationships))
          ? PartOf(ReadRelationships(package, std::string(kRootRelationships), ""), "officeDocument")
          : "";
  return part.empty() ? "xl/workbook.xml" : part;
}

std::vector<NumberFormat> ReadFormats(const ZipPackage& package, const std::string& part) {
  std::map<int, NumberFormat> by_id;
  std::vector<NumberFormat> formats;
  const pugi::xml_document document = Parse(package, part);
  const pugi::xml_node root = document.document_element();
  const auto id_of = [](const pugi::xml_node& node) { return node.attribute("numFmtId").as_int(0); };
  for (const pugi::xml_node& node : Child(root, "numFmts")) {
    by_id[id_of(node)] = ReadNumberFormat(node.attribute("formatCode").value());
  }
  for (const pugi::xml_node& node : Child(root, "cellXfs")) {
    const auto own = by_id.find(id_of(node));
    formats.push_back(own != by_id.end() ? own->second : BuiltInNumberFormat(id_of(node)));
  }
  return formats;
}

}  // namespace

bool IsXlsx(const ZipPackage& package) {
  return package.Has("[Content_Types].xml") || package.Has("xl/workbook.xml");
}

XlsxBook ReadXlsxBook(const ZipPackage& package) {
  const std::string workbook = WorkbookPart(package);
  if (workbook.ends_with(".bin")) {
    throw Error(package.Label() + ": the binary form .xlsb is not read; save it as .xlsx or .ods");
  }
  if (!package.Has(workbook)) {
    throw Error(package.Label() +
                ": the file is no workbook of a spreadsheet; save the sheet as .xlsx or .ods");
  }
  const std::string folder = FolderOf(workbook);
  const std::string relationships_part =
      folder + (folder.empty() ? "" : "/") + "_rels/" + workbook.substr(workbook.rfind('/') + 1) + ".rels";
  const Relationships relationships = ReadRelationships(package, relationships_part, folder);

  XlsxBook book;
  const pugi::xml_document document = Parse(package, workbook);
  const pugi::xml_node root = document.document_element();
  if (IsTrue(Attribute(Child(root, "workbookPr"), "date1904"))) book.epoch = DateEpoch::k1904;
  for (const pugi::xml_node& node : Child(root, "sheets")) {
    const auto relationship = relationships.find(Attribute(node, "id"));
    if (relationship == relationships.end() || relationship->second.type != "worksheet") continue;
    const std::string state = Attribute(node, "state");
    book.sheets.push_back(
        {Attribute(node, "name"), relationship->second.part, !state.empty() && state != "visible"});
  }
  book.shared_strings = PartOf(relationships, "sharedStrings");
  const std::string styles = PartOf(relationships, "styles");
  if (!styles.empty() && package.Has(styles)) book.formats = ReadFormats(package, styles);
  return book;
}

}  // namespace mox
