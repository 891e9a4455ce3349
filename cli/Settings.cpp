#include "cli/Settings.h"

#include "cli/CliError.h"
#include "cli/Grammar.h"
#include "cli/WrongWords.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace orv::cli {

namespace {

constexpr std::size_t kLargestFile = 64 * 1024;
constexpr std::string_view kBlanksOfLine = " \t\r";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanksOfLine);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanksOfLine) - first + 1);
}

std::string unknownSetting(std::string_view name) {
  std::vector<std::string> names;
  for (const OptionSpec& option : programOptions()) {
    if (option.isSetting) names.emplace_back(option.name.substr(2));
  }
  const auto near = nearWords(name, names);
  return near.empty() ? "no setting of this name; there are " + listed(names)
                      : "no setting of this name; near ones: " + listed(near);
}

/// What is wrong with a line, or "". What it says is added to the settings.
std::string readSetting(std::string_view line, Settings& settings) {
  const auto equals = line.find('=');
  if (equals == std::string_view::npos) return "`name = value` is expected";
  const std::string name = "--" + std::string(trimmed(line.substr(0, equals)));
  const std::string value(trimmed(line.substr(equals + 1)));
  const OptionSpec* const option = findOption(programOptions(), name);
  if (option == nullptr || !option->isSetting) return unknownSetting(name.substr(2));
  if (option->check != nullptr) {
    if (const std::string problem = option->check(value); !problem.empty()) {
      return name.substr(2) + ": " + problem;
    }
  }
  settings.emplace_back(name, value);
  return {};
}

/// Why a file is not to be trusted with what the program does, or "".
std::string whyUnsafe(const struct stat& file) {
  if (!S_ISREG(file.st_mode)) return "it is no file";
  if (file.st_uid != ::geteuid() && file.st_uid != 0) return "it belongs to another user";
  if ((file.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return "others can write it, and so could send this program to any server: `chmod go-w` helps";
  }
  return {};
}

/// All of a file, with why it is not to be used.
Result<std::string> readWhole(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return cliError(std::strerror(errno));
  if (std::string why = whyUnsafe(status); !why.empty()) return cliError(std::move(why));
  std::string text;
  std::array<char, 4096> buffer{};
  while (text.size() <= kLargestFile) {
    const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return cliError(std::strerror(errno));
    if (size == 0) return text;
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  return cliError("it is larger than 64 KiB");
}

}  // namespace

Result<Settings> readSettings(std::string_view text) {
  Settings settings;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line.starts_with('#')) continue;
    if (const std::string problem = readSetting(line, settings); !problem.empty()) {
      return cliError("line " + std::to_string(number) + ": " + problem);
    }
  }
  return settings;
}

std::string settingsFile() {
  const char* const folder = std::getenv("XDG_CONFIG_HOME");
  // A relative path there means nothing.
  if (folder != nullptr && *folder == '/') return std::string(folder) + "/orv/config";
  const char* const home = std::getenv("HOME");
  return home != nullptr && *home != '\0' ? std::string(home) + "/.config/orv/config" : "";
}

Result<Settings> loadSettings() {
  Settings settings;
  const std::string path = settingsFile();
  const int file = path.empty() ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0 && !path.empty() && errno != ENOENT && errno != ENOTDIR) {
    return cliError(path + ": " + std::strerror(errno));
  }
  if (file >= 0) {
    const Result<std::string> text = readWhole(file);
    ::close(file);
    if (!text) return cliError(path + ": " + text.error().description);
    Result<Settings> read = readSettings(*text);
    if (!read) return cliError(path + ": " + read.error().description);
    settings = *std::move(read);
  }
  const char* const server = std::getenv("ORV_SERVER");
  if (server == nullptr || *server == '\0') return settings;
  const OptionSpec& option = *findOption(programOptions(), "--server");
  if (const std::string problem = option.check(server); !problem.empty()) {
    return cliError("ORV_SERVER: " + problem);
  }
  settings.emplace_back(option.name, server);
  return settings;
}

}  // namespace orv::cli
