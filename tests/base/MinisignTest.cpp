// The minisign check, against keys and signatures that the minisign program
// made, on an archive that scripts/publish-update made and signed.
#include <gtest/gtest.h>

#include <QByteArray>
#include <QTemporaryDir>
#include <filesystem>
#include <optional>

#include "base/Minisign.h"
#include "base/Shell.h"
#include "support/Files.h"
#include "support/Sandbox.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

const std::string kArchive = "Velmaris_2.0.0.dmg.zip";

// The line of that index, without its "\n".
std::string Line(const std::string& text, qsizetype index) {
  return QByteArray::fromStdString(text).split('\n').at(index).toStdString();
}

// The text with one byte of the base64 line of that index flipped by mask.
std::string Flipped(const std::string& text, qsizetype line, qsizetype byte, char mask = 1) {
  QList<QByteArray> lines = QByteArray::fromStdString(text).split('\n');
  QByteArray bytes = QByteArray::fromBase64(lines.at(line));
  bytes[byte] = static_cast<char>(bytes.at(byte) ^ mask);
  lines[line] = bytes.toBase64();
  return lines.join('\n').toStdString();
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

// The exit status of the command.
int64_t Status(const std::string& command) {
  Shell sh;
  sh.Execute(command);
  return sh.ErrorCode();
}

// Two key pairs, and version 2.0.0 published and signed with the first.
TEST(MinisignTest, EachCheckRefusesWhatItGuards) {
  if (Status("command -v minisign >/dev/null") != 0)
    GTEST_SKIP() << "minisign is not installed; apt-get install minisign";
  const QTemporaryDir folder;
  const auto At = [&folder](const std::string& path) { return folder.path().toStdString() + path; };
  const std::string bundle = At("/apps/Velmaris Beta.app"), files = At("/site/downloads/files/");
  for (const std::string name : {"/key", "/other"}) {
    ASSERT_EQ(Status("minisign -G -W -p '" + At(name) + ".pub' -s '" + At(name) + ".key' >/dev/null"), 0);
  }
  testing::MakeApplication(bundle, "2.0.0");
  // Past the 10000 bytes below which an archive is an error page to the tool.
  ASSERT_EQ(Status("head -c 12000 /dev/urandom > '" + bundle + "/Contents/Resources/data' && mkdir '" + At("/site") +
                   "' && " VELMARIS_SOURCE_DIR "/scripts/publish-update '" + bundle + "' 2.0.0 '" + At("/site") +
                   "' '" + At("/key.key") + "' >/dev/null && cd '" + files + "' && minisign -S -l -s '" +
                   At("/key.key") + "' -x legacy -m " + kArchive + " && minisign -S -s '" + At("/key.key") +
                   "' -x nofile -t 'timestamp:1' -m " + kArchive),
            0);
  const std::string archive = testing::ReadFile(files + kArchive);
  const std::string signature = testing::ReadFile(files + kArchive + ".minisig");
  const std::string legacy = testing::ReadFile(files + "legacy");
  const std::string key = testing::ReadFile(At("/key.pub"));
  std::string tampered = archive;
  tampered[tampered.size() / 2] ^= 1;
  const std::string other = Line(testing::ReadFile(At("/other.pub")), 1), newName = "Velmaris_3.0.0.dmg.zip";
  const std::string kBad = "the signature does not verify", kGlobal = "the global signature does not verify";
  const std::string kKeyId = "the key id does not match the key", kNoKey = "the public key is not a minisign key";

  struct Row {
    const char* name;
    std::optional<std::string> sig;  // nothing: no signature file
    std::string expect = "";         // "" for a pass
    std::string key = "";            // "" for the key line that signed
    std::string archive = "";        // "" for the archive signed
    std::string fileName = kArchive;
  };
  const Row rows[] = {
      {.name = "hashed (ED), minisign's default", .sig = signature},
      {.name = "legacy (Ed)", .sig = legacy},
      {.name = "the whole .pub file as the key", .sig = signature, .key = key},
      {.name = "a byte of the archive flipped", .sig = signature, .expect = kBad, .archive = tampered},
      {.name = "a byte of the archive flipped, legacy", .sig = legacy, .expect = kBad, .archive = tampered},
      {.name = "the algorithm ED read as Ed", .sig = Flipped(signature, 1, 1, 0x20), .expect = kBad},
      {.name = "the algorithm flipped",
       .sig = Flipped(signature, 1, 0),
       .expect = "the signature algorithm is neither Ed nor ED"},
      {.name = "the key id flipped", .sig = Flipped(signature, 1, 5), .expect = kKeyId},
      {.name = "the signature flipped", .sig = Flipped(signature, 1, 40), .expect = kBad},
      {.name = "the global signature flipped", .sig = Flipped(signature, 3, 10), .expect = kGlobal},
      {.name = "the trusted comment changed to the name served",
       .sig = Replaced(signature, "file:Velmaris_2", "file:Velmaris_3"),
       .expect = kGlobal,
       .fileName = newName},
      {.name = "another key", .sig = signature, .expect = kKeyId, .key = other},
      {.name = "an older archive served under a new name",
       .sig = signature,
       .expect = "the trusted comment names another file",
       .fileName = newName},
      {.name = "no file: in the trusted comment",
       .sig = testing::ReadFile(files + "nofile"),
       .expect = "the trusted comment names no file"},
      {.name = "truncated",
       .sig = signature.substr(0, signature.size() / 2),
       .expect = "the signature file is truncated"},
      {.name = "cut inside the global signature",
       .sig = signature.substr(0, signature.size() - 10),
       .expect = "the global signature line is not a signature"},
      {.name = "empty", .sig = "", .expect = "the signature file is empty"},
      {.name = "missing", .sig = std::nullopt, .expect = "the signature file is missing or can't be read"},
      {.name = "an error page",
       .sig = "<html>404 Not Found</html>\n",
       .expect = "the signature file is not in the minisign format"},
      {.name = "a key line that is no key", .sig = signature, .expect = kNoKey, .key = Line(signature, 1)},
      {.name = "a key of another algorithm", .sig = signature, .expect = kNoKey, .key = Flipped(Line(key, 1), 0, 1)},
  };
  const std::string path = At("/check/" + kArchive), signaturePath = path + ".minisig";
  fs::create_directories(At("/check"));
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    testing::WriteFile(path, row.archive.empty() ? archive : row.archive);
    fs::remove(signaturePath);
    if (row.sig) testing::WriteFile(signaturePath, *row.sig);
    EXPECT_EQ(VerifyMinisignSignature(row.key.empty() ? Line(key, 1) : row.key, path, signaturePath, row.fileName, ""),
              row.expect);
  }
}

}  // namespace
}  // namespace velmaris
