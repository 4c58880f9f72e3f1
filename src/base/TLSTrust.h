#pragma once
// What a TLS connection trusts, and why it refused a server, in words that
// a support person can act on.

#include <QList>
#include <QSslConfiguration>
#include <QSslError>

#include "base/StringFunctions.h"

namespace velmaris {

// The system's trust store, plus the certificates of the PEM bundle that
// SSL_CERT_FILE names when it is set (the convention of curl, OpenSSL,
// Python and git). Verification of the peer and of its host name is on;
// the handshake's errors go through StandingErrors.
QSslConfiguration TrustedConfiguration();

// The errors of a handshake that stand once the chain that the server sent
// has been checked against the system's store too: none when an authority
// there ends it and the host name is one of its names.
QList<QSslError> StandingErrors(const QList<QSslError>& errors, const QList<QSslCertificate>& chain,
                                const String& hostName);

// The reason of the first error that stopped the handshake, naming the
// server ("certificate is self-signed (updates.example.com)").
String CertificateRefusal(const QList<QSslError>& errors, const String& server);

}  // namespace velmaris
