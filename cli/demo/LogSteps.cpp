// The rolling log.

#include <orvnetwork/support/QXFileLog.h>

#include "cli/demo/Steps.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli::demo {

namespace {

constexpr std::size_t kShownLines = 8;

/// The last lines that carry a time stamp; what a line says beyond its first line feed is left out.
std::vector<std::string_view> lastEntries(std::string_view text, std::size_t count) {
  std::vector<std::string_view> entries;
  for (std::size_t at = 0; at < text.size();) {
    const auto end = std::min(text.find('\n', at), text.size());
    const std::string_view line = text.substr(at, end - at);
    // "2024/01/31 08:45:02.123 - …"
    if (line.size() > 26 && line[4] == '/' && line.substr(23, 3) == " - ") entries.push_back(line);
    at = end + 1;
  }
  if (entries.size() > count) {
    entries.erase(entries.begin(), entries.end() - static_cast<std::ptrdiff_t>(count));
  }
  return entries;
}

}  // namespace

void logIsRead(Tour& tour) {
  static constexpr std::array<std::string_view, 6> kExpected = {
      "Network status change: ",
      "Recieve PONG form server, connect server success",
      "WebSocket is closed, ignore sendRequestItem:Dev.TooEarly",
      "auto reconnect, retry times: 1",
      ":( Websocket Failed With Error ",
      "#WebSocketWithBlock# TIMEOUT ",
  };
  const std::string text = tour.logText();
  const std::string path = QXFileLog::standard().logFilePath().value_or("(no file)");
  tour.stage.note("The last entries of " + path.substr(path.rfind('/') + 1) + ":");
  for (const std::string_view line : lastEntries(text, kShownLines)) tour.stage.row(Row::Log, line);
  std::size_t found = 0;
  for (const std::string_view expected : kExpected) found += text.find(expected) != std::string::npos ? 1 : 0;
  tour.stage.verdict("the log tells of the network, the link, its loss and the time-out",
                     found == kExpected.size(),
                     std::to_string(found) + " of " + std::to_string(kExpected.size()) + " kinds of lines");
  const bool leaked = text.find(kWrongPassword) != std::string::npos;
  tour.stage.verdict("no password in the clear is in it", !text.empty() && !leaked,
                     leaked ? "one is" : "none");
}

}  // namespace orv::cli::demo
