#include "orvnetwork/data/LocaleName.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orv {

namespace {

/// What the C library calls the scripts of its locales.
constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kScripts{{
    {"latin", "Latn"},
    {"iqtelif", "Latn"},
    {"cyrillic", "Cyrl"},
    {"devanagari", "Deva"},
    {"arabic", "Arab"},
}};

constexpr std::size_t kScriptSize = 4;

/// Puts a script behind the language; a script that stands there already stays.
std::string withScript(std::string_view name, std::string_view script) {
  const std::size_t language = std::min(name.find('_'), name.size());
  const std::string_view rest = name.substr(language);
  const std::string_view second = rest.substr(0, rest.find('_', 1));
  if (second.size() == kScriptSize + 1) return std::string(name);
  return std::string(name.substr(0, language)).append("_").append(script).append(rest);
}

}  // namespace

std::string plainLocaleName(std::string_view name) {
  const std::string_view plain = name.substr(0, name.find_first_of(".@"));
  const bool isNone = plain.empty() || plain == "C" || plain == "POSIX";
  const std::string base(isNone ? "en_US_POSIX" : plain);
  const std::size_t at = name.find('@');
  if (at == std::string_view::npos) return base;
  const std::string_view modifier = name.substr(at + 1);
  if (modifier.find('=') != std::string_view::npos) return base + "@" + std::string(modifier);
  const std::string_view word = modifier.substr(0, modifier.find('.'));
  if (word == "valencia") return base + "_VALENCIA";
  for (const auto& [theirs, script] : kScripts) {
    if (word == theirs && !isNone) return withScript(base, script);
  }
  return base;
}

}  // namespace orv
