#include "devserver/commands/RequestFrame.h"

#include "devserver/school/ReadJson.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <utility>

namespace orv::devserver {

namespace {

ParsedFrame malformed(int code, std::string problem, json::value timestamp = nullptr) {
  ParsedFrame parsed;
  parsed.code = code;
  parsed.problem = std::move(problem);
  parsed.timestamp = std::move(timestamp);
  return parsed;
}

}  // namespace

ParsedFrame parseRequestFrame(std::string_view text) {
  json::parse_options options;
  options.max_depth = 512;
  json::error_code error;
  json::value value = json::parse({text.data(), text.size()}, error, {}, options);
  if (error) return malformed(result::kNoCommand, "not JSON: " + error.message());
  json::object* frame = value.if_object();
  if (frame == nullptr) return malformed(result::kNoCommand, "not a JSON object");

  json::value* timestamp = frame->if_contains("s");
  if (timestamp == nullptr) return malformed(result::kNoCommand, "no \"s\"");
  if (!isWritable(value)) {
    json::value known = isWritable(*timestamp) ? std::move(*timestamp) : json::value();
    return malformed(result::kNoCommand, "not JSON: a number is too large", std::move(known));
  }
  if (!timestamp->is_string() && !timestamp->is_number()) {
    return malformed(result::kTimestampWrongKind, "\"s\" is neither text nor a number",
                     std::move(*timestamp));
  }
  json::value* command = frame->if_contains("c");
  if (command == nullptr || !command->is_string()) {
    return malformed(result::kNoCommand, "no command: \"c\" is absent or not text", std::move(*timestamp));
  }
  json::value* values = frame->if_contains("v");
  if (values != nullptr && !values->is_object()) {
    return malformed(result::kValuesNotObject, "\"v\" is not an object", std::move(*timestamp));
  }

  ParsedFrame parsed;
  RequestFrame& request = parsed.request.emplace();
  request.command.assign(command->get_string().data(), command->get_string().size());
  request.timestamp = std::move(*timestamp);
  request.hasValues = values != nullptr;
  if (values != nullptr) request.values = std::move(values->get_object());
  return parsed;
}

json::object refusal(int code, std::string_view text) {
  json::object values;
  values.emplace("ret", code);
  values.emplace("err", json::string_view(text.data(), text.size()));
  return values;
}

json::object success(json::value data) {
  json::object values;
  values.emplace("ret", 0);
  values.emplace("data", std::move(data));
  return values;
}

std::string frameText(std::string_view command, json::value timestamp, json::object values) {
  json::object frame;
  frame.reserve(3);
  frame.emplace("C", json::string_view(command.data(), command.size()));
  if (!timestamp.is_null()) frame.emplace("s", std::move(timestamp));
  frame.emplace("v", std::move(values));
  return json::serialize(frame);
}

}  // namespace orv::devserver
