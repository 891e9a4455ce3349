#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Result.h>
#include <orvnetwork/platform/ProxySettings.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// Variables of the environment, by name.
using ProxyVariables = std::map<std::string, std::string, std::less<>>;

/// Why a link goes the way it goes.
enum class ProxyReason {
  NotWanted,    ///< straight: the settings name no proxy
  NoVariable,   ///< straight: no variable of the environment names one for this kind of server
  ThisMachine,  ///< straight: the server is on this machine
  Excepted,     ///< straight: the server is one of the exceptions
  Settings,     ///< through the proxy of the settings
  Variable      ///< through the proxy that a variable of the environment names
};

/// The way out for one server.
///
///     const auto choice = orv::chooseProxy(settings, "wss://classroom.example.org", orv::readProxyVariables());
///     if (choice && choice->proxy) show("through " + orv::shownProxy(*choice->proxy));
struct ProxyChoice {
  /// Absent: straight to the server.
  std::optional<Proxy> proxy{};
  ProxyReason reason = ProxyReason::NotWanted;
  /// The variable that has decided, as it is spelled; "" where none has.
  std::string variable{};

  bool operator==(const ProxyChoice&) const = default;
};

/// Reads those variables of this process's environment that say something of proxies. Any thread, but nobody may change
/// the environment meanwhile: the system gives no protection there, so a program sets its variables before it starts
/// threads, or on the thread that reads them. A socket reads them on the thread that opens it.
ORV_EXPORT ProxyVariables readProxyVariables();

/// Says how to get to the server at `url`, which has the scheme ws or wss (http and https mean the same). Servers on this
/// machine, by their name or number, are reached straight; so is what is no such address.
///
/// For wss the first of "https_proxy", "HTTPS_PROXY", "all_proxy" and "ALL_PROXY" counts that is not empty, for ws the
/// first of "http_proxy", "all_proxy" and "ALL_PROXY". The exceptions are in "no_proxy", or else in "NO_PROXY".
///
/// @return the way; or an error of the domain "OrvProxy" when the settings, or the variable that its text names, hold
/// nothing that could be a proxy. The text never holds a user or a password. Any thread.
ORV_EXPORT Result<ProxyChoice> chooseProxy(const ProxySettings& settings, std::string_view url,
                                           const ProxyVariables& variables);

}  // namespace orv
