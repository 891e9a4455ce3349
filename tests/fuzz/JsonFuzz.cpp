// Whatever the bytes: reading ends, and what was read can be written and reads back as the same value. A frame of which
// only the head is read says what its values say.

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/transport/detail/FrameHead.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <tests/fuzz/Require.h>

#include <cmath>
#include <string>
#include <string_view>

namespace {

using namespace orv;
using orv::test::require;

/// Equality that takes 1.0 and 1 as the same, because whole reals are written without a fraction.
bool sameValue(const json::value& left, const json::value& right) {
  if (left.is_number() && right.is_number()) {
    return looseDouble(&left) == looseDouble(&right);
  }
  if (left.kind() != right.kind()) {
    return false;
  }
  if (const json::array* items = left.if_array()) {
    const json::array& others = right.get_array();
    bool same = items->size() == others.size();
    for (std::size_t at = 0; same && at < items->size(); ++at) {
      same = sameValue((*items)[at], others[at]);
    }
    return same;
  }
  if (const json::object* members = left.if_object()) {
    bool same = members->size() == right.get_object().size();
    for (const json::key_value_pair& entry : *members) {
      const json::value* other = right.get_object().if_contains(entry.key());
      same = same && other != nullptr && sameValue(entry.value(), *other);
    }
    return same;
  }
  return left == right;
}

void checkReadings(const json::value& value) {
  const std::int64_t whole = looseInt64(&value);
  const double real = looseDouble(&value);
  require(!std::isnan(real), "no reading is NaN");
  if (value.is_int64()) {
    require(whole == value.get_int64(), "integers read as themselves");
  }
  require(looseString(&value).has_value() == value.is_string(), "only text reads as text");
  looseInt32(&value);
  looseBool(&value);
  textOfNumber(value);
  if (const json::object* members = value.if_object()) {
    for (const json::key_value_pair& entry : *members) {
      checkReadings(entry.value());
    }
  } else if (const json::array* items = value.if_array()) {
    for (const json::value& item : *items) {
      checkReadings(item);
    }
  }
}

void checkRoundTrip(const json::value& value, const Result<std::string>& written) {
  if (!written) {
    require(written.error().description == "arrays and dictionaries are nested too deep",
            "what was read can be written");
    return;
  }
  const Result<json::value> again = parseJson(*written);
  require(static_cast<bool>(again), "what was written can be read");
  require(sameValue(value, *again), "what was written reads as the same value");
}

void checkHead(std::string_view text) {
  const auto head = FrameHead::read(text);
  if (!head) return;
  const auto whole = ReplyFrame::read(text);
  require(whole->isFrame(), "what has a head is a frame");
  const auto frame = ReplyFrame::ofHead(*head, std::string(text));
  require(
      frame->command == whole->command && frame->timestamp == whole->timestamp && frame->ret == whole->ret,
      "the head says what the values say");
  require(frame->dictionary() == whole->dictionary(), "its values are those of the frame");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  doubleFromText(text);
  int64FromText(text);
  checkHead(text);
  const Result<json::value> result = parseJson(text);
  if (!result) {
    require(!result.error().description.empty(), "a failure says why");
    return 0;
  }
  checkReadings(*result);
  checkRoundTrip(*result, writeJsonPretty(*result));
  checkRoundTrip(*result, writeJsonCompact(*result));
  require(describe(*result).size() < kMaxDescriptionSize + 64, "descriptions have a bound");
  return 0;
}
