#include "orvnetwork/platform/native/tls/KeyPin.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

namespace {

constexpr std::size_t kDigestBytes = 32;
/// Of so many bytes: three become four characters, and two are left over.
constexpr std::size_t kPinLength = 44;

/// The bytes in base64.
std::string pinOf(const unsigned char* digest) {
  std::array<unsigned char, kPinLength + 1> text{};
  EVP_EncodeBlock(text.data(), digest, static_cast<int>(kDigestBytes));
  return {text.begin(), text.begin() + kPinLength};
}

}  // namespace

std::string keyPin(const X509* certificate) {
  unsigned char* der = nullptr;
  const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &der);
  if (size <= 0) return {};
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  const int hashed =
      EVP_Digest(der, static_cast<std::size_t>(size), digest.data(), nullptr, EVP_sha256(), nullptr);
  OPENSSL_free(der);
  return hashed == 1 ? pinOf(digest.data()) : std::string();
}

OptionalString readPin(std::string_view text) {
  // A pin may itself begin with a slash, so the length tells what stands in front.
  for (const std::string_view front : {"sha256/", "sha256//"}) {
    if (text.size() == front.size() + kPinLength && text.starts_with(front)) {
      text.remove_prefix(front.size());
      break;
    }
  }
  if (text.size() != kPinLength) return std::nullopt;
  // One byte more than there are: the padding is decoded too.
  std::array<unsigned char, kDigestBytes + 1> bytes{};
  const int size = EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                   static_cast<int>(text.size()));
  // Blanks, missing padding and bits left over are decoded as well, but do not come out as they went in.
  if (size != static_cast<int>(bytes.size()) || pinOf(bytes.data()) != text) return std::nullopt;
  return std::string(text);
}

}  // namespace orv
