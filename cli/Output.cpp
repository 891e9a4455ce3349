#include "cli/Output.h"

#include <orvnetwork/data/Json.h>

#include "cli/TerminalText.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace orv::cli {

int writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      pollfd writable{descriptor, POLLOUT, 0};
      ::poll(&writable, 1, -1);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

bool Output::text(std::string_view text) {
  if (failure_ == 0) failure_ = writer_ ? writer_(text) : writeAll(STDOUT_FILENO, text);
  return failure_ == 0;
}

bool Output::line(std::string_view text) {
  std::string whole = printable(text);
  whole += '\n';
  return this->text(whole);
}

bool Output::line(const json::object& object) {
  const Result<std::string> written = writeJsonCompact(object);
  if (written) return line(*written);
  const Result<std::string> problem = writeJsonCompact(json::object{
      {"outcome", "error"}, {"message", "the answer cannot be written as JSON: " + written.error().text()}});
  return line(problem.valueOr("{\"outcome\":\"error\"}"));
}

bool Output::abandoned() {
  pollfd watched{STDOUT_FILENO, 0, 0};
  return ::poll(&watched, 1, 0) > 0 && (watched.revents & (POLLERR | POLLNVAL)) != 0;
}

bool Output::wantsColours() {
  const char* terminal = std::getenv("TERM");
  const char* refusal = std::getenv("NO_COLOR");
  return ::isatty(STDOUT_FILENO) == 1 && (refusal == nullptr || *refusal == '\0') && terminal != nullptr &&
         std::string_view(terminal) != "dumb";
}

std::size_t Output::columns() {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace orv::cli
