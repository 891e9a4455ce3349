#include "bench/peers/server/Handshake.h"

#include <openssl/evp.h>
#include <strings.h>

#include <cstddef>

namespace peers {

namespace {

/// The value of a header's field, whose name may be written in any letters.
std::string_view fieldOf(std::string_view request, std::string_view name) {
  for (std::size_t line = 0; (line = request.find("\r\n", line)) != std::string_view::npos;) {
    line += 2;
    const std::string_view rest = request.substr(line);
    if (rest.size() <= name.size() || ::strncasecmp(rest.data(), name.data(), name.size()) != 0) continue;
    const auto begin = rest.find_first_not_of(' ', name.size());
    const auto end = rest.find("\r\n");
    if (begin < end && end != std::string_view::npos) return rest.substr(begin, end - begin);
  }
  return {};
}

}  // namespace

std::string answerToHandshake(std::string_view request) {
  const std::string_view key = fieldOf(request, "Sec-WebSocket-Key:");
  if (key.empty()) return {};
  const std::string text = std::string(key) + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  EVP_Digest(text.data(), text.size(), digest, &size, EVP_sha1(), nullptr);
  unsigned char accept[64] = {};
  EVP_EncodeBlock(accept, digest, static_cast<int>(size));
  return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Accept: " +
         std::string(reinterpret_cast<const char*>(accept)) + "\r\n\r\n";
}

}  // namespace peers
