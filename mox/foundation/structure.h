#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "mox/foundation/field.h"
#include "mox/foundation/vocabulary.h"

namespace mox {

/// Where a name of the vocabulary stands in a structure, packed so that one comparison answers whether the
/// field is there, has the expected kind and may be written.
class FieldSlot {
 public:
  static constexpr std::uint32_t kEditable = 1U << 24U;  ///< may be written while editing or inserting
  static constexpr std::uint32_t kCalculated = 1U
                                               << 25U;  ///< may be written inside the calculate-fields event

  constexpr FieldSlot() = default;
  constexpr FieldSlot(std::size_t index, FieldKind kind, bool calculated)
      : bits_(static_cast<std::uint32_t>(index) | static_cast<std::uint32_t>(kind) << 16U | kEditable |
              (calculated ? kCalculated : 0U)) {}

  constexpr bool IsPresent() const { return bits_ != kAbsent; }
  constexpr std::size_t index() const { return bits_ & 0xFFFFU; }
  constexpr bool Is(FieldKind kind) const {
    return (bits_ >> 16U & 0xFFU) == static_cast<std::uint32_t>(kind);
  }
  constexpr bool Allows(std::uint32_t writing) const { return (bits_ & writing) != 0; }

 private:
  static constexpr std::uint32_t kAbsent = 0x00FF'FFFFU;
  std::uint32_t bits_ = kAbsent;
};

/// The fields of a record set, shared by its clones.
///
/// A record is an array of 64-bit words: first the header (a generation in the low half of its last word and
/// the null bits), then one cell a field. A null cell holds zero bits, so that reading it as a number gives 0
/// without a test.
class Structure {
 public:
  static constexpr std::size_t kMostFields = 4096;

  /// Raises Error when a name is empty or given twice, or there are too many fields.
  explicit Structure(std::vector<FieldDef> fields);

  const std::vector<FieldDef>& fields() const { return fields_; }
  std::vector<FieldDef>& mutable_fields() {
    return fields_;
  }  ///< for labels and formats; never names or kinds
  std::size_t size() const { return fields_.size(); }
  std::optional<std::size_t> Find(std::string_view name) const;
  const FieldSlot* slots() const { return slots_.data(); }  ///< indexed by NameId
  std::size_t header_words() const { return header_words_; }
  std::size_t record_words() const { return header_words_ + fields_.size(); }
  const FieldKind* kinds() const { return kinds_.data(); }
  const std::vector<std::size_t>& text_fields() const { return text_fields_; }  ///< of texts and binaries

 private:
  struct FoldedHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const;
  };
  struct FoldedEqual {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
  };

  std::vector<FieldDef> fields_;
  std::array<FieldSlot, kVocabularySize> slots_;
  std::unordered_map<std::string, std::size_t, FoldedHash, FoldedEqual> by_name_;
  std::size_t header_words_ = 1;
  std::vector<FieldKind> kinds_;
  std::vector<std::size_t> text_fields_;
};

}  // namespace mox
