#include "devserver/Access.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace orv::devserver {

namespace {

constexpr std::size_t kShortestToken = 16, kLongestToken = 256;

bool isTokenCharacter(char c) {
  constexpr std::string_view kOthers = "-._~";
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         kOthers.find(c) != std::string_view::npos;
}

/// Why a file cannot hold a secret, or "".
std::string whyOpenToOthers(int file) {
  struct stat status {};
  if (::fstat(file, &status) != 0) return std::strerror(errno);
  if (!S_ISREG(status.st_mode)) return "it is no file";
  return (status.st_mode & (S_IRWXG | S_IRWXO)) != 0 ? "others can read it: `chmod 600` helps" : "";
}

}  // namespace

std::string problemWithToken(const std::string& token) {
  if (token.size() >= kShortestToken && token.size() <= kLongestToken &&
      std::ranges::all_of(token, isTokenCharacter)) {
    return {};
  }
  return "a token of 16 to 256 letters, digits, \"-\", \".\", \"_\" and \"~\" is expected";
}

std::string readTokenFile(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) throw std::runtime_error("token file " + path + ": " + std::strerror(errno));
  std::string problem = whyOpenToOthers(file);
  std::array<char, kLongestToken + 2> bytes{};
  const ssize_t size = problem.empty() ? ::read(file, bytes.data(), bytes.size()) : 0;
  ::close(file);
  std::string token(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  token.resize(std::min(token.find_first_of("\r\n"), token.size()));
  if (problem.empty()) problem = problemWithToken(token);
  if (!problem.empty()) throw std::runtime_error("token file " + path + ": " + problem);
  return token;
}

}  // namespace orv::devserver
