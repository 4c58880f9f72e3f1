#pragma once
// The check of a file's minisign signature. A minisign public key is the
// base64 of "Ed", an 8-byte key id and a 32-byte Ed25519 key. A signature
// file holds four lines: "untrusted comment: ...", the base64 of the
// algorithm ("Ed": signed over the file's bytes, "ED": over their
// BLAKE2b-512), the key id and the 64-byte signature, then
// "trusted comment: <text>", then the base64 of the 64-byte global signature
// over the signature and that text. Ed25519 and BLAKE2b are libsodium's.

#include <memory>
#include <string>
#include <string_view>

namespace velmaris {

// The BLAKE2b-512 of bytes fed in order: what a hashed ("ED") signature
// signs. Fed as a download arrives, it spares the check a second pass over
// the file.
class Blake2b512 {
 public:
  Blake2b512();
  ~Blake2b512();
  Blake2b512(const Blake2b512&) = delete;
  Blake2b512& operator=(const Blake2b512&) = delete;

  void Update(std::string_view bytes);
  // The 64 bytes of the digest of all that was fed so far.
  std::string Digest() const;

 private:
  struct State;
  std::unique_ptr<State> mState;
};

// Checks that the signature file at signaturePath signs the file at path
// with publicKey (the base64 line of a minisign public key, or the whole text
// of a .pub file), and that its trusted comment carries the tab-separated
// field "file:" + fileName, so that a file signed under another name is
// refused. Returns "" when every check passes; otherwise one short English
// line that names the check that failed, such as "the key id does not match
// the key". The file is never copied into memory: under "ED" it is hashed
// in a stream, or digest is taken for its BLAKE2b-512 when the caller gives
// one (a Blake2b512 fed with the file's bytes as they were written); under
// "Ed" it is verified from a read-only memory map.
std::string VerifyMinisignSignature(const std::string& publicKey, const std::string& path,
                                    const std::string& signaturePath, const std::string& fileName,
                                    const std::string& digest = "");

}  // namespace velmaris
