#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Why there is no link.
enum class LinkTrouble {
  NoNetwork,              ///< the network was reported as gone
  BadAddress,             ///< the address of the server is none
  NameNotFound,           ///< the name of the server is not known, or nobody who knows names answers
  Refused,                ///< nobody listens there
  Unreachable,            ///< there is no way to the server
  NoAnswer,               ///< the server has not answered, so far or within the limit
  CertificateExpired,     ///< the server's certificate is out of date
  CertificateOfAnother,   ///< it is for another host than the address names
  CertificateNotTrusted,  ///< it leads to nobody whom this machine trusts, or is wrong in another way
  TlsFailed,              ///< the server does not speak TLS, or not with us
  RefusedByHttp,   ///< the handshake was answered with an HTTP status of 400 or more, which the text names
  NoWebSocket,     ///< the handshake was answered by something that is no WebSocket server
  Unconfirmed,     ///< the socket is open, but the server has not answered "PING"
  ClosedByServer,  ///< the server closed the link, or ended the stream
  Lost,            ///< the connection broke, in a way that the text names
  CertificateNotPinned,     ///< none of the keys that are pinned is in the server's chain of certificates
  ClientCertificateWanted,  ///< the server wants a certificate of the client, and got none that it takes
  BadTlsSettings,           ///< what is set about TLS, such as a file of certificates, cannot be used
  BadProxy,                 ///< the settings name no proxy, or what answers there is none
  ProxyUnreachable,  ///< the proxy's name is not known, it cannot be connected to, or it does not answer
  ProxyRefusesUser,  ///< the proxy wants a user, or another one
  ProxyRefused,      ///< the proxy does not let us through to the server, or does not reach it
};

/// Its name, for a program that reads what another one writes: "noNetwork", "refused" and so on. Any thread.
ORV_EXPORT std::string_view nameOf(LinkTrouble trouble);

/// Why there is no link, for a program and for a person.
struct LinkFailure {
  LinkTrouble trouble = LinkTrouble::Lost;
  /// A part of a sentence in English, without a full stop: "the connection was refused". It may hold words of the
  /// server's, as they came.
  std::string text;
  /// What the socket said; empty where it has said nothing.
  Error cause;

  bool operator==(const LinkFailure&) const = default;
};

/// What a socket's error means. Any thread.
ORV_EXPORT LinkFailure linkFailureOf(const Error& error);
/// What a socket's close means; `reason` and `wasClean` are those of
/// `WebSocketDelegate::webSocket_didCloseWithCode_reason_wasClean`. Any thread.
ORV_EXPORT LinkFailure linkFailureOfClose(int code, const OptionalString& reason, bool wasClean);

}  // namespace orv
