#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace peers {

/// Replies that are ready but for their identifier.
class Replies {
 public:
  Replies();

  /// Adds the reply to a request, framed or as it is.
  void addFramed(std::string& out, std::string_view request) const;
  void addPlain(std::string& out, std::string_view request) const;

 private:
  const std::string framed_;
  const std::size_t head_;
};

/// Adds a frame of text that is not masked.
void addFrame(std::string& out, unsigned char opcode, std::string_view payload);

/// Undoes a client's masking in place.
void unmask(char* payload, std::size_t size, const char* key);

}  // namespace peers
