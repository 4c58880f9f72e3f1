#include "base/Crypto.h"

#include <QByteArray>
#include <QCryptographicHash>

namespace velmaris {

namespace {

QByteArray Bytes(const String& text) { return {text.data(), static_cast<qsizetype>(text.size())}; }

String Text(const QByteArray& bytes) { return {bytes.constData(), static_cast<size_t>(bytes.size())}; }

}  // namespace

String MD5(const String& bytes) { return Text(QCryptographicHash::hash(Bytes(bytes), QCryptographicHash::Md5)); }

String EncodeBase64(const String& bytes, int64_t lineLength) {
  String encoded = Text(Bytes(bytes).toBase64());
  if (lineLength < 1) return encoded;
  const auto width = static_cast<size_t>(lineLength);
  String lines;
  for (size_t from = 0; from < encoded.size(); from += width) {
    if (from != 0) lines += "\r\n";
    lines += encoded.substr(from, width);
  }
  return lines;
}

}  // namespace velmaris
