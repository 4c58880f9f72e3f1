#include "base/TLSTrust.h"

#include <QFileInfo>
#include <QSslCertificate>
#include <QSslSocket>
#include <QStringList>
#include <cstdlib>
#include <utility>

namespace velmaris {

namespace {

// The names that a certificate is valid for: its alternative names, or its common name.
String NamesOf(const QSslCertificate& certificate) {
  QStringList names;
  const auto alternatives = certificate.subjectAlternativeNames();
  for (auto it = alternatives.cbegin(); it != alternatives.cend(); ++it) names << it.value();
  if (names.isEmpty()) names = certificate.subjectInfo(QSslCertificate::CommonName);
  return names.isEmpty() ? "no name" : names.join(", ").toStdString();
}

String IssuerOf(const QSslCertificate& certificate) {
  const QStringList issuer = certificate.issuerInfo(QSslCertificate::CommonName);
  return issuer.isEmpty() ? "unnamed" : "\"" + issuer.join(", ").toStdString() + "\"";
}

// The system's authorities as one list: its bundle file where the system
// has one (each certificate once; its folder holds them twice, as single
// files and in the bundle, which costs twice the memory), else all it holds.
QList<QSslCertificate> SystemAuthorities() {
#ifndef __APPLE__
  for (const char* bundle : {"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt",
                             "/etc/ssl/ca-bundle.pem", "/etc/ssl/cert.pem"}) {
    if (QFileInfo::exists(bundle)) return QSslCertificate::fromPath(bundle);
  }
#endif
  return QSslConfiguration::systemCaCertificates();
}

}  // namespace

QSslConfiguration TrustedConfiguration() {
  // Made once for each value of SSL_CERT_FILE: reading the authorities
  // takes a tenth of a second.
  static std::pair<String, QSslConfiguration> made = {"\n", {}};
  const char* variable = std::getenv("SSL_CERT_FILE");
  const String bundle = variable != nullptr ? variable : "";
  if (made.first == bundle) return made.second;
  QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
  configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
  if (bundle != "") {
    // Set explicitly, the list replaces the store that Qt would read on
    // demand: the system's authorities are put in first.
    configuration.setCaCertificates(SystemAuthorities() + QSslCertificate::fromPath(QString::fromStdString(bundle)));
  }
  made = {bundle, configuration};
  return configuration;
}

String CertificateRefusal(const QList<QSslError>& errors, const String& server) {
  if (errors.isEmpty()) return "TLS handshake with " + server + " failed";
  const QSslError& error = errors.first();
  const QSslCertificate& certificate = error.certificate();
  switch (error.error()) {
    case QSslError::SelfSignedCertificate:
      return "certificate is self-signed (" + server + ")";
    case QSslError::SelfSignedCertificateInChain:
    case QSslError::UnableToGetLocalIssuerCertificate:
    case QSslError::UnableToGetIssuerCertificate:
    case QSslError::UnableToVerifyFirstCertificate:
    case QSslError::CertificateUntrusted:
      return "certificate is not trusted: its issuer " + IssuerOf(certificate) +
             " is not among the trusted authorities (" + server + "; SSL_CERT_FILE may name a bundle of more)";
    case QSslError::HostNameMismatch:
      return "host name mismatch (" + server + " shows a certificate for " + NamesOf(certificate) + ")";
    case QSslError::CertificateExpired:
      return "certificate has expired (" + server + ")";
    case QSslError::CertificateNotYetValid:
      return "certificate is not valid yet (" + server + "; is the clock right?)";
    default:
      return "certificate refused (" + server + "): " + error.errorString().toStdString();
  }
}

}  // namespace velmaris
