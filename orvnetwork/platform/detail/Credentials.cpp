#include "orvnetwork/platform/detail/Credentials.h"

#include <openssl/evp.h>

#include <cstddef>

namespace orv {

namespace {

unsigned hexValue(char c) {
  return static_cast<unsigned>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
}

}  // namespace

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      decoded += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

std::string base64(std::string_view bytes) {
  std::string encoded((bytes.size() + 2) / 3 * 4 + 1, '\0');
  const int length =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                      reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
  encoded.resize(static_cast<std::size_t>(length));
  return encoded;
}

std::string basicAuthorization(std::string_view userAndPassword) {
  return "Basic " + base64(userAndPassword);
}

}  // namespace orv
