#pragma once
// The check of a file's minisign signature. A minisign public key is the
// base64 of "Ed", an 8-byte key id and a 32-byte Ed25519 key. A signature
// file holds four lines: "untrusted comment: ...", the base64 of the
// algorithm ("Ed": signed over the file's bytes, "ED": over their
// BLAKE2b-512), the key id and the 64-byte signature, then
// "trusted comment: <text>", then the base64 of the 64-byte global signature
// over the signature and that text. Ed25519 and BLAKE2b are libsodium's.

#include <string>

namespace velmaris {

// Checks that the signature file at signaturePath signs the file at path
// with publicKey (the base64 line of a minisign public key, or the whole text
// of a .pub file), and that its trusted comment carries the tab-separated
// field "file:" + fileName, so that a file signed under another name is
// refused. Returns "" when every check passes; otherwise one short English
// line that names the check that failed, such as "the key id does not match
// the key". The file is never copied into memory: under "ED" it is hashed
// in a stream, under "Ed" it is verified from a read-only memory map.
std::string VerifyMinisignSignature(const std::string& publicKey, const std::string& path,
                                    const std::string& signaturePath, const std::string& fileName);

}  // namespace velmaris
