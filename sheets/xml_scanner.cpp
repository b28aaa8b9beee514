#include "sheets/xml_scanner.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kFirstBuffer = 256 * 1024;
constexpr std::size_t kMostToken = std::size_t{16} * 1024 * 1024;
constexpr std::size_t kMostDepth = 256;
constexpr std::string_view kBlanks = " \t\r\n";

bool IsAscii(std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

struct NamedReference {
  std::string_view name;
  char character;
};

constexpr NamedReference kReferences[] = {
    {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''},
};

}  // namespace

XmlScanner::XmlScanner(ByteSource& source, Fault fault)
    : source_(source), fault_(std::move(fault)), buffer_(kFirstBuffer, '\0') {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (At(kMark)) at_ += kMark.size();
  if (At("\xFF\xFE") || At("\xFE\xFF")) Fail("the XML is not UTF-8");
}

void XmlScanner::Fail(const std::string& what) const {
  fault_("byte " + std::to_string(before_ + at_) + ": " + what);
  std::abort();  // not reached: the owner's function raises
}

// --- the buffer: positions in it are counted from the token's beginning, which moves ---

bool XmlScanner::Fill() {
  if (at_ > 0) {
    std::memmove(buffer_.data(), buffer_.data() + at_, end_ - at_);
    before_ += at_;
    end_ -= at_;
    at_ = 0;
  }
  if (end_ == buffer_.size()) {
    if (buffer_.size() >= kMostToken) Fail("a tag or text does not end");
    buffer_.resize(2 * buffer_.size());
  }
  const std::size_t count = source_.Read(buffer_.data() + end_, buffer_.size() - end_);
  end_ += count;
  return count > 0;
}

std::size_t XmlScanner::Find(char c, std::size_t from) {
  for (;;) {
    const char* const begin = buffer_.data() + at_;
    const std::size_t size = end_ - at_;
    if (from < size) {
      if (const void* const found = std::memchr(begin + from, c, size - from)) {
        return static_cast<std::size_t>(static_cast<const char*>(found) - begin);
      }
    }
    from = size;
    if (!Fill()) return std::string_view::npos;
  }
}

bool XmlScanner::At(std::string_view text) {
  while (end_ - at_ < text.size()) {
    if (!Fill()) return false;
  }
  return std::string_view(buffer_).substr(at_, text.size()) == text;
}

// A tag with its brackets; those inside quotes are part of a value.
std::size_t XmlScanner::TagLength() {
  char quote = '\0';
  for (std::size_t length = 1;; ++length) {
    while (at_ + length >= end_) {
      if (!Fill()) Fail("a tag does not end");
    }
    const char c = buffer_[at_ + length];
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      return length + 1;
    }
  }
}

// Goes behind the end of a comment or the like, and answers what stands before it.
std::string_view XmlScanner::PassOver(std::string_view end) {
  std::size_t from = 0;
  for (;;) {
    const std::size_t last = Find(end.back(), from);
    if (last == std::string_view::npos) Fail("a comment or the like does not end");
    const std::string_view seen = std::string_view(buffer_).substr(at_, last + 1);
    if (seen.ends_with(end)) {
      at_ += seen.size();
      return seen.substr(0, seen.size() - end.size());
    }
    from = last + 1;
  }
}

// --- tokens ---

XmlScanner::Token XmlScanner::Next() {
  if (ends_at_once_) {
    ends_at_once_ = false;
    CloseElement();
    return Token::kEnd;
  }
  for (;;) {
    if (at_ == end_ && !Fill()) {
      if (root_ended_) return Token::kDone;
      Fail(depths_.empty() ? "there is no XML" : "the XML ends too early");
    }
    if (buffer_[at_] == '<') {
      const Token token = Markup();
      if (token != Token::kDone) return token;
      continue;
    }
    std::size_t length = Find('<', 0);
    if (length == std::string_view::npos) length = end_ - at_;
    text_ = std::string_view(buffer_).substr(at_, length);
    if (depths_.empty() && text_.find_first_not_of(kBlanks) != std::string_view::npos) {
      Fail("there is text outside of the elements");
    }
    at_ += length;
    literal_text_ = false;
    if (!depths_.empty()) return Token::kText;
  }
}

// Answers kDone for what is passed over.
XmlScanner::Token XmlScanner::Markup() {
  if (At("</")) return EndTag();
  if (At("<?")) {
    CheckDeclaration(PassOver("?>"));
    return Token::kDone;
  }
  if (At("<!--")) {
    at_ += 4;
    PassOver("-->");
    return Token::kDone;
  }
  constexpr std::string_view kLiteral = "<![CDATA[";
  if (At(kLiteral) && !depths_.empty()) {
    at_ += kLiteral.size();
    text_ = PassOver("]]>");
    literal_text_ = true;
    return Token::kText;
  }
  if (At("<!")) Fail("a declaration of a document type is not taken");
  return StartTag();
}

void XmlScanner::CheckDeclaration(std::string_view instruction) const {
  if (!instruction.starts_with("<?xml ")) return;
  const std::size_t at = instruction.find("encoding=");
  if (at == std::string_view::npos) return;
  // behind the name, the sign and the quote; nothing where the declaration ends before
  const std::string_view value = instruction.substr(std::min(at + 10, instruction.size()), 5);
  if (!SameName(value, "utf-8") && !SameName(value, "us-as")) Fail("the XML is not UTF-8");
}

XmlScanner::Token XmlScanner::StartTag() {
  if (root_ended_) Fail("there is a second root");
  const std::size_t length = TagLength();
  std::string_view tag = std::string_view(buffer_).substr(at_ + 1, length - 2);
  ends_at_once_ = tag.ends_with('/');
  if (ends_at_once_) tag.remove_suffix(1);
  name_ = tag.substr(0, tag.find_first_of(kBlanks));
  if (name_.empty()) Fail("a tag has no name");
  ReadAttributes(tag.substr(name_.size()));
  if (depths_.size() == kMostDepth) Fail("the elements nest too deeply");
  depths_.push_back(open_.size());
  open_ += name_;
  at_ += length;
  return Token::kStart;
}

XmlScanner::Token XmlScanner::EndTag() {
  const std::size_t length = TagLength();
  name_ = TrimBlanks(std::string_view(buffer_).substr(at_ + 2, length - 3));
  if (depths_.empty() || std::string_view(open_).substr(depths_.back()) != name_) {
    Fail("</" + std::string(name_.substr(0, 40)) + "> ends another element");
  }
  at_ += length;
  CloseElement();
  return Token::kEnd;
}

void XmlScanner::CloseElement() {
  open_.resize(depths_.back());
  depths_.pop_back();
  root_ended_ = depths_.empty();
}

void XmlScanner::ReadAttributes(std::string_view rest) {
  attributes_.clear();
  for (;;) {
    std::size_t at = rest.find_first_not_of(kBlanks);
    if (at == std::string_view::npos) return;
    if (at == 0) Fail("an attribute does not stand apart");
    rest.remove_prefix(at);
    const std::size_t equals = rest.find('=');
    at = equals == std::string_view::npos ? equals : rest.find_first_not_of(kBlanks, equals + 1);
    const bool quoted = at != std::string_view::npos && (rest[at] == '"' || rest[at] == '\'');
    const std::size_t end = quoted ? rest.find(rest[at], at + 1) : std::string_view::npos;
    if (end == std::string_view::npos) Fail("an attribute has no value in quotes");
    attributes_.push_back({TrimBlanks(rest.substr(0, equals)), rest.substr(at + 1, end - at - 1)});
    rest.remove_prefix(end + 1);
  }
}

void XmlScanner::SkipElement() {
  const std::size_t depth = Depth();
  while (Depth() >= depth) Next();
}

// --- names and texts ---

std::string_view XmlScanner::Name() const {
  const std::size_t colon = name_.find(':');
  return colon == std::string_view::npos ? name_ : name_.substr(colon + 1);
}

std::string_view XmlScanner::RawAttribute(std::string_view qualified_name) const {
  for (const XmlAttribute& attribute : attributes_) {
    if (attribute.name == qualified_name) return attribute.value;
  }
  return {};
}

std::string XmlScanner::Attribute(std::string_view qualified_name) const {
  std::string value;
  AppendDecoded(RawAttribute(qualified_name), value);
  return value;
}

void XmlScanner::AppendTextTo(std::string& text) const {
  if (literal_text_) {
    if (!IsValidUtf8(text_)) Fail("the XML is not UTF-8");
    text += text_;
  } else {
    AppendDecoded(text_, text);
  }
}

void XmlScanner::AppendDecoded(std::string_view raw, std::string& text) const {
  if (!IsAscii(raw) && !IsValidUtf8(raw)) Fail("the XML is not UTF-8");
  for (std::size_t at = 0; at < raw.size();) {
    const std::size_t next = std::min(raw.find_first_of("&\r", at), raw.size());
    text += raw.substr(at, next - at);
    at = next;
    if (at == raw.size()) return;
    if (raw[at] == '&') {
      at = AppendReference(raw, at, text);
    } else {
      // A carriage return is a line break, with the line feed behind it or alone.
      if (at + 1 == raw.size() || raw[at + 1] != '\n') text += '\n';
      ++at;
    }
  }
}

// Answers the position behind it.
std::size_t XmlScanner::AppendReference(std::string_view raw, std::size_t at, std::string& text) const {
  const std::size_t end = raw.find(';', at);
  if (end == std::string_view::npos) Fail("a reference does not end");
  std::string_view name = raw.substr(at + 1, end - at - 1);
  if (!name.starts_with('#')) {
    for (const NamedReference& reference : kReferences) {
      if (reference.name != name) continue;
      text += reference.character;
      return end + 1;
    }
    Fail("a reference is unknown");
  }
  name.remove_prefix(1);
  const int base = name.starts_with('x') ? 16 : 10;
  if (base == 16) name.remove_prefix(1);
  std::uint32_t code = 0;
  const auto [last, error] = std::from_chars(name.data(), name.data() + name.size(), code, base);
  const bool complete = error == std::errc() && last == name.data() + name.size();
  if (!complete || code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    Fail("a reference is to no character");
  }
  AppendUtf8(text, code);
  return end + 1;
}

}  // namespace mox
