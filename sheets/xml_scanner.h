#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sheets/byte_source.h"

namespace mox {

/// Reads a large XML text, a token at a time, in memory that does not grow with it. The text is UTF-8 and
/// must be well-formed as far as a reader of sheets can be misled: elements nest, attributes and references
/// are complete. Documents with a type declaration are refused, so there are no entities but the five of XML.
/// Comments and processing instructions are passed over.
class XmlScanner {
 public:
  enum class Token {
    kStart,  ///< of an element; one that is empty has an end nevertheless
    kEnd,
    kText,
    kDone,  ///< the root has ended
  };
  /// Raises an error with what is wrong, and at which byte.
  using Fault = std::function<void(const std::string& what)>;

  /// The source must outlive the scanner. `fault` must raise.
  XmlScanner(ByteSource& source, Fault fault);

  /// The views that the scanner gives hold until the next call.
  Token Next();

  /// Of the element that starts or ends: "x:row", and "row" without its prefix.
  std::string_view QualifiedName() const { return name_; }
  std::string_view Name() const;
  /// The value of an attribute of the element that starts, "" where it has none; raw as it stands there, else
  /// with its references replaced.
  std::string_view RawAttribute(std::string_view qualified_name) const;
  std::string Attribute(std::string_view qualified_name) const;
  /// Adds the text of a text token, its references replaced.
  void AppendTextTo(std::string& text) const;
  /// Goes to the end of the element that starts.
  void SkipElement();
  /// Elements that are open: the one that starts is, the one that ends is not any more.
  std::size_t Depth() const { return depths_.size(); }

  [[noreturn]] void Fail(const std::string& what) const;

 private:
  struct XmlAttribute {
    std::string_view name;
    std::string_view value;  // as it stands there
  };

  bool Fill();
  std::size_t Find(char c, std::size_t from);
  std::size_t TagLength();
  std::string_view PassOver(std::string_view end);
  bool At(std::string_view text);
  Token Markup();
  Token StartTag();
  Token EndTag();
  void CloseElement();
  void CheckDeclaration(std::string_view instruction) const;
  void ReadAttributes(std::string_view rest);
  void AppendDecoded(std::string_view raw, std::string& text) const;
  std::size_t AppendReference(std::string_view raw, std::size_t at, std::string& text) const;

  ByteSource& source_;
  Fault fault_;
  std::string buffer_;
  std::size_t at_ = 0;        // of the next token in the buffer
  std::size_t end_ = 0;       // of the bytes in the buffer
  std::uint64_t before_ = 0;  // bytes that have left the buffer
  std::string_view name_;
  std::string_view text_;
  bool literal_text_ = false;
  std::vector<XmlAttribute> attributes_;
  std::string open_;                 // names of the open elements, joined
  std::vector<std::size_t> depths_;  // where each of them begins
  bool ends_at_once_ = false;
  bool root_ended_ = false;
};

}  // namespace mox
