#include "paper/paper_template.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <sstream>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "paper/text_painter.h"

namespace mox {
namespace {

constexpr std::array<std::string_view, 7> kPlaceholders = {"naslov", "broj",  "datum",   "dospijece",
                                                           "iznos",  "kupac", "poduzece"};
constexpr std::string_view kServices = ".usluge";
constexpr std::string_view kWithoutTax = ".bez_poreza";

bool IsKind(std::string_view name) { return FindDocumentKind(name) != nullptr; }

// --- what a value must be: empty where it is ---

std::string AnyFault(std::string_view /*value*/) { return {}; }

std::string TextFault(std::string_view value) {
  for (std::size_t at = value.find('{'); at != std::string_view::npos; at = value.find('{', at + 1)) {
    const std::size_t end = value.find('}', at);
    const std::string_view name = value.substr(at + 1, end == std::string_view::npos ? end : end - at - 1);
    if (end == std::string_view::npos) return "\"{\" has no \"}\"";
    if (std::find(kPlaceholders.begin(), kPlaceholders.end(), name) == kPlaceholders.end()) {
      return "there is no placeholder {" + VisibleText(name) + "}";
    }
  }
  return {};
}

std::string YesFault(std::string_view value) {
  return value == "da" || value == "ne" ? std::string() : InQuotes(value) + " is neither da nor ne";
}

template <int kLeast, int kMost>
std::string NumberFault(std::string_view value) {
  try {
    const double number = ParseNumber(value);
    if (number >= kLeast && number <= kMost) return {};
  } catch (const Error&) {
    // said below
  }
  return InQuotes(value) + " is not a number from " + std::to_string(kLeast) + " to " + std::to_string(kMost);
}

std::string ColumnsFault(std::string_view value) {
  std::vector<std::string_view> names = SplitNames(value);
  if (names.empty()) return "there are no columns";
  for (const std::string_view name : names) {
    if (FindPageColumn(name) == nullptr) return "there is no column " + InQuotes(name);
  }
  std::sort(names.begin(), names.end());
  const auto twice = std::adjacent_find(names.begin(), names.end());
  return twice == names.end() ? std::string() : "the column " + InQuotes(*twice) + " stands twice";
}

std::string FontFault(std::string_view value) {
  if (value.empty()) return "the name of the font is empty";
  return IsInstalledFont(value) ? std::string() : "the font " + InQuotes(value) + " is not installed";
}

std::string PayeeFault(std::string_view value) {
  constexpr std::size_t kMost = 25;
  return CountCharacters(value) <= kMost ? std::string() : InQuotes(value) + " is longer than 25 characters";
}

struct NameRule {
  std::string_view name;  // "*" is any name of which `is_name` holds
  std::string (*fault)(std::string_view value);
  bool (*is_name)(std::string_view name) = nullptr;
};

// A kind, or one with that ending.
bool IsKindOr(std::string_view ending, std::string_view name) {
  return IsKind(name.ends_with(ending) ? name.substr(0, name.size() - ending.size()) : name);
}
bool IsColumnsName(std::string_view name) { return IsKindOr(kServices, name); }
bool IsNoteName(std::string_view name) { return IsKindOr(kWithoutTax, name); }
bool IsColumn(std::string_view name) { return FindPageColumn(name) != nullptr; }

struct SectionRule {
  std::string_view name;
  std::vector<NameRule> names;
};

const std::vector<SectionRule>& Sections() {
  static const std::vector<SectionRule> sections = {
      {"stranica",
       {{"font", FontFault},
        {"velicina", NumberFault<5, 14>},
        {"logo", AnyFault},
        {"logo_visina", NumberFault<5, 60>},
        {"slika_visina", NumberFault<5, 40>},
        {"slovima", YesFault}}},
      {"naslovi", {{"*", AnyFault, IsKind}}},
      {"stupci", {{"roba", ColumnsFault}, {"usluge", ColumnsFault}, {"*", ColumnsFault, IsColumnsName}}},
      {"nazivi", {{"*", AnyFault, IsColumn}}},
      {"napomene",
       {{"svi", TextFault}, {"racuni", TextFault}, {"bez_poreza", TextFault}, {"*", TextFault, IsNoteName}}},
      {"podnozje", {{"tekst", TextFault}}},
      {"placanje", {{"kod", YesFault}, {"virman", AnyFault}, {"primatelj", PayeeFault}}},
      {"isjecak", {{"font", FontFault}, {"rez", YesFault}, {"ladica", YesFault}}},
      {"posta", {{"predmet", TextFault}, {"tekst", TextFault}}},
  };
  return sections;
}

const SectionRule* FindSection(std::string_view name) {
  const auto found = std::find_if(Sections().begin(), Sections().end(),
                                  [name](const SectionRule& rule) { return rule.name == name; });
  return found == Sections().end() ? nullptr : &*found;
}

const NameRule* FindName(const SectionRule& section, std::string_view name) {
  for (const NameRule& rule : section.names) {
    if (rule.name == name || (rule.is_name != nullptr && rule.is_name(name))) return &rule;
  }
  return nullptr;
}

std::string WithLineBreaks(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const bool is_break = value.substr(i, 2) == "\\n";
    text += is_break ? '\n' : value[i];
    if (is_break) ++i;
  }
  return text;
}

// No larger than any sheet shows it; whatever else it is made of, it is drawn from that.
std::shared_ptr<const Picture> LogoOf(std::string_view value, const std::string& file) {
  constexpr int kMost = 2000;
  if (value.empty()) return nullptr;
  const std::string path = (std::filesystem::path(file).parent_path() / value).string();
  return std::make_shared<Picture>(ResizedTo(DecodePicture(ReadRegularFile(path)), kMost, kMost));
}

}  // namespace

PaperTemplate::PaperTemplate() { Read(DefaultText(), ""); }

PaperTemplate::PaperTemplate(std::string_view text, const std::string& file) : PaperTemplate() {
  source_ = text;
  file_ = file;
  Read(text, file);
}

void PaperTemplate::Read(std::string_view text, const std::string& file) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const SectionRule* section = nullptr;
  int number = 0;
  const auto refuse = [&](const std::string& fault) {
    throw Error(VisibleText(file) + ":" + std::to_string(number) + ": " + fault);
  };
  std::map<std::string, int, std::less<>> seen;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = TrimBlanks(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    ++number;
    if (!IsValidUtf8(line)) refuse("the text is not UTF-8");
    if (line.empty() || line.starts_with('#')) continue;
    if (line.starts_with('[')) {
      const std::string_view name = line.ends_with(']') ? line.substr(1, line.size() - 2) : line;
      section = FindSection(name);
      if (section == nullptr) refuse("there is no section " + InQuotes(name));
      continue;
    }
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) refuse("NAME = VALUE is expected instead of " + InQuotes(line));
    if (section == nullptr) refuse("a [section] is expected first");
    const std::string_view name = TrimBlanks(line.substr(0, equals));
    const std::string_view value = TrimBlanks(line.substr(equals + 1));
    const NameRule* const rule = FindName(*section, name);
    if (rule == nullptr) refuse("[" + std::string(section->name) + "] has no " + InQuotes(name));
    // Whether what it says without a file is at hand shows when it is used.
    const bool is_checked = !file.empty() || rule->fault != FontFault;
    const std::string fault = is_checked ? rule->fault(value) : std::string();
    if (!fault.empty()) refuse(std::string(name) + ": " + fault);
    if (std::any_of(value.begin(), value.end(), [](unsigned char c) { return std::iscntrl(c) != 0; })) {
      refuse(std::string(name) + ": the text holds a control character");
    }
    std::string key = std::string(section->name) + "." + std::string(name);
    const auto [before, is_new] = seen.try_emplace(key, number);
    if (!is_new)
      refuse(std::string(name) + " is said in line " + std::to_string(before->second) + " already");
    if (key == "stranica.logo") {
      try {
        logo_ = LogoOf(value, file);
      } catch (const Error& error) {
        refuse("logo: " + std::string(error.what()));
      }
    }
    values_[std::move(key)] = WithLineBreaks(value);
  }
}

const std::string& PaperTemplate::Text(std::string_view section, std::string_view name) const {
  static const std::string none;
  const auto found = values_.find(std::string(section) + "." + std::string(name));
  return found == values_.end() ? none : found->second;
}

double PaperTemplate::Number(std::string_view section, std::string_view name) const {
  return ParseNumber(Text(section, name));
}

bool PaperTemplate::IsYes(std::string_view section, std::string_view name) const {
  return Text(section, name) == "da";
}

std::string PaperTemplate::TitleOf(const DocumentKind& kind) const {
  const std::string& title = Text("naslovi", kind.name);
  return title.empty() ? std::string(kind.title) : title;
}

std::vector<const PageColumn*> PaperTemplate::ColumnsOf(const DocumentKind& kind, bool services) const {
  const std::string* names = &Text("stupci", std::string(kind.name) + std::string(services ? kServices : ""));
  if (names->empty()) names = &Text("stupci", services ? "usluge" : "roba");
  std::vector<const PageColumn*> columns;
  for (const std::string_view name : SplitNames(*names)) columns.push_back(FindPageColumn(name));
  return columns;
}

std::string PaperTemplate::HeadingOf(const PageColumn& column) const {
  const std::string& heading = Text("nazivi", column.name);
  return heading.empty() ? std::string(column.heading) : heading;
}

std::vector<std::string> PaperTemplate::NotesOf(const DocumentKind& kind, bool taxed) const {
  std::vector<std::string> notes;
  const auto add = [&](std::string_view name) {
    if (const std::string& note = Text("napomene", name); !note.empty()) notes.push_back(note);
  };
  add(kind.name);
  if (!taxed) add(std::string(kind.name) + std::string(kWithoutTax));
  if (kind.IsSale()) add("racuni");
  if (kind.IsSale() && !taxed) add(kWithoutTax.substr(1));
  add("svi");
  return notes;
}

PaperTemplate TemplateOfFile(const std::string& file) { return PaperTemplate(ReadRegularFile(file), file); }

PaperTemplate InstalledTemplate() {
  const std::string file = App().Ini().ReadString("GENERAL", "PREDLOZAK", "");
  return file.empty() ? PaperTemplate() : TemplateOfFile(file);
}

std::span<const std::string_view> PlaceholderNames() { return kPlaceholders; }

std::string Filled(std::string_view text, const Placeholders& values) {
  std::string filled;
  while (!text.empty()) {
    const std::size_t at = std::min(text.find('{'), text.size());
    filled += text.substr(0, at);
    text.remove_prefix(at);
    if (text.empty()) break;
    const std::size_t end = text.find('}');
    const auto found = end == std::string_view::npos ? values.end() : values.find(text.substr(1, end - 1));
    if (found == values.end()) {
      filled += text.front();
      text.remove_prefix(1);
    } else {
      filled += found->second;
      text.remove_prefix(end + 1);
    }
  }
  return filled;
}

}  // namespace mox
