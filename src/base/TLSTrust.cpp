#include "base/TLSTrust.h"

#include <QSslCertificate>
#include <QSslSocket>
#include <QStringList>
#include <algorithm>
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

// The errors that mean only "no trusted authority found for this chain".
bool IsUntrustedIssuer(const QSslError& error) {
  switch (error.error()) {
    case QSslError::SelfSignedCertificate:
    case QSslError::SelfSignedCertificateInChain:
    case QSslError::UnableToGetLocalIssuerCertificate:
    case QSslError::UnableToGetIssuerCertificate:
    case QSslError::UnableToVerifyFirstCertificate:
    case QSslError::CertificateUntrusted:
      return true;
    default:
      return false;
  }
}

// Linux's store is a folder that Qt reads on demand; macOS's keychain is
// read as one list, which the bundle's certificates then join.
#ifdef __APPLE__
constexpr bool kStoreReadOnDemand = false;
#else
constexpr bool kStoreReadOnDemand = true;
#endif

String CertificateBundle() {
  const char* variable = std::getenv("SSL_CERT_FILE");
  return variable != nullptr ? variable : "";
}

}  // namespace

// Without SSL_CERT_FILE, Qt's own configuration: it reads the system's
// authorities from their folder one at a time, as a chain needs them. With
// it, Qt can only take a list, and reading the whole system store into one
// costs each connection a tenth of a second and a megabyte and a half: the
// list holds the bundle alone, and StandingErrors asks the system's store
// only for a chain that the bundle doesn't end.
QSslConfiguration TrustedConfiguration() {
  static std::pair<String, QSslConfiguration> made = {"\n", {}};
  const String bundle = CertificateBundle();
  if (made.first == bundle) return made.second;
  QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
  configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
  if (bundle != "") {
    QList<QSslCertificate> authorities = QSslCertificate::fromPath(QString::fromStdString(bundle));
    if (!kStoreReadOnDemand) authorities += QSslConfiguration::systemCaCertificates();
    configuration.setCaCertificates(authorities);
  }
  made = {bundle, configuration};
  return configuration;
}

QList<QSslError> StandingErrors(const QList<QSslError>& errors, const QList<QSslCertificate>& chain,
                                const String& hostName) {
  // Asked again only when no authority of the bundle ends the chain and
  // nothing else is wrong with it but perhaps its names, which the check
  // against the system's store looks at too.
  const auto askedAgain = [](const QSslError& error) {
    return IsUntrustedIssuer(error) || error.error() == QSslError::HostNameMismatch;
  };
  if (!kStoreReadOnDemand || CertificateBundle() == "" || chain.isEmpty() ||
      std::none_of(errors.cbegin(), errors.cend(), IsUntrustedIssuer) ||
      !std::all_of(errors.cbegin(), errors.cend(), askedAgain)) {
    return errors;
  }
  return QSslCertificate::verify(chain, QString::fromStdString(hostName));
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
