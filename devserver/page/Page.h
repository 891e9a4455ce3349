#pragma once

#include "devserver/net/Http.h"
#include "devserver/page/EventFeed.h"

#include <optional>

namespace orv::devserver {

/// The page for browsers: its files, and the stream of events that it reads. I/O thread only.
class Page {
 public:
  EventFeed& feed() { return feed_; }

  /// The answer to a request for the page; absent when it asks for something else.
  std::optional<HttpAnswer> answer(const HttpRequest& request);

 private:
  HttpAnswer stream(const HttpRequest& request);

  EventFeed feed_;
};

}  // namespace orv::devserver
