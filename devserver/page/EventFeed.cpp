#include "devserver/page/EventFeed.h"

#include "devserver/page/EventText.h"

#include <boost/json/serialize.hpp>

#include <charconv>
#include <chrono>
#include <system_error>
#include <utility>

namespace orv::devserver {

namespace json = boost::json;

EventFeed::EventFeed() : run_(std::to_string(std::chrono::system_clock::now().time_since_epoch().count())) {}

void EventFeed::stopped() {
  readers_.clear();
  network_ = nullptr;
  refreshing_ = serving_ = false;
}

void EventFeed::add(PassedFrame frame, std::string_view payload) {
  history_.add(std::move(frame), payload);
  if (!readers_.empty()) serveLater();
}

void EventFeed::attach(std::shared_ptr<HttpStream> stream, std::string_view lastEvent) {
  makeRoom();
  auto reader = std::make_shared<Reader>(Reader{std::move(stream), history_.first()});
  readers_.push_back(reader);
  reader->stream->setOnDrained([this, weak = std::weak_ptr(reader)] {
    if (auto alive = weak.lock()) serve(*alive);
  });
  reader->stream->setOnClosed([this, weak = std::weak_ptr(reader)] {
    if (auto alive = weak.lock()) std::erase(readers_, alive);
  });
  greet(*reader, lastEvent);
  refreshState();
  serve(*reader);
  refreshStateLater();
}

void EventFeed::makeRoom() {
  if (readers_.size() < kMaxReaders) return;
  const auto stream = readers_.front()->stream;
  readers_.erase(readers_.begin());
  stream->end();
}

void EventFeed::greet(Reader& reader, std::string_view lastEvent) {
  const std::size_t dash = lastEvent.find('-');
  std::uint64_t last = 0;
  bool resumed = dash != lastEvent.npos && lastEvent.substr(0, dash) == run_;
  if (resumed) {
    const char* end = lastEvent.data() + lastEvent.size();
    const auto read = std::from_chars(lastEvent.data() + dash + 1, end, last);
    resumed = read.ec == std::errc() && read.ptr == end && last < history_.next();
  }
  if (resumed) reader.next = last + 1;
  json::object hello;
  hello["resumed"] = resumed;
  hello["next"] = reader.next;
  hello["keptFrames"] = kMaxFrames;
  hello["keptBytes"] = kMaxBytes;
  reader.stream->write(event("hello", json::serialize(hello)));
}

/// Frames that pass together go out together.
void EventFeed::serveLater() {
  if (std::exchange(serving_, true)) return;
  network_->post([this] {
    serving_ = false;
    for (const auto& reader : std::vector(readers_)) serve(*reader);
  });
}

void EventFeed::serve(Reader& reader) {
  HttpStream& stream = *reader.stream;
  if (reader.stateVersion != stateVersion_ && stream.waiting() < kMaxWaiting) {
    reader.stateVersion = stateVersion_;
    stream.write(event("state", stateText_));
  }
  // Beyond the bound it goes on when the stream has drained.
  while (reader.next < history_.next() && stream.waiting() < kMaxWaiting) {
    if (reader.next < history_.first()) {
      const std::uint64_t skipped = history_.first() - std::exchange(reader.next, history_.first());
      stream.write(event("skipped", R"({"frames":)" + std::to_string(skipped) + "}"));
    }
    const std::uint64_t number = reader.next++;
    stream.write(event("frame", textOf(number), run_ + "-" + std::to_string(number)));
  }
}

const std::string& EventFeed::textOf(std::uint64_t number) {
  if (std::exchange(lastNumber_, number) != number) lastText_ = eventText(history_.at(number));
  return lastText_;
}

void EventFeed::refreshState() {
  std::string text = json::serialize(state_());
  if (text == stateText_) return;
  stateText_ = std::move(text);
  ++stateVersion_;
}

void EventFeed::refreshStateLater() {
  if (readers_.empty() || std::exchange(refreshing_, true)) return;
  network_->runAfter(kStateInterval, [this] {
    refreshing_ = false;
    if (readers_.empty()) return;
    refreshState();
    for (const auto& reader : std::vector(readers_)) serve(*reader);
    refreshStateLater();
  });
}

std::string EventFeed::event(std::string_view name, std::string_view data, std::string_view id) {
  std::string text = "event: " + std::string(name) + "\n";
  if (!id.empty()) text.append("id: ").append(id).append("\n");
  return text.append("data: ").append(data).append("\n\n");
}

}  // namespace orv::devserver
