#pragma once

#include "devserver/net/Http.h"
#include "devserver/page/EventFeed.h"

#include <optional>
#include <string_view>

namespace orv::devserver {

/// The page for browsers: its files, and the stream of events that it reads. I/O thread only.
class Page {
 public:
  EventFeed& feed() { return feed_; }

  /// Whether a target is a file that says nothing of what passes; the page itself is none, since it leads to all the rest.
  static bool isPublic(std::string_view target);

  /// The answer to a request for the page; absent when it asks for something else.
  std::optional<HttpAnswer> answer(const HttpRequest& request);

 private:
  HttpAnswer stream(const HttpRequest& request);

  EventFeed feed_;
};

}  // namespace orv::devserver
