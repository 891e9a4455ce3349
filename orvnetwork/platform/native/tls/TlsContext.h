#pragma once

#include <orvnetwork/data/Result.h>
#include <orvnetwork/platform/TlsSettings.h>
#include <orvnetwork/platform/native/tls/OpenSslOwned.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orv {

/// Settings carried out: the roots that are trusted, the pins, the lowest version, and what the client shows of itself.
/// What hosts can set is read once, here; sessions share it.
class TlsContext {
 public:
  /// Reads the files that the settings name, on the calling thread. The error says which piece of them is of no use.
  static Result<std::shared_ptr<const TlsContext>> make(const TlsSettings& settings);

  ssl_ctx_st* native() const { return native_.get(); }
  /// No other context of this process has it.
  std::uint64_t number() const { return number_; }
  /// In the form of `keyPin`; empty for any key.
  const std::vector<std::string>& pins() const { return pins_; }
  TlsVersion lowestVersion() const { return lowestVersion_; }
  /// Whether the client has a certificate to show.
  bool hasCertificate() const { return hasCertificate_; }

 private:
  TlsContext(OpenSslOwned<ssl_ctx_st> native, const TlsSettings& settings);

  const OpenSslOwned<ssl_ctx_st> native_;
  const std::uint64_t number_;
  const TlsVersion lowestVersion_;
  const bool hasCertificate_;
  std::vector<std::string> pins_;
};

}  // namespace orv
