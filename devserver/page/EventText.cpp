#include "devserver/page/EventText.h"

#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/data/Utf8.h>

#include "devserver/school/ReadJson.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <string_view>
#include <utility>

namespace orv::devserver {

namespace json = boost::json;

namespace {

/// Levels of a value that is shown as a tree; a deeper one is shown as text.
constexpr std::size_t kMaxDepth = 100;
/// A name that clients give their passwords beside those that are on the wire.
constexpr std::string_view kAnotherSecret = "password";
/// Bytes that are shown of what is no text.
constexpr std::size_t kShownBytes = 256;

const char* name(PassedFrame::Kind kind) {
  using Kind = PassedFrame::Kind;
  switch (kind) {
    case Kind::Opened:
      return "opened";
    case Kind::Closed:
      return "closed";
    case Kind::Ping:
      return "ping";
    case Kind::Request:
      return "request";
    case Kind::Unread:
      return "unread";
    case Kind::Malformed:
      return "malformed";
    case Kind::BinaryIn:
    case Kind::BinaryOut:
      return "binary";
    case Kind::Pong:
      return "pong";
    case Kind::Reply:
      return "reply";
    case Kind::Push:
      return "push";
    case Kind::Wire:
      return "wire";
  }
  return "";
}

const char* direction(const PassedFrame& frame) {
  if (frame.kind == PassedFrame::Kind::Opened || frame.kind == PassedFrame::Kind::Closed) return "none";
  return frame.incoming() ? "in" : "out";
}

json::array faultNames(unsigned faults) {
  constexpr std::pair<unsigned, const char*> kNames[] = {
      {PassedFrame::kDropped, "dropped"},      {PassedFrame::kDelayed, "delayed"},
      {PassedFrame::kReordered, "reordered"},  {PassedFrame::kCopy, "copy"},
      {PassedFrame::kWrongStamp, "wrong s"},   {PassedFrame::kErrorCode, "error code"},
      {PassedFrame::kUnanswered, "no answer"}, {PassedFrame::kWrongAnswer, "wrong answer"}};
  json::array names;
  for (const auto& [bit, text] : kNames) {
    if ((faults & bit) != 0) names.emplace_back(text);
  }
  return names;
}

bool isText(const PassedFrame& frame) {
  using Kind = PassedFrame::Kind;
  return frame.kind != Kind::BinaryIn && frame.kind != Kind::BinaryOut && frame.kind != Kind::Wire;
}

/// 48 65 6c 6c 6f
std::string hexadecimal(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char c : bytes.substr(0, kShownBytes)) {
    const auto byte = static_cast<unsigned char>(c);
    if (!text.empty()) text += ' ';
    text += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

/// Bytes that are not ASCII as \xNN.
std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x80) {
      result += c;
    } else {
      result += "\\x" + hexadecimal({&c, 1});
    }
  }
  return result;
}

bool isWord(int c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

/// Letters and digits that were written as \u00NN as themselves: a name may be written so, and is to be known.
std::string withPlainLetters(std::string_view text) {
  constexpr std::string_view kEscape = "\\u00";
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    int letter = 0;
    if (text.substr(at, kEscape.size()) == kEscape && text.size() >= at + 6 &&
        std::from_chars(text.data() + at + 4, text.data() + at + 6, letter, 16).ptr == text.data() + at + 6 &&
        isWord(letter)) {
      result += static_cast<char>(letter);
      at += 6;
    } else {
      result += text[at++];
    }
  }
  return result;
}

void describeText(json::object& event, std::string_view text, bool cut) {
  if (cut) text = withoutSplitUtf8(text);
  // First, since what escapes a byte ends in a letter that would hide the beginning of a name.
  const std::string shown = hideSecrets(withPlainLetters(text), kAnotherSecret);
  event["text"] = isUtf8(shown) ? shown : escaped(shown);
}

/// Puts what a JSON object tells into the event; false when the text holds none.
bool describeObject(json::object& event, std::string_view text) {
  json::error_code error;
  json::value value = readJson(text, error, kMaxDepth);
  if (error || !value.is_object()) return false;
  hideSecretsInPlace(value, kAnotherSecret);
  const json::object& frame = value.get_object();
  for (const char* key : {"c", "C"}) {
    const json::value* command = frame.if_contains(key);
    if (command != nullptr && command->is_string() && !event.contains("command")) event["command"] = *command;
  }
  event["frame"] = std::move(value);
  return true;
}

void describePayload(json::object& event, const PassedFrame& frame) {
  const bool cut = frame.bytes.size() < frame.size;
  if (!isText(frame)) {
    event["hex"] = hexadecimal(hideSecrets(frame.bytes, kAnotherSecret));
    if (frame.size > kShownBytes) event["truncated"] = true;
    return;
  }
  if (!cut && describeObject(event, frame.bytes)) return;
  describeText(event, frame.bytes, cut);
  if (cut) event["truncated"] = true;
}

}  // namespace

std::string eventText(const PassedFrame& frame) {
  using std::chrono::microseconds;
  json::object event;
  event["number"] = frame.number;
  event["time"] =
      static_cast<double>(std::chrono::duration_cast<microseconds>(frame.time.time_since_epoch()).count()) /
      1000;
  event["direction"] = direction(frame);
  event["kind"] = name(frame.kind);
  event["connection"] = frame.connection;
  event["user"] = frame.user;
  event["bytes"] = frame.size;
  if (!frame.command.empty()) {
    const std::string shown = hideSecrets(frame.command, kAnotherSecret);
    event["command"] = isUtf8(shown) ? shown : escaped(shown);
  }
  if (frame.code) event["code"] = *frame.code;
  if (frame.sinceRequest) event["ms"] = static_cast<double>(frame.sinceRequest->count()) / 1000;
  if (frame.faults != 0) event["faults"] = faultNames(frame.faults);
  if (std::string_view(direction(frame)) != "none") describePayload(event, frame);
  return json::serialize(event);
}

}  // namespace orv::devserver
