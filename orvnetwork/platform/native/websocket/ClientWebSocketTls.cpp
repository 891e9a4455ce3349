// TLS on the way to an open socket: the settings are carried out before anything connects, and what the handshake was
// is written down, be it good or not. With TLS 1.3 a server looks at the client's certificate when the handshake is
// over for the client: what it says then comes with a later read.

#include "orvnetwork/platform/native/websocket/ClientWebSocket.h"

#include <orvnetwork/platform/TlsSettings.h>
#include <orvnetwork/platform/native/tls/TlsContexts.h>
#include <orvnetwork/platform/native/tls/TlsSession.h>

#include <memory>
#include <optional>
#include <utility>

namespace orv {

/// False when the settings are of no use; the attempt has failed then.
bool ClientWebSocket::prepareTls() {
  auto context = tlsContextFor(request_.network ? request_.network->tls : TlsSettings{});
  if (!context) {
    fail(std::move(context).error());
    return false;
  }
  tlsContext_ = *std::move(context);
  return true;
}

void ClientWebSocket::startTls(const WebSocketUrl& url) {
  recorder_.begin(ConnectStep::Tls);
  const bool resumes = !request_.network || request_.network->tls.resumes;
  SSL* const session = newTlsSession(std::move(tlsContext_), {url.host, url.port, resumes});
  if (session == nullptr) return fail({websocket_error::kTlsDomain, 0, "no TLS session for this host"});
  stream().startTls(session,
                    [self = shared_from_this(), this, url](const error_code& error) { onTls(url, error); });
}

void ClientWebSocket::onTls(const WebSocketUrl& url, const error_code& error) {
  recorder_.end(ConnectStep::Tls);
  recordTls();
  if (error.category() == asio::error::get_misc_category() || error == asio::ssl::error::stream_truncated) {
    return fail(
        {websocket_error::kTlsDomain, error.value(), "the peer ended the stream during the TLS handshake"});
  }
  if (error) return fail(errorOf(error));
  if (auto flaw = tlsHandshakeFlaw(stream().tlsSession())) return fail(*std::move(flaw));
  startHandshake(url);
}

void ClientWebSocket::recordTls() {
  ConnectReport report;
  reportTls(stream().tlsSession(), report);
  recorder_.chainCame(std::move(report.chain));
  recorder_.tlsBytes(report.tlsBytes);
  if (report.tlsVersion && report.tlsCipher) {
    recorder_.tlsAgreed(*report.tlsVersion, *report.tlsCipher, report.tlsResumed);
  }
}

bool ClientWebSocket::isTlsError(const error_code& error) {
  return error.category() == asio::error::get_ssl_category();
}

Error ClientWebSocket::errorOf(const error_code& error) {
  if (isTlsError(error)) {
    return tlsSessionError(stream().tlsSession(), static_cast<unsigned long>(error.value()));
  }
  return systemError(error);
}

}  // namespace orv
