#include "orvnetwork/platform/ProxyChoice.h"

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/ThisMachine.h>
#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/detail/ProxyExceptions.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace orv {

namespace {

// Whoever can send a request to a web server sets HTTP_PROXY for the programs that it starts, so it does not count.
constexpr std::array kSecureVariables = {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};
constexpr std::array kPlainVariables = {"http_proxy", "all_proxy", "ALL_PROXY"};
constexpr std::array kExceptionVariables = {"no_proxy", "NO_PROXY"};

/// The first of them that says something; an empty variable counts as one that is not set.
std::optional<ProxyVariables::value_type> firstSetOf(std::span<const char* const> names,
                                                     const ProxyVariables& variables) {
  for (const char* name : names) {
    const auto found = variables.find(std::string_view(name));
    if (found != variables.end() && !found->second.empty()) return *found;
  }
  return std::nullopt;
}

Result<ProxyChoice> fromSettings(const Proxy& proxy) {
  if (proxy.host.empty() || proxy.port == 0) {
    return Error{websocket_error::kProxyDomain, websocket_error::kBadProxy,
                 "the settings of the proxy lack its host or its port"};
  }
  return ProxyChoice{proxy, ProxyReason::Settings, {}};
}

Result<ProxyChoice> fromVariable(const std::optional<ProxyVariables::value_type>& variable) {
  if (!variable) return ProxyChoice{{}, ProxyReason::NoVariable, {}};
  Result<Proxy> proxy = parseProxy(variable->second);
  if (proxy) return ProxyChoice{*std::move(proxy), ProxyReason::Variable, variable->first};
  Error error = std::move(proxy).error();
  error.description = "the variable " + variable->first + " names no proxy: " + error.description;
  return error;
}

}  // namespace

ProxyVariables readProxyVariables() {
  ProxyVariables variables;
  const auto read = [&variables](std::span<const char* const> names) {
    for (const char* name : names) {
      if (const char* value = std::getenv(name)) variables.insert_or_assign(name, value);
    }
  };
  read(kSecureVariables);
  read(kPlainVariables);
  read(kExceptionVariables);
  return variables;
}

Result<ProxyChoice> chooseProxy(const ProxySettings& settings, std::string_view url,
                                const ProxyVariables& variables) {
  const auto parts = parseUrl(url);
  if (settings.source == ProxySource::None || !parts || !parts->isForWebSocket()) return ProxyChoice{};
  if (isThisMachine(parts->server.host)) return ProxyChoice{{}, ProxyReason::ThisMachine, {}};

  const bool isFixed = settings.source == ProxySource::Fixed;
  const bool isSecure = parts->isSecure();
  const std::uint16_t port =
      parts->server.port != 0 ? parts->server.port : std::uint16_t(isSecure ? 443 : 80);
  const auto exceptions = firstSetOf(kExceptionVariables, variables);
  const std::string noExceptions;
  const std::string& list = isFixed ? settings.exceptions : exceptions ? exceptions->second : noExceptions;
  if (isExcepted(list, parts->server.host, port)) {
    return ProxyChoice{{}, ProxyReason::Excepted, isFixed ? "" : exceptions->first};
  }
  if (isFixed) return fromSettings(settings.proxy);
  return fromVariable(isSecure ? firstSetOf(kSecureVariables, variables)
                               : firstSetOf(kPlainVariables, variables));
}

}  // namespace orv
