#include "base/Minisign.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>
#include <string_view>
#include <vector>

namespace velmaris {

namespace {

constexpr size_t kAlgorithmBytes = 2;
constexpr size_t kKeyIdBytes = 8;
constexpr size_t kPublicKeyBytes = kAlgorithmBytes + kKeyIdBytes + crypto_sign_PUBLICKEYBYTES;
constexpr size_t kSignatureBytes = kAlgorithmBytes + kKeyIdBytes + crypto_sign_BYTES;
// A signature file is four short lines; a longer one is no signature file,
// and it is not read further.
constexpr size_t kSignatureFileLimit = size_t{64} * 1024;
// The size of the reads under "ED": memory stays at this whatever the file's size.
constexpr size_t kChunkBytes = size_t{256} * 1024;

constexpr std::string_view kUntrustedComment = "untrusted comment:";
constexpr std::string_view kTrustedComment = "trusted comment: ";

using Bytes = std::vector<unsigned char>;

// The bytes of a base64 text (with its padding) of exactly that length, or nothing.
std::optional<Bytes> DecodeBase64(std::string_view text, size_t length) {
  Bytes bytes(length);
  size_t decoded = 0;
  if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &decoded, nullptr,
                        sodium_base64_VARIANT_ORIGINAL) != 0 ||
      decoded != length) {
    return std::nullopt;
  }
  return bytes;
}

// The lines of the text, without their "\n" or "\r\n".
std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  }
  return lines;
}

std::string_view TrimBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// The key's bytes from its base64 line, or from a .pub file's text, whose
// first line is an untrusted comment.
std::optional<Bytes> DecodePublicKey(std::string_view text) {
  std::vector<std::string_view> lines = Lines(TrimBlanks(text));
  if (!lines.empty() && lines.front().starts_with(kUntrustedComment)) lines.erase(lines.begin());
  if (lines.empty()) return std::nullopt;
  std::optional<Bytes> key = DecodeBase64(TrimBlanks(lines.front()), kPublicKeyBytes);
  if (!key || (*key)[0] != 'E' || (*key)[1] != 'd') return std::nullopt;
  return key;
}

// The signature file's text, up to one byte past the limit; nothing when it
// can't be read.
std::optional<std::string> ReadSignatureFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::string text(kSignatureFileLimit + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad()) return std::nullopt;
  text.resize(static_cast<size_t>(file.gcount()));
  return text;
}

class FileDescriptor {
 public:
  explicit FileDescriptor(const std::string& path) : mFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (mFd >= 0) ::close(mFd);
  }
  int Get() const { return mFd; }

 private:
  int mFd;
};

// The BLAKE2b-512 of the file, read in chunks; nothing on a read error.
std::optional<std::string> HashFile(int fd) {
  Blake2b512 hash;
  std::string chunk(kChunkBytes, '\0');
  for (;;) {
    const ssize_t count = ::read(fd, chunk.data(), chunk.size());
    if (count == 0) break;
    if (count < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    hash.Update(std::string_view(chunk).substr(0, static_cast<size_t>(count)));
  }
  return hash.Digest();
}

// Whether the signature of the file verifies; nothing when the file can't be read.
std::optional<bool> VerifyFile(const std::string& path, bool hashed, const std::string& given,
                               const unsigned char* signature, const unsigned char* key) {
  const FileDescriptor file(path);
  if (file.Get() < 0) return std::nullopt;
  if (hashed) {
    const std::optional<std::string> digest = given.empty() ? HashFile(file.Get()) : given;
    if (!digest) return std::nullopt;
    return crypto_sign_verify_detached(signature, reinterpret_cast<const unsigned char*>(digest->data()),
                                       digest->size(), key) == 0;
  }
  // libsodium verifies plain Ed25519 over the whole message in one call and
  // has no streaming form of it. A read-only map hands it the file without a
  // copy: its pages are the page cache's, which the system may drop again.
  struct stat status {};
  if (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  const auto size = static_cast<size_t>(status.st_size);
  if (size == 0) return crypto_sign_verify_detached(signature, nullptr, 0, key) == 0;
  void* map = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.Get(), 0);
  if (map == MAP_FAILED) return std::nullopt;
  ::madvise(map, size, MADV_SEQUENTIAL);
  const bool verified = crypto_sign_verify_detached(signature, static_cast<const unsigned char*>(map), size, key) == 0;
  ::munmap(map, size);
  return verified;
}

// Whether one tab-separated field of the trusted comment is "file:" + name;
// nothing when no field names a file.
std::optional<bool> CommentNamesFile(std::string_view comment, const std::string& fileName) {
  constexpr std::string_view kFile = "file:";
  bool named = false;
  for (size_t from = 0; from <= comment.size();) {
    const size_t end = std::min(comment.find('\t', from), comment.size());
    const std::string_view field = comment.substr(from, end - from);
    if (field.starts_with(kFile)) {
      if (field.substr(kFile.size()) == fileName) return true;
      named = true;
    }
    from = end + 1;
  }
  return named ? std::optional<bool>(false) : std::nullopt;
}

}  // namespace

struct Blake2b512::State {
  crypto_generichash_state state;
};

Blake2b512::Blake2b512() : mState(std::make_unique<State>()) {
  // Picks the fastest implementation for this processor; harmless when
  // repeated. Hashing works even where it fails (no random source).
  [[maybe_unused]] const int ready = sodium_init();
  crypto_generichash_init(&mState->state, nullptr, 0, crypto_generichash_BYTES_MAX);
}

Blake2b512::~Blake2b512() = default;

void Blake2b512::Update(std::string_view bytes) {
  crypto_generichash_update(&mState->state, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string Blake2b512::Digest() const {
  State copy = *mState;
  std::string digest(crypto_generichash_BYTES_MAX, '\0');
  crypto_generichash_final(&copy.state, reinterpret_cast<unsigned char*>(digest.data()), digest.size());
  return digest;
}

std::string VerifyMinisignSignature(const std::string& publicKey, const std::string& path,
                                    const std::string& signaturePath, const std::string& fileName,
                                    const std::string& digest) {
  if (sodium_init() < 0) return "libsodium can't be initialised";
  const std::optional<Bytes> key = DecodePublicKey(publicKey);
  if (!key) return "the public key is not a minisign key";

  const std::optional<std::string> text = ReadSignatureFile(signaturePath);
  if (!text) return "the signature file is missing or can't be read";
  if (text->empty()) return "the signature file is empty";
  if (text->size() > kSignatureFileLimit) return "the signature file is too long";
  const std::vector<std::string_view> lines = Lines(*text);
  if (!lines[0].starts_with(kUntrustedComment)) return "the signature file is not in the minisign format";
  if (lines.size() < 4) return "the signature file is truncated";
  const std::optional<Bytes> signature = DecodeBase64(lines[1], kSignatureBytes);
  if (!signature) return "the signature line is not a minisign signature";
  if (!lines[2].starts_with(kTrustedComment)) return "the trusted comment is missing";
  const std::string_view comment = lines[2].substr(kTrustedComment.size());
  const std::optional<Bytes> globalSignature = DecodeBase64(lines[3], crypto_sign_BYTES);
  if (!globalSignature) return "the global signature line is not a signature";

  const unsigned char* signed64 = signature->data() + kAlgorithmBytes + kKeyIdBytes;
  const unsigned char* key32 = key->data() + kAlgorithmBytes + kKeyIdBytes;
  if ((*signature)[0] != 'E' || ((*signature)[1] != 'd' && (*signature)[1] != 'D'))
    return "the signature algorithm is neither Ed nor ED";
  if (std::memcmp(signature->data() + kAlgorithmBytes, key->data() + kAlgorithmBytes, kKeyIdBytes) != 0)
    return "the key id does not match the key";

  const std::optional<bool> verified = VerifyFile(path, (*signature)[1] == 'D', digest, signed64, key32);
  if (!verified) return "the signed file can't be read";
  if (!*verified) return "the signature does not verify";

  // The global signature covers the signature and the trusted comment, so
  // that the comment, and the file name in it, can be trusted.
  Bytes global(signed64, signed64 + crypto_sign_BYTES);
  global.insert(global.end(), comment.begin(), comment.end());
  if (crypto_sign_verify_detached(globalSignature->data(), global.data(), global.size(), key32) != 0)
    return "the global signature does not verify";

  const std::optional<bool> named = CommentNamesFile(comment, fileName);
  if (!named) return "the trusted comment names no file";
  if (!*named) return "the trusted comment names another file";
  return "";
}

}  // namespace velmaris
