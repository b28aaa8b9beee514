#include <array>
#include <cstdio>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/record_text.h"
#include "mox/foundation/text.h"
#include "mox/server/param_list.h"

// The text of a parameter list, as docs/FORMATS.md describes it, and the line for a log.

namespace mox {
namespace {

constexpr std::string_view kSignature = "moxpl 1";
constexpr std::string_view kNull = "~";
constexpr std::string_view kShortestItem = "item 0: null ~\n";

struct KindRow {
  std::string_view name;
  FieldKind field = FieldKind::kText;  // of a plain value
  bool counted = false;
};

// By ParamKind.
constexpr std::array<KindRow, 10> kKinds = {{
    {"null"},
    {.name = "text", .counted = true},
    {"integer", FieldKind::kInteger},
    {"boolean", FieldKind::kBoolean},
    {"float", FieldKind::kFloat},
    {"currency", FieldKind::kCurrency},
    {"date", FieldKind::kDate},
    {"datetime", FieldKind::kDateTime},
    {.name = "list", .counted = true},
    {.name = "dataset", .counted = true},
}};

const KindRow& RowOf(ParamKind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

class ItemReader final : public TextReader {
 public:
  using TextReader::TextReader;

  void SetItem(std::size_t number) { item_ = number; }

  TokenizedItem ReadItem() {
    TokenizedItem item;
    Expect("item ");
    item.name = Counted();
    Expect(" ");
    item.kind = ReadKind();
    Expect(" ");
    if (item.kind == ParamKind::kNull) {
      Expect(kNull);
    } else if (RowOf(item.kind).counted) {
      item.value = Counted();
    } else {
      item.value = Word();
      Skip(item.value.size());
    }
    Expect("\n");
    return item;
  }

 private:
  ParamKind ReadKind() {
    const std::string_view word = Word();
    for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
      if (kKinds[kind].name != word) continue;
      Skip(word.size());
      return static_cast<ParamKind>(kind);
    }
    Refuse("\"" + std::string(CutToCharacters(word, 40)) + "\" is not a kind of item");
  }

  std::string Place() const override {
    return item_ == 0 ? "list: " : "item " + std::to_string(item_) + ": ";
  }

  std::size_t item_ = 0;  // from 1, while it is read
};

// ---- The line for a log ----

constexpr std::size_t kShownCharacters = 60;
constexpr std::size_t kShownItems = 20;
constexpr int kShownDepth = 3;

// On one line, with an escape for what a terminal would not show; long texts are cut.
std::string Escaped(std::string_view text) {
  const std::string_view shown = CutToCharacters(text, kShownCharacters);
  std::string out;
  for (std::size_t at = 0; at < shown.size();) {
    const std::string_view character = CutToCharacters(shown.substr(at), 1);
    const auto byte = static_cast<unsigned char>(character[0]);
    at += character.size();
    if (byte == '\n') {
      out += "\\n";
    } else if (character.size() == 1 && (byte < 0x20 || byte > 0x7E)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(byte));
      out += escape;
    } else {
      out += character;
    }
  }
  return shown.size() < text.size() ? out + "..." : out;
}

// In quotes where it could be taken for more than one word.
std::string Visible(std::string_view text) {
  const std::string out = Escaped(text);
  const bool plain = !out.empty() && out.find_first_of(" \"=<>") == std::string::npos;
  return plain ? out : '"' + out + '"';
}

std::string ShowRecords(std::string_view item, std::string_view set, std::size_t records) {
  std::string out = "<";
  if (!set.empty() && !SameName(set, item)) out += Escaped(set) + ": ";
  return out + std::to_string(records) + (records == 1 ? " record>" : " records>");
}

std::string ShowText(std::string_view item, std::string_view text, int depth);

std::string ShowItem(const TokenizedItem& item, int depth) {
  if (item.kind == ParamKind::kNull) return std::string(kNull);
  return RowOf(item.kind).counted ? ShowText(item.name, item.value, depth) : Visible(item.value);
}

// "a=1 b=2" of any sort of items.
template <typename Items, typename Show>
std::string ShowItems(const Items& items, const Show& show) {
  std::string out;
  std::size_t shown = 0;
  for (const auto& item : items) {
    if (shown > 0) out += ' ';
    if (shown++ == kShownItems) {
      out += "... " + std::to_string(items.size() - kShownItems) + " more";
      break;
    }
    out += show(item);
  }
  return out;
}

std::string InBrackets(const std::string& items) { return items.empty() ? "<list>" : "<list " + items + ">"; }

// A text, or what it is the text of.
std::string ShowText(std::string_view item, std::string_view text, int depth) {
  if (const auto head = ReadRecordSetTextHead(text)) return ShowRecords(item, head->name, head->records);
  if (!text.starts_with(kSignature)) return Visible(text);
  if (depth >= kShownDepth) return InBrackets("...");
  try {
    return InBrackets(ShowItems(TokenizedItems(text), [depth](const TokenizedItem& inner) {
      return Visible(inner.name) + '=' + ShowItem(inner, depth + 1);
    }));
  } catch (const FormatError&) {
    return Visible(text);
  }
}

}  // namespace

// ---- Writing ----

TokenizedWriter::TokenizedWriter(std::string& out, std::size_t items) : out_(out) {
  out_ += kSignature;
  out_ += "\nitems " + std::to_string(items) + '\n';
}

void TokenizedWriter::BeginItem(std::string_view name, ParamKind kind) {
  out_ += "item ";
  AppendCounted(out_, name);
  out_ += ' ';
  out_ += RowOf(kind).name;
  out_ += ' ';
  value_at_ = out_.size();
  counted_ = RowOf(kind).counted;
}

void TokenizedWriter::EndItem() {
  if (counted_) CountFrom(out_, value_at_);
  out_ += '\n';
}

void TokenizedWriter::End() { out_ += "end\n"; }

void TAstaParam::AppendValue(std::string& out) const {
  if (const auto* const list = std::get_if<std::unique_ptr<TAstaParamList>>(&value_)) {
    (*list)->AppendTokenized(out);
  } else if (const auto* const records = std::get_if<std::unique_ptr<RecordSet>>(&value_)) {
    AppendRecordSetText(**records, out);
  } else if (const auto* const unread = std::get_if<Unread>(&value_)) {
    out += unread->text;
  } else if (IsNull()) {
    out += kNull;
  } else if (Kind() == ParamKind::kText) {
    out += AsTextView();
  } else {
    AppendPlain(out, AsVariant());
  }
}

void TAstaParamList::AppendTokenized(std::string& out) const {
  std::size_t size = 0;
  for (const TAstaParam& item : items_) {
    const std::string* const text = item.TextToRead(item.Kind());
    size += 64 + item.name_.size() + (text == nullptr ? 0 : text->size());
  }
  out.reserve(out.size() + size);
  TokenizedWriter writer(out, items_.size());
  for (const TAstaParam& item : items_) {
    writer.BeginItem(item.name_, item.Kind());
    item.AppendValue(out);
    writer.EndItem();
  }
  writer.End();
}

std::string TAstaParamList::AsTokenizedString(bool readable) const {
  if (readable) return Readable(0);
  std::string out;
  AppendTokenized(out);
  return out;
}

std::string TAstaParam::ReadableValue(int depth) const {
  if (const auto* const list = std::get_if<std::unique_ptr<TAstaParamList>>(&value_)) {
    return InBrackets(depth >= kShownDepth ? "..." : (*list)->Readable(depth + 1));
  }
  if (const auto* const records = std::get_if<std::unique_ptr<RecordSet>>(&value_)) {
    return ShowRecords(name_, (*records)->Name(), (*records)->RecordCount());
  }
  if (const std::string* const text = TextToRead(Kind())) return ShowText(name_, *text, depth);
  std::string out;
  AppendValue(out);
  return out;
}

std::string TAstaParamList::Readable(int depth) const {
  return ShowItems(items_, [depth](const TAstaParam& item) {
    return Visible(item.name_) + '=' + item.ReadableValue(depth);
  });
}

// ---- Reading ----

std::vector<TokenizedItem> TokenizedItems(std::string_view text) {
  ItemReader in(text);
  in.Expect(kSignature);
  in.Expect("\n");
  in.Expect("items ");
  const std::size_t count = in.Count(in.left() / kShortestItem.size(), "items");
  in.Expect("\n");
  std::vector<TokenizedItem> items;
  items.reserve(count);
  for (std::size_t i = 1; i <= count; ++i) {
    in.SetItem(i);
    items.push_back(in.ReadItem());
  }
  in.SetItem(0);
  in.Expect("end");
  in.Expect("\n");
  if (in.left() > 0) in.Refuse("something follows the end");
  return items;
}

TAstaParamList TAstaParamList::FromTokenizedString(std::string_view text) {
  TAstaParamList list;
  const std::vector<TokenizedItem> items = TokenizedItems(text);
  list.items_.reserve(items.size());
  for (const TokenizedItem& item : items) {
    std::string name(item.name);
    if (item.kind == ParamKind::kList || item.kind == ParamKind::kDataSet) {
      list.items_.push_back({std::move(name), TAstaParam::Unread{item.kind, std::string(item.value)}});
      continue;
    }
    try {
      Value value = item.kind == ParamKind::kNull ? Value() : ParsePlain(item.value, RowOf(item.kind).field);
      list.items_.emplace_back(std::move(name), std::move(value));
    } catch (const Error& error) {
      throw FormatError("item " + std::to_string(list.Count() + 1) + ": " + error.what(),
                        static_cast<std::size_t>(item.value.data() - text.data()));
    }
  }
  return list;
}

}  // namespace mox
