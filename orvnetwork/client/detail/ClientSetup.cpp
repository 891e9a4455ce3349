#include "orvnetwork/client/detail/ClientSetup.h"

#include <orvnetwork/client/detail/PlainText.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/HomeFolder.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PrivateFolder.h>
#include <orvnetwork/support/QXPathManager.h>

#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace orv {

namespace {

constexpr std::string_view kNoPlainText = " is no text of 1 to 256 bytes without control characters";

bool isAbsolute(const std::string& path) {
  return path.starts_with('/') && path.find('\0') == std::string::npos;
}

std::optional<Error> errorInServer(const std::string& server) {
  if (server.empty()) return clientError(ClientError::BadServer, "the address of the server is missing");
  const auto url = parseUrl(server);
  // The address itself is not repeated: it may hold a password.
  if (!url) {
    return clientError(ClientError::BadServer,
                       "the address of the server is none, such as wss://example.org/link");
  }
  if (url->isForWebSocket()) return std::nullopt;
  return clientError(ClientError::BadServer, "the address of the server begins with " + url->scheme +
                                                 ":, where ws: or wss: is needed");
}

std::optional<Error> errorInInstallation(const ClientOptions& options) {
  if (options.installation && !isPlainText(*options.installation)) {
    return clientError(ClientError::BadInstallation,
                       "the identifier of the installation" + std::string(kNoPlainText));
  }
  if (!options.installation && options.installationFile && !isAbsolute(*options.installationFile)) {
    return clientError(
        ClientError::BadInstallation,
        "the file of the installation's identifier has no absolute path: " + *options.installationFile);
  }
  return std::nullopt;
}

}  // namespace

Error clientError(ClientError code, std::string description) {
  return {std::string(kClientErrorDomain), static_cast<std::int64_t>(code), std::move(description)};
}

std::optional<Error> errorInOptions(const ClientOptions& options) {
  if (auto error = errorInServer(options.server)) return error;
  for (const auto& [name, text] :
       {std::pair{"version", &options.version}, std::pair{"build", &options.build}}) {
    if (text->empty()) {
      return clientError(ClientError::BadVersion, std::string("the ") + name + " is missing");
    }
    if (!isPlainText(*text)) {
      return clientError(ClientError::BadVersion, std::string("the ") + name + std::string(kNoPlainText));
    }
  }
  if (auto error = errorInInstallation(options)) return error;
  if (options.home && !isAbsolute(*options.home)) {
    return clientError(ClientError::BadHome, "the home has no absolute path: " + *options.home);
  }
  return std::nullopt;
}

std::optional<Error> moveIn(const ClientOptions& options) {
  if (!options.home) return std::nullopt;
  const std::string home = appendPathComponent(*options.home, "");
  auto& files = Platform::current().files();
  std::error_code error;
  if (!files.isDirectory(home)) {
    if (files.exists(home)) return clientError(ClientError::BadHome, "the home is no folder: " + home);
    if (!files.createDirectory(home, true, kPrivateFolderMode, error)) {
      return clientError(ClientError::BadHome, "the home cannot be made: " + home + ": " + error.message());
    }
  }
  OptionalString former = HomeFolder::chosen();
  HomeFolder::choose(home);
  // It reads the folders when it is made, and all that the library keeps lies below them.
  const std::string& inUse = QXPathManager::sharedManager().homeDirectory();
  if (inUse == home) return std::nullopt;
  HomeFolder::choose(std::move(former));
  return clientError(ClientError::HomeInUse, "the library works in another home already: " + inUse);
}

}  // namespace orv
