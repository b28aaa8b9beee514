#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>
#include <variant>
#include <vector>

#include "mox/foundation/record_set.h"

namespace mox::bench {

/// A text of fewer than N bytes, held in place.
template <std::size_t N>
class ShortText {
 public:
  ShortText& operator=(std::string_view text) {
    if (text.size() >= N) throw std::length_error("a text of a line is too long");
    bytes_.fill('\0');
    std::copy(text.begin(), text.end(), bytes_.begin());
    return *this;
  }
  std::string_view view() const { return bytes_.data(); }

 private:
  std::array<char, N> bytes_{};
};

/// A goods line of a cash invoice as a hand-written program would keep it: 30 values in 256 bytes.
struct PlainLine {
  std::int64_t id = 0;
  ShortText<8> sifra;   // article code
  ShortText<24> naziv;  // article name
  ShortText<8> jm;      // unit of measure
  double kolicina = 0;
  Currency pc, pci;
  double rbp1 = 0;
  Currency rbi1;
  double rbp2 = 0;
  Currency rbi2;
  double rbp3 = 0;
  Currency rbi3, rabatIznos, mpc, mpci, pov_nak, pov_naki, neoporezivo, osnovica;
  double tbr_stp = 0;
  ShortText<8> oznaka;  // mark of the tax rate
  Currency pdvi, ukupno, nc, nci, vpc, vpci, marza;
  double marp = 0;
};

/// A field of the line, and where the struct has it.
struct Column {
  using Member = std::variant<std::int64_t PlainLine::*, double PlainLine::*, Currency PlainLine::*,
                              ShortText<8> PlainLine::*, ShortText<24> PlainLine::*>;

  const char* name;
  Member member;
  bool calculated = false;  ///< written by the calculator of cash invoices

  FieldKind Kind() const;
  Value ValueOf(const PlainLine& line) const;
};

inline constexpr std::size_t kColumnCount = 30;
const std::array<Column, kColumnCount>& Columns();

/// The same lines at every call. Calculated fields are 0.
std::vector<PlainLine> MakeLines(std::size_t count);

/// The lines as an open record set without an event.
RecordSet MakeRecordSet(std::span<const PlainLine> lines);

}  // namespace mox::bench
