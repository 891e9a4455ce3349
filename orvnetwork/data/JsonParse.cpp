#include "orvnetwork/data/Json.h"

#include <orvnetwork/data/detail/Decimal.h>

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/error.hpp>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/value_stack.hpp>

#include <cmath>

namespace orv {
namespace {

/// Builds the value from what the parser meets. Differs from the stock parser in its real numbers: they are
/// rounded correctly, and those that no double can hold are errors.
class ValueBuilder {
 public:
  static constexpr std::size_t max_object_size = json::object::max_size();
  static constexpr std::size_t max_array_size = json::array::max_size();
  static constexpr std::size_t max_key_size = json::string::max_size();
  static constexpr std::size_t max_string_size = json::string::max_size();

  ValueBuilder(json::storage_ptr storage, unsigned char* scratch, std::size_t scratchSize)
      : stack_({}, scratch, scratchSize) {
    stack_.reset(std::move(storage));
  }

  json::value release() { return stack_.release(); }

  bool on_document_begin(json::error_code&) { return true; }
  bool on_document_end(json::error_code&) { return true; }
  bool on_object_begin(json::error_code&) { return true; }
  bool on_object_end(std::size_t count, json::error_code&) {
    stack_.push_object(count);
    return true;
  }
  bool on_array_begin(json::error_code&) { return true; }
  bool on_array_end(std::size_t count, json::error_code&) {
    stack_.push_array(count);
    return true;
  }
  bool on_key_part(json::string_view part, std::size_t, json::error_code&) {
    stack_.push_chars(part);
    return true;
  }
  bool on_key(json::string_view rest, std::size_t, json::error_code&) {
    stack_.push_key(rest);
    return true;
  }
  bool on_string_part(json::string_view part, std::size_t, json::error_code&) {
    stack_.push_chars(part);
    return true;
  }
  bool on_string(json::string_view rest, std::size_t, json::error_code&) {
    stack_.push_string(rest);
    return true;
  }
  bool on_number_part(json::string_view, json::error_code&) { return true; }
  bool on_int64(std::int64_t number, json::string_view, json::error_code&) {
    stack_.push_int64(number);
    return true;
  }
  bool on_uint64(std::uint64_t number, json::string_view, json::error_code&) {
    stack_.push_uint64(number);
    return true;
  }
  bool on_double(double, json::string_view text, json::error_code& error) {
    // The text lies in one buffer, so this is all of the number.
    const double number = realFromDecimal({text.data(), text.size()});
    if (!std::isfinite(number)) {
      error = json::error::exponent_overflow;
      return false;
    }
    stack_.push_double(number);
    return true;
  }
  bool on_bool(bool flag, json::error_code&) {
    stack_.push_bool(flag);
    return true;
  }
  bool on_null(json::error_code&) {
    stack_.push_null();
    return true;
  }
  bool on_comment_part(json::string_view, json::error_code&) { return true; }
  bool on_comment(json::string_view, json::error_code&) { return true; }

 private:
  json::value_stack stack_;
};

Error failure(std::string_view what, std::size_t at) {
  return {std::string(kJsonErrorDomain), kJsonErrorCode,
          std::string(what) + " at byte " + std::to_string(at)};
}

/// Where the values of a text go: one chain of blocks that is freed as a whole. A short text needs so few
/// blocks that the chain would cost more than it saves. Values take about twice the room of their text.
json::storage_ptr storageFor(std::string_view text) {
  constexpr std::size_t kShortText = 1024;
  if (text.size() <= kShortText) {
    return {};
  }
  return json::make_shared_resource<json::monotonic_resource>(2 * text.size());
}

Result<json::value> parseContainer(std::string_view text, std::size_t begin) {
  json::parse_options options;
  options.max_depth = kMaxJsonDepth;
  options.allow_trailing_commas = true;

  alignas(std::max_align_t) unsigned char scratch[4096];
  json::basic_parser<ValueBuilder> parser(options, storageFor(text), scratch, sizeof scratch);
  json::error_code error;
  const std::size_t end = begin + parser.write_some(false, text.data() + begin, text.size() - begin, error);
  if (error) {
    return failure(error.message(), end);
  }
  if (end < text.size()) {
    return failure("text after the value", end);
  }
  return parser.handler().release();
}

}  // namespace

Result<json::value> parseJson(std::string_view text) try {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  const std::size_t start = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const std::size_t begin = text.find_first_not_of(" \t\r\n", start);
  if (begin == std::string_view::npos) {
    return failure("no value", text.size());
  }
  if (text[begin] != '[' && text[begin] != '{') {
    return failure("neither an array nor a dictionary", begin);
  }
  return parseContainer(text, begin);
} catch (const std::exception& exception) {
  return failure(exception.what(), text.size());
}

}  // namespace orv
