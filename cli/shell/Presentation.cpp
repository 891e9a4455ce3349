#include "cli/shell/Presentation.h"

#include <orvnetwork/data/Json.h>

#include "cli/TerminalText.h"
#include "cli/TextWidth.h"

#include <algorithm>

namespace orv::cli {

namespace {

constexpr std::size_t kIndent = 2;
constexpr std::string_view kName = "36", kText = "32", kNumber = "33", kNotification = "35";

std::string compact(const json::value& value) {
  return printable(writeJsonCompact(value).valueOr("?"));
}

/// Writes JSON on as few lines as its columns and its nesting allow.
class Presenter {
 public:
  Presenter(std::size_t columns, bool coloured) : columns_(columns), coloured_(coloured) {}

  void painted(std::string_view style, std::string_view text) {
    if (coloured_) text_.append("\x1b[").append(style).append("m");
    text_ += text;
    if (coloured_) text_ += "\x1b[0m";
    column_ += textWidth(text);
  }
  void plain(std::string_view text) {
    text_ += text;
    column_ += textWidth(text);
  }
  void newLine(std::size_t indent) {
    text_ += "\n" + std::string(indent, ' ');
    column_ = indent;
  }

  void write(const json::value& value, std::size_t indent) {
    if (const json::object* const object = value.if_object()) {
      plain("{");
      std::size_t count = 0;
      const bool isLong = !fits(value);
      for (const auto& member : *object) {
        writeMember(compact(json::value(member.key())), member.value(), indent, count++, isLong);
      }
      if (isLong) newLine(indent);
      plain("}");
    } else if (const json::array* const array = value.if_array()) {
      plain("[");
      std::size_t count = 0;
      const bool isLong = !fits(value);
      for (const json::value& member : *array) writeMember({}, member, indent, count++, isLong);
      if (isLong) newLine(indent);
      plain("]");
    } else {
      painted(value.is_string() ? kText : kNumber, compact(value));
    }
  }

  std::string take() { return std::move(text_); }

 private:
  bool fits(const json::value& value) const {
    // With a blank behind each comma and colon it takes a little more.
    const std::string whole = compact(value);
    const auto blanks =
        static_cast<std::size_t>(std::ranges::count(whole, ',') + std::ranges::count(whole, ':'));
    return column_ + textWidth(whole) + blanks + 1 <= columns_;
  }

  void writeMember(const std::string& name, const json::value& value, std::size_t indent, std::size_t index,
                   bool isLong) {
    if (index > 0) plain(",");
    const std::size_t needed = textWidth(name) + 2 + textWidth(compact(value)) + 2;
    const bool staysOnLine = index > 0 && column_ + needed <= columns_;
    if (isLong && !staysOnLine) {
      newLine(indent + kIndent);
    } else if (index > 0) {
      plain(" ");
    }
    if (!name.empty()) {
      painted(kName, name);
      plain(": ");
    }
    write(value, indent + kIndent);
  }

  const std::size_t columns_;
  const bool coloured_;
  std::string text_;
  std::size_t column_ = 0;
};

/// A change of the link or of the session in a few words; empty for other lines.
std::string newsIn(const json::object& line) {
  const auto text = [&line](std::string_view name) {
    const json::value* const value = line.if_contains(name);
    return value != nullptr && value->is_string() ? std::string(std::string_view(value->get_string())) : "";
  };
  const std::string message = text("message");
  if (line.empty()) return {};
  const std::string_view first = line.begin()->key();
  if (first == "link") return "link: " + message;
  if (first == "session") return "session: " + text("session") + (message.empty() ? "" : ": " + message);
  return {};
}

}  // namespace

std::string present(std::string_view line, std::size_t columns, bool coloured) {
  if (!line.starts_with('{')) return std::string(line);
  const Result<json::value> parsed = parseJson(line);
  if (!parsed || !parsed->is_object()) return std::string(line);
  Presenter presenter(columns, coloured);
  const json::object& object = parsed->get_object();
  if (const std::string news = newsIn(object); !news.empty()) {
    presenter.painted(kNotification, "• " + printable(news));
    return presenter.take();
  }
  const json::value* const notification = object.if_contains("notification");
  if (notification == nullptr || !notification->is_string()) {
    presenter.write(*parsed, 0);
    return presenter.take();
  }
  presenter.painted(kNotification, "• " + printable(std::string_view(notification->get_string())));
  const json::value* const userInfo = object.if_contains("userInfo");
  if (userInfo == nullptr || userInfo->is_null()) return presenter.take();
  presenter.newLine(kIndent);
  presenter.write(*userInfo, kIndent);
  return presenter.take();
}

}  // namespace orv::cli
