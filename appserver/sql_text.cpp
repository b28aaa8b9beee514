#include "appserver/sql_text.h"

#include <algorithm>
#include <cstdint>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

struct Piece {
  enum class Kind : std::uint8_t { kBlank, kWord, kParameter, kQuoted, kComment, kOther };
  Kind kind = Kind::kOther;
  std::string_view text;
};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool IsWord(char c) {
  return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         static_cast<unsigned char>(c) >= 0x80;
}

// The length of the piece that begins after `at` characters, all of them of one sort.
template <typename Is>
std::size_t Run(std::string_view text, std::size_t at, Is is) {
  while (at < text.size() && is(text[at])) ++at;
  return at;
}

// Up to and including the mark that ends it.
std::size_t Until(std::string_view text, std::string_view mark, std::size_t from) {
  const std::size_t at = text.find(mark, from);
  return at == std::string_view::npos ? text.size() : at + mark.size();
}

// The first piece of a text that is not empty. A doubled quote inside a quoted text makes two pieces of it.
Piece FirstPiece(std::string_view text) {
  using Kind = Piece::Kind;
  const auto piece = [&](Kind kind, std::size_t size) { return Piece{kind, text.substr(0, size)}; };
  const char first = text.front();
  const char second = text.size() > 1 ? text[1] : '\0';
  if (IsBlank(first)) return piece(Kind::kBlank, Run(text, 1, IsBlank));
  if (IsWord(first)) return piece(Kind::kWord, Run(text, 1, IsWord));
  if (first == '\'' || first == '"') return piece(Kind::kQuoted, Until(text, text.substr(0, 1), 1));
  if (first == '-' && second == '-') return piece(Kind::kComment, Until(text, "\n", 2));
  if (first == '/' && second == '*') return piece(Kind::kComment, Until(text, "*/", 2));
  if (first == ':' && second == ':') return piece(Kind::kOther, 2);
  if (first == ':' && IsWord(second)) return piece(Kind::kParameter, Run(text, 1, IsWord));
  return piece(Kind::kOther, 1);
}

Piece TakePiece(std::string_view& rest) {
  const Piece piece = FirstPiece(rest);
  rest.remove_prefix(piece.text.size());
  return piece;
}

// Takes what stands between a parenthesis, which is the first piece, and the one that closes it.
std::string_view TakeParenthesis(std::string_view& rest) {
  const std::string_view begin = rest;
  int depth = 0;
  while (!rest.empty()) {
    const std::string_view text = TakePiece(rest).text;
    depth += text == "(" ? 1 : text == ")" ? -1 : 0;
    if (depth == 0) return begin.substr(1, begin.size() - rest.size() - 2);
  }
  throw Error("a parenthesis is not closed: " + std::string(CutToCharacters(begin, 40)));
}

}  // namespace

std::vector<std::string_view> SplitStatements(std::string_view script) {
  std::vector<std::string_view> statements;
  const char* begin = nullptr;
  const auto end_at = [&](const char* end) {
    if (begin != nullptr) statements.emplace_back(begin, end);
    begin = nullptr;
  };
  while (!script.empty()) {
    const Piece piece = TakePiece(script);
    if (piece.text == ";") {
      end_at(piece.text.data());
    } else if (begin == nullptr && piece.kind != Piece::Kind::kBlank && piece.kind != Piece::Kind::kComment) {
      begin = piece.text.data();
    }
  }
  end_at(script.data());
  return statements;
}

ParameterNames FindParameters(std::string_view sql) {
  ParameterNames found;
  while (!sql.empty()) {
    const Piece piece = TakePiece(sql);
    if (piece.kind != Piece::Kind::kParameter) continue;
    const std::string_view name = piece.text.substr(1);
    if (std::find(found.names.begin(), found.names.end(), name) == found.names.end()) {
      found.names.emplace_back(name);
    } else {
      found.repeated = true;
    }
  }
  return found;
}

std::string ReplaceCalls(std::string_view sql, std::string_view function,
                         const std::function<std::string(std::string_view)>& replacement) {
  std::string replaced;
  while (!sql.empty()) {
    const Piece piece = TakePiece(sql);
    if (piece.kind == Piece::Kind::kWord && SameName(piece.text, function) && sql.starts_with('(')) {
      replaced += replacement(ReplaceCalls(TakeParenthesis(sql), function, replacement));
    } else {
      replaced += piece.text;
    }
  }
  return replaced;
}

std::string ReplaceFold(std::string_view sql, const std::function<std::string(std::string_view)>& fold) {
  return ReplaceCalls(sql, "fold", fold);
}

std::string ReplaceTypes(std::string_view sql, std::string_view key, std::string_view behind_text) {
  const bool defines = sql.starts_with("CREATE TABLE") || sql.starts_with("ALTER TABLE");
  std::string replaced;
  std::string_view before;
  while (!sql.empty()) {
    const Piece piece = TakePiece(sql);
    const bool is_key = piece.kind == Piece::Kind::kWord && piece.text == "KEY";
    replaced += is_key && before != "PRIMARY" && before != "FOREIGN" ? key : piece.text;
    if (defines && piece.text == "VARCHAR" && sql.starts_with('(')) {
      replaced.append("(").append(TakeParenthesis(sql)).append(")").append(behind_text);
    } else if (defines && piece.text == "TEXT") {
      replaced += behind_text;
    }
    if (piece.kind != Piece::Kind::kBlank && piece.kind != Piece::Kind::kComment) before = piece.text;
  }
  return replaced;
}

}  // namespace mox
