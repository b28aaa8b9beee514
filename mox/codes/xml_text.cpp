#include "mox/codes/xml_text.h"

namespace mox {

std::string ConvertStringForCreateXML(std::string_view text) {
  std::string xml;
  xml.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        xml += "&amp;";
        break;
      case '<':
        xml += "&lt;";
        break;
      case '>':
        xml += "&gt;";
        break;
      default:
        xml += c;
    }
  }
  return xml;
}

}  // namespace mox
