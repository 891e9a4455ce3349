#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>

#include <optional>
#include <string>
#include <vector>

namespace orv {

/// One try to connect to one address.
struct AddressAttempt {
  /// Numeric, without the port: "192.0.2.7" or "2001:db8::7".
  std::string address;
  /// When it began, counted from the beginning of the attempt, and how long it took or has taken.
  Seconds begun{0};
  Seconds took{0};
  /// Whether it is the one that connected.
  bool won = false;
  /// Why it failed; absent where it won, or was given up because another one won.
  std::optional<Error> error{};
};

/// What is told of one certificate of a chain.
struct CertificateSummary {
  std::string subject;
  std::string issuer;
  /// The names and addresses that it is for.
  std::vector<std::string> names{};
  WallTime notBefore{};
  WallTime notAfter{};
  /// SHA-256 of its public key in base64, as `TlsSettings::pins` takes it.
  std::string pin;
};

/// One line of the header of an HTTP answer.
struct AnswerHeader {
  /// As it is usually written: "Server".
  std::string name;
  std::string value;

  bool operator==(const AnswerHeader&) const = default;
};

/// What one attempt to connect met on its way, as far as it has come. Times are those of each step by itself; a step that
/// was not reached, or is not needed, has none.
struct ConnectReport {
  /// The look-up of the name, the server's or the proxy's; absent for a numeric address.
  std::optional<Seconds> name{};
  /// The connection to an address.
  std::optional<Seconds> connect{};
  /// The talk with the proxy.
  std::optional<Seconds> proxy{};
  std::optional<Seconds> tls{};
  /// The change from HTTP to WebSocket.
  std::optional<Seconds> upgrade{};

  /// The addresses that the name has, the server's or the proxy's, in the order in which they became known and as far as they
  /// had to be waited for: numeric, at most 32. Empty for a numeric address.
  std::vector<std::string> addresses{};
  /// The tries to connect, in the order in which they began.
  std::vector<AddressAttempt> attempts{};
  /// The proxy that the attempt goes through, without user and password; absent where it goes straight.
  OptionalString throughProxy{};

  /// As the TLS library names them, such as "TLSv1.3" and "TLS_AES_256_GCM_SHA384".
  OptionalString tlsVersion{};
  OptionalString tlsCipher{};
  /// Whether the handshake went on from an earlier one.
  bool tlsResumed = false;
  /// The server's certificate and those behind it, as it sent them, also when they were refused; empty after a handshake
  /// that was resumed.
  std::vector<CertificateSummary> chain{};
  /// Bytes of the TLS handshake, both ways together.
  std::size_t tlsBytes = 0;

  /// Status of the answer to the upgrade; 0 for none.
  int httpStatus = 0;
  /// What an answer that does not open the link says of who has answered and what it wants, in its order: "Server", "Via",
  /// "Location" (without a user, and without what stands behind "?"), "Content-Type", "Retry-After", "Upgrade",
  /// "WWW-Authenticate" and "Proxy-Authenticate". Others' words: at most 16 of 200 bytes, UTF-8, without control characters,
  /// and with secrets hidden as `hideSecrets` does. Empty for an answer that opens it.
  std::vector<AnswerHeader> answerHeaders{};
  /// The clock of the server by the "Date" header of that answer, and this machine's when it came.
  std::optional<WallTime> serverDate{};
  std::optional<WallTime> answeredAt{};
};

}  // namespace orv
