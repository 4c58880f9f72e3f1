#include "base/InfoPlist.h"

#include <fstream>
#include <iterator>

namespace velmaris {

namespace {

// A property list larger than this is no bundle's: it is not read.
constexpr std::streamsize kTailleMaximale = std::streamsize{1024} * 1024;

String XMLText(const String& text) {
  String result = ReplaceAll(text, "&lt;", "<");
  result = ReplaceAll(result, "&gt;", ">");
  result = ReplaceAll(result, "&quot;", "\"");
  result = ReplaceAll(result, "&apos;", "'");
  return ReplaceAll(result, "&amp;", "&");
}

}  // namespace

String InfoPlistValue(const String& bundle, const String& key) {
  std::ifstream file(bundle + "/Contents/Info.plist", std::ios::binary);
  String xml(static_cast<size_t>(kTailleMaximale), '\0');
  file.read(xml.data(), kTailleMaximale);
  xml.resize(static_cast<size_t>(file.gcount()));
  if (xml.find("<plist") == String::npos) return "";
  // Walks the tags; only a key of the outermost dictionary counts, so that
  // a nested dictionary's key of the same name is not taken for it.
  int depth = 0;
  String lastKey;
  size_t at = 0;
  while ((at = xml.find('<', at)) != String::npos) {
    const size_t end = xml.find('>', at);
    if (end == String::npos) break;
    const String tag = xml.substr(at + 1, end - at - 1);
    const size_t contentEnd = xml.find('<', end);
    const String content = contentEnd == String::npos ? "" : xml.substr(end + 1, contentEnd - end - 1);
    if (tag == "dict") {
      ++depth;
    } else if (tag == "/dict") {
      --depth;
    } else if (depth == 1 && tag == "key") {
      lastKey = XMLText(content);
      at = end;
      continue;
    } else if (depth == 1 && tag == "string" && lastKey == key) {
      return XMLText(content);
    }
    if (!tag.starts_with('/')) lastKey = "";
    at = end;
  }
  return "";
}

}  // namespace velmaris
