#pragma once

#include <memory>

struct evp_pkey_st;
struct ssl_ctx_st;
struct ssl_session_st;
struct ssl_st;
struct x509_st;

namespace orv {

/// Gives objects of the TLS library back to it.
struct OpenSslFree {
  void operator()(evp_pkey_st* key) const noexcept;
  void operator()(ssl_ctx_st* context) const noexcept;
  void operator()(ssl_session_st* session) const noexcept;
  void operator()(ssl_st* session) const noexcept;
  void operator()(x509_st* certificate) const noexcept;
};

/// Owns one reference to an object of the TLS library.
template <typename T>
using OpenSslOwned = std::unique_ptr<T, OpenSslFree>;

}  // namespace orv
