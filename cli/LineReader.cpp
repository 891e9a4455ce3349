#include "cli/LineReader.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orv::cli {

LineReader::LineReader(int descriptor, std::size_t credit, std::function<void(Line)> onLine,
                       std::function<void()> onEnd)
    : descriptor_(descriptor),
      onLine_(std::move(onLine)),
      onEnd_(std::move(onEnd)),
      stopEvent_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      credit_(credit) {
  if (stopEvent_ < 0) throw std::runtime_error("no descriptor is left");
  thread_ = std::thread([this] { read(); });
}

LineReader::~LineReader() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  credited_.notify_all();
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(stopEvent_, &one, sizeof one);
  thread_.join();
  ::close(stopEvent_);
}

void LineReader::giveBack() {
  {
    const std::lock_guard lock(mutex_);
    ++credit_;
  }
  credited_.notify_all();
}

void LineReader::read() {
  while (readSome()) {
  }
  // The last line may lack its line feed.
  if (!line_.text.empty() || line_.tooLong) finishLine();
  const bool stopped = [this] {
    const std::lock_guard lock(mutex_);
    return stopping_;
  }();
  if (!stopped) onEnd_();
}

bool LineReader::readSome() {
  std::array<pollfd, 2> watched{{{descriptor_, POLLIN, 0}, {stopEvent_, POLLIN, 0}}};
  if (::poll(watched.data(), watched.size(), -1) < 0) return errno == EINTR;
  if (watched[1].revents != 0) return false;
  std::array<char, 64 * 1024> buffer;
  const ssize_t size = ::read(descriptor_, buffer.data(), buffer.size());
  if (size < 0) return errno == EINTR || errno == EAGAIN;
  std::string_view rest(buffer.data(), static_cast<std::size_t>(size));
  while (!rest.empty()) {
    const auto end = rest.find('\n');
    const std::string_view part = rest.substr(0, end);
    line_.tooLong |= line_.text.size() + part.size() > kMaxLineSize;
    if (line_.tooLong) {
      line_.text.clear();
    } else {
      line_.text += part;
    }
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
    finishLine();
  }
  return size > 0;
}

void LineReader::finishLine() {
  Line line = std::exchange(line_, Line());
  line_.number = ++line.number;
  if (takeCredit()) onLine_(std::move(line));
}

bool LineReader::takeCredit() {
  std::unique_lock lock(mutex_);
  credited_.wait(lock, [this] { return credit_ > 0 || stopping_; });
  if (stopping_) return false;
  --credit_;
  return true;
}

}  // namespace orv::cli
