#include "orvnetwork/transport/QXRequestItem.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/DistinctIdentifiers.h>
#include <orvnetwork/transport/detail/CurrentReply.h>
#include <orvnetwork/transport/detail/LinkSettings.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

/// Gives access to the protected constructors, for std::make_shared.
struct MakeableItem : QXRequestItem {
  MakeableItem() = default;
  explicit MakeableItem(const QXRequestItem& other) : QXRequestItem(other) {}
};

void setIfPresent(json::object& frame, json::string_view key, const OptionalString& text) {
  if (text) frame.emplace(key, json::string_view(*text));
}

void setValues(json::object& frame, std::optional<json::object> values) {
  if (values) frame.emplace("v", std::move(*values));
}

OptionalString frameText(Result<std::string> written) {
  if (written) return *std::move(written);
  consoleLog("conver to json error: dic->%@", written.error());
  return std::nullopt;
}

/// The members of a frame, which is written without being made. They refer to what they are made of.
class FrameMembers {
 public:
  void add(std::string_view key, std::string_view text) { members_[count_++] = {key, text}; }
  void add(std::string_view key, const json::object& values) { members_[count_++] = {key, &values}; }
  void addIfPresent(std::string_view key, const OptionalString& text) {
    if (text) add(key, *text);
  }
  std::span<const JsonMember> all() const { return {members_.data(), count_}; }

 private:
  std::array<JsonMember, 7> members_;
  std::size_t count_ = 0;
};

/// "b": the version and the build with a point between them, each "(null)" where it is absent.
std::string versionText(const LinkSettings& settings) {
  std::string version;
  const auto append = [&version](const OptionalString& text) {
    version += text ? std::string_view(*text) : std::string_view("(null)");
  };
  settings.appVersion.visit(append);
  version += '.';
  settings.appBuildVersion.visit(append);
  return version;
}

/// The decimal text of an identifier. As a string by itself it would lie on the heap: it has 16 digits.
class IdentifierText {
 public:
  explicit IdentifierText(std::int64_t identifier)
      : end_(std::to_chars(digits_.data(), digits_.data() + digits_.size(), identifier).ptr) {}
  IdentifierText(const IdentifierText&) = delete;
  IdentifierText& operator=(const IdentifierText&) = delete;
  std::string_view view() const { return {digits_.data(), static_cast<std::size_t>(end_ - digits_.data())}; }

 private:
  std::array<char, 20> digits_;  // as many as the longest has, with its sign
  const char* const end_;
};

std::shared_ptr<QXRequestItem> newItem(OptionalString command, CompleteBlock completeBlock,
                                       TimeoutBlock timeoutBlock) {
  auto item = std::make_shared<MakeableItem>();
  item->timestamp = DistinctIdentifiers::take(item->genTimestamp());
  item->command = std::move(command);
  item->completeBlock = std::move(completeBlock);
  item->timeoutBlock = std::move(timeoutBlock);
  return item;
}

}  // namespace

std::int64_t QXRequestItem::genTimestamp() const {
  auto& platform = Platform::current();
  const double seconds = Seconds(platform.clock().wallNow().time_since_epoch()).count();
  return static_cast<std::int64_t>(seconds * 1000000.0) + static_cast<std::int64_t>(platform.random() % 1000);
}

std::shared_ptr<QXRequestItem> QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
    std::int64_t timestamp, OptionalString command, OptionalString jsonString, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  auto item = std::make_shared<MakeableItem>();
  item->timestamp = timestamp;
  item->command = std::move(command);
  item->jsonString = std::move(jsonString);
  item->completeBlock = std::move(completeBlock);
  item->timeoutBlock = std::move(timeoutBlock);
  return item;
}

std::shared_ptr<QXRequestItem> QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
    OptionalString command, std::optional<json::object> parameters, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  auto item = newItem(std::move(command), std::move(completeBlock), std::move(timeoutBlock));
  const auto& settings = LinkSettings::standard();
  const OptionalString identifier = settings.globalUUID;
  const std::string version = versionText(settings);
  const IdentifierText timestamp(item->timestamp);
  FrameMembers frame;
  frame.addIfPresent("c", item->command);
  frame.add("r", "1");
  frame.addIfPresent("g", identifier);
  frame.add("a", "1");
  frame.add("b", version);
  frame.add("s", timestamp.view());
  if (parameters) frame.add("v", *parameters);
  item->jsonString = frameText(writeJsonPretty(frame.all()));
  return item;
}

std::shared_ptr<QXRequestItem> QXRequestItem::initWithMeetingCommand_parameters_completeBlock_timeoutBlock(
    OptionalString command, std::optional<json::object> parameters, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  auto item = newItem(std::move(command), std::move(completeBlock), std::move(timeoutBlock));
  json::object frame;
  frame.reserve(3);
  setIfPresent(frame, "c", item->command);
  frame.emplace("s", item->timestamp);
  setValues(frame, std::move(parameters));
  consoleLog("上传参数：%@", frame);
  item->jsonString = frameText(writeJsonPretty(frame));
  if (item->jsonString) {
    std::erase_if(*item->jsonString, [](char c) { return c == '\n' || c == '\t' || c == ' '; });
  }
  return item;
}

std::shared_ptr<QXRequestItem> QXRequestItem::copyWithZone() const {
  return std::make_shared<MakeableItem>(*this);
}

std::shared_ptr<const json::object> keepReply(const json::object& reply) {
  auto current = CurrentReply::get();
  if (!current || &current->dictionary() != &reply) return std::make_shared<const json::object>(reply);
  return {std::move(current), &reply};
}

std::string describe(const std::shared_ptr<QXRequestItem>& item) {
  if (!item) return "(null)";
  return formatText("<QXRequestItem %@ %ld>", item->command, item->timestamp);
}

}  // namespace orv
