#include "orvnetwork/data/Json.h"

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/Decimal.h>
#include <orvnetwork/data/detail/JsonTreeSize.h>

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/error.hpp>
#include <boost/json/value_stack.hpp>

#include <cmath>
#include <limits>
#include <utility>

namespace orv {
namespace {

/// Builds the value from what the parser meets, in the default memory resource: copies of a value lie where the value
/// does, and the resource of one text that would be quicker is neither safe for threads nor does it free anything.
/// Differs from the stock parser in its real numbers, which are rounded correctly, and an error where no double can
/// hold them; and in the bound for what it builds.
class ValueBuilder {
 public:
  static constexpr std::size_t max_object_size = json::object::max_size();
  static constexpr std::size_t max_array_size = json::array::max_size();
  static constexpr std::size_t max_key_size = json::string::max_size();
  static constexpr std::size_t max_string_size = json::string::max_size();

  ValueBuilder(std::size_t most, unsigned char* scratch, std::size_t scratchSize)
      : stack_({}, scratch, scratchSize), size_(most) {
    stack_.reset();
  }

  json::value release() { return stack_.release(); }
  const JsonTreeSize& size() const { return size_; }

  bool on_document_begin(json::error_code&) { return true; }
  bool on_document_end(json::error_code&) { return true; }
  bool on_object_begin(json::error_code&) { return true; }
  bool on_object_end(std::size_t count, json::error_code& error) {
    stack_.push_object(count);
    return within(size_.closeObject(count), error);
  }
  bool on_array_begin(json::error_code&) { return true; }
  bool on_array_end(std::size_t count, json::error_code& error) {
    stack_.push_array(count);
    return within(size_.closeArray(count), error);
  }
  bool on_key_part(json::string_view part, std::size_t length, json::error_code& error) {
    return pushPart(part, length, error);
  }
  bool on_key(json::string_view rest, std::size_t length, json::error_code& error) {
    if (!within(size_.addKey(length), error)) return false;
    stack_.push_key(rest);
    return true;
  }
  bool on_string_part(json::string_view part, std::size_t length, json::error_code& error) {
    return pushPart(part, length, error);
  }
  // One text may take more than all that is allowed, so it is looked at before it is made.
  bool on_string(json::string_view rest, std::size_t length, json::error_code& error) {
    if (!within(size_.addString(length), error)) return false;
    stack_.push_string(rest);
    return true;
  }
  bool on_number_part(json::string_view, json::error_code&) { return true; }
  bool on_int64(std::int64_t number, json::string_view, json::error_code& error) {
    stack_.push_int64(number);
    return within(size_.addScalar(), error);
  }
  bool on_uint64(std::uint64_t number, json::string_view, json::error_code& error) {
    stack_.push_uint64(number);
    return within(size_.addScalar(), error);
  }
  bool on_double(double, json::string_view text, json::error_code& error) {
    // The text lies in one buffer, so this is all of the number.
    const double number = realFromDecimal({text.data(), text.size()});
    if (!std::isfinite(number)) {
      error = json::error::exponent_overflow;
      return false;
    }
    stack_.push_double(number);
    return within(size_.addScalar(), error);
  }
  bool on_bool(bool flag, json::error_code& error) {
    stack_.push_bool(flag);
    return within(size_.addScalar(), error);
  }
  bool on_null(json::error_code& error) {
    stack_.push_null();
    return within(size_.addScalar(), error);
  }
  bool on_comment_part(json::string_view, json::error_code&) { return true; }
  bool on_comment(json::string_view, json::error_code&) { return true; }

 private:
  /// A part of a text that comes in several, with the length of all so far.
  bool pushPart(json::string_view part, std::size_t length, json::error_code& error) {
    if (!within(size_.hasRoomFor(length), error)) return false;
    stack_.push_chars(part);
    return true;
  }
  static bool within(bool isWithin, json::error_code& error) {
    if (!isWithin) error = json::error::array_too_large;
    return isWithin;
  }

  json::value_stack stack_;
  JsonTreeSize size_;
};

Error failure(std::string_view what, std::size_t at) {
  return {std::string(kJsonErrorDomain), kJsonErrorCode,
          std::string(what) + " at byte " + std::to_string(at)};
}

Result<MeasuredJson> parseContainer(std::string_view text, std::size_t begin, std::size_t most) {
  json::parse_options options;
  options.max_depth = kMaxJsonDepth;
  options.allow_trailing_commas = true;
  // Looked at once and as a whole, the characters need not be looked at one by one. Where something is wrong with them,
  // the parser finds out what and where.
  options.allow_invalid_utf8 = isUtf8(text);

  alignas(std::max_align_t) unsigned char scratch[4096];
  json::basic_parser<ValueBuilder> parser(options, most, scratch, sizeof scratch);
  json::error_code error;
  const std::size_t end = begin + parser.write_some(false, text.data() + begin, text.size() - begin, error);
  if (parser.handler().size().isExceeded()) {
    return failure("the values take more than " + std::to_string(most) + " bytes of memory", end);
  }
  if (error) {
    return failure(error.message(), end);
  }
  if (end < text.size()) {
    return failure("text after the value", end);
  }
  const std::size_t bytes = parser.handler().size().bytes();
  return MeasuredJson{parser.handler().release(), bytes};
}

}  // namespace

Result<MeasuredJson> parseJsonWithin(std::string_view text, std::size_t most) try {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  const std::size_t start = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const std::size_t begin = text.find_first_not_of(" \t\r\n", start);
  if (begin == std::string_view::npos) {
    return failure("no value", text.size());
  }
  if (text[begin] != '[' && text[begin] != '{') {
    return failure("neither an array nor a dictionary", begin);
  }
  return parseContainer(text, begin, most);
} catch (const std::exception& exception) {
  return failure(exception.what(), text.size());
}

Result<json::value> parseJson(std::string_view text) {
  auto parsed = parseJsonWithin(text, std::numeric_limits<std::size_t>::max());
  if (!parsed) return std::move(parsed).error();
  return std::move(parsed->value);
}

}  // namespace orv
