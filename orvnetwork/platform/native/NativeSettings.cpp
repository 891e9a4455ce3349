#include "orvnetwork/platform/native/NativeSettings.h"

#include <orvnetwork/platform/native/files/NativeFileSystem.h>

#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace orv {

namespace {

constexpr std::string_view kZoneFolder = "/usr/share/zoneinfo/";

bool isZone(const std::string& name) {
  if (name.empty() || name.front() == '/' || name.find("..") != std::string::npos) return false;
  const char* folder = std::getenv("TZDIR");
  const std::string path =
      (folder != nullptr && *folder != '\0' ? folder + std::string("/") : std::string(kZoneFolder)) + name;
  NativeFileSystem files;
  return files.exists(path) && !files.isDirectory(path);
}

std::string zoneOfVariable(std::string_view value) {
  if (value.starts_with(':')) value.remove_prefix(1);
  if (value.empty()) return "UTC";
  const std::string name(value.starts_with('/') ? zoneNameInPath(value) : value);
  return isZone(name) ? name : fixedOffsetZoneName(value);
}

std::string targetOf(const char* link) {
  std::array<char, PATH_MAX> target;
  const ssize_t size = ::readlink(link, target.data(), target.size());
  return size > 0 ? std::string(target.data(), static_cast<std::size_t>(size)) : std::string();
}

std::string firstWordOfFile(const std::string& path) {
  std::error_code error;
  const std::string text = NativeFileSystem().read(path, error).value_or("");
  return text.substr(0, text.find_first_of(" \t\r\n"));
}

/// Takes a number of up to `kMaxDigits` digits off the front of a text.
bool takeNumber(std::string_view& text, int& number) {
  constexpr std::size_t kMaxDigits = 2;
  std::size_t digits = 0;
  number = 0;
  while (digits < text.size() && digits < kMaxDigits && text[digits] >= '0' && text[digits] <= '9') {
    number = number * 10 + (text[digits++] - '0');
  }
  text.remove_prefix(digits);
  return digits > 0;
}

/// Takes the abbreviation off the front of a zone rule: letters, or anything in angle brackets.
bool takeAbbreviation(std::string_view& rule) {
  const bool bracketed = rule.starts_with('<');
  std::size_t end = bracketed ? rule.find('>') : 0;
  if (end == std::string_view::npos) return false;
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  while (!bracketed && end < rule.size() && isLetter(rule[end])) ++end;
  if (end < 3) return false;
  rule.remove_prefix(bracketed ? end + 1 : end);
  return true;
}

}  // namespace

std::string localeNameOfVariable(std::string_view value) {
  const std::string_view name = value.substr(0, value.find_first_of(".@"));
  return name.empty() || name == "C" || name == "POSIX" ? "en_US_POSIX" : std::string(name);
}

std::string nativeLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return localeNameOfVariable(value);
  }
  return localeNameOfVariable("");
}

std::string_view zoneNameInPath(std::string_view path) {
  constexpr std::string_view kMark = "zoneinfo/";
  const std::size_t mark = path.rfind(kMark);
  if (mark == std::string_view::npos) return {};
  std::string_view name = path.substr(mark + kMark.size());
  for (const std::string_view variant : {"posix/", "right/"}) {
    if (name.starts_with(variant)) name.remove_prefix(variant.size());
  }
  return name;
}

std::string fixedOffsetZoneName(std::string_view rule) {
  if (!takeAbbreviation(rule)) return {};
  // A rule counts hours west of Greenwich as positive, a zone's name those east of it.
  const bool east = rule.starts_with('-');
  if (east || rule.starts_with('+')) rule.remove_prefix(1);
  int hours = 0;
  int minutes = 0;
  if (!takeNumber(rule, hours)) return {};
  if (rule.starts_with(':')) {
    rule.remove_prefix(1);
    if (!takeNumber(rule, minutes)) return {};
  }
  if (!rule.empty() || hours > 23 || minutes > 59) return {};
  if (hours == 0 && minutes == 0) return "UTC";
  std::array<char, 32> name;
  std::snprintf(name.data(), name.size(), "GMT%c%02d:%02d", east ? '+' : '-', hours, minutes);
  return name.data();
}

NativeTimeZone nativeTimeZone() {
  const char* variable = std::getenv("TZ");
  if (variable != nullptr) {
    std::string name = zoneOfVariable(variable);
    if (!name.empty()) return {std::move(name), true};
  }
  const bool usedByCLibrary = variable == nullptr;
  const std::string target = targetOf("/etc/localtime");
  if (const std::string_view name = zoneNameInPath(target); !name.empty()) {
    return {std::string(name), usedByCLibrary};
  }
  if (std::string name = firstWordOfFile("/etc/timezone"); isZone(name)) {
    return {std::move(name), usedByCLibrary};
  }
  return {"UTC", false};
}

std::string nativeTimeZoneName() {
  return nativeTimeZone().name;
}

}  // namespace orv
