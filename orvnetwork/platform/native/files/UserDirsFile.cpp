#include "orvnetwork/platform/native/files/UserDirsFile.h"

#include <algorithm>

namespace orv {

namespace {

void skipBlanks(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
}

bool skip(std::string_view& rest, std::string_view expected) {
  if (!rest.starts_with(expected)) return false;
  rest.remove_prefix(expected.size());
  return true;
}

/// The text up to the closing quote, with escapes taken out; absent when the quote never closes.
OptionalString quotedText(std::string_view rest) {
  std::string value;
  for (std::size_t at = 0; at < rest.size(); ++at) {
    if (rest[at] == '"') return value;
    if (rest[at] == '\\' && at + 1 < rest.size()) ++at;
    value += rest[at];
  }
  return std::nullopt;
}

OptionalString folderInLine(std::string_view line, std::string_view home) {
  skipBlanks(line);
  if (!skip(line, "XDG_DOCUMENTS_DIR")) return std::nullopt;
  skipBlanks(line);
  if (!skip(line, "=")) return std::nullopt;
  skipBlanks(line);
  if (!skip(line, "\"")) return std::nullopt;
  std::string folder;
  if (skip(line, "$HOME/")) {
    folder = std::string(home) + '/';
  } else if (!line.starts_with('/')) {
    return std::nullopt;
  }
  const OptionalString value = quotedText(line);
  if (!value) return std::nullopt;
  folder += *value;
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder;
}

}  // namespace

OptionalString documentsFolderInUserDirs(std::string_view text, std::string_view home) {
  OptionalString found;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (OptionalString folder = folderInLine(text.substr(0, end), home)) found = std::move(folder);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return found;
}

}  // namespace orv
