#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/transport/FrameTrace.h>

#include <string>
#include <string_view>

namespace orv {

/// A message as the trace tells it.
struct TraceText {
  std::string text;
  bool isJson = false;
};

/// Hides what the mode hides in the text of a message. What is no JSON is told by its size.
TraceText traceTextOf(std::string_view message, TraceMode mode);

/// What is told of a message whose text is not known, such as a binary one.
std::string sizeText(std::size_t bytes);

/// A server's address without user, password and what else is secret.
std::string addressText(std::string_view url);

}  // namespace orv
