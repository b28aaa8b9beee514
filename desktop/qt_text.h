#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace mox {

/// Texts of the library are UTF-8; what is none shows as replacement characters.
inline QString ToQt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string FromQt(const QString& text) { return text.toStdString(); }

}  // namespace mox
