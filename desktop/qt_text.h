#pragma once

#include <QString>
#include <span>
#include <string>
#include <string_view>

namespace mox {

/// Texts of the library are UTF-8; what is none shows as replacement characters.
inline QString ToQt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string FromQt(const QString& text) { return text.toStdString(); }

/// What people are shown for a name of the system.
struct ShownName {
  std::string_view name;
  const char16_t* text;
};

/// The name itself where the table does not know it.
inline QString ShownText(std::span<const ShownName> table, std::string_view name) {
  for (const ShownName& known : table) {
    if (known.name == name) return QString::fromUtf16(known.text);
  }
  return ToQt(name);
}

}  // namespace mox
