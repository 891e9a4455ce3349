#include "cli/WrongWords.h"

#include "cli/NearNames.h"

#include <algorithm>
#include <cstddef>

namespace orv::cli {

namespace {

/// A word that differs in more characters was meant otherwise.
constexpr std::size_t kNearest = 2;
/// No name has as many characters.
constexpr std::size_t kLongest = 40;

/// The commands of a group, or those that are in none, by the last word of their names.
std::vector<std::string> commandsOf(std::string_view group) {
  std::vector<std::string> names;
  for (const CommandSpec& command : commandTable()) {
    const auto blank = command.name.find(' ');
    const std::string_view its = blank == std::string_view::npos ? "" : command.name.substr(0, blank);
    if (its == group) {
      names.emplace_back(blank == std::string_view::npos ? command.name : command.name.substr(blank + 1));
    }
  }
  return names;
}

}  // namespace

std::string listed(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

std::vector<std::string> nearWords(std::string_view word, const std::vector<std::string>& names) {
  std::vector<std::string> found;
  std::size_t least = kNearest;
  const std::size_t letters = word.size() - std::min(word.find_first_not_of('-'), word.size());
  if (letters < 2 || word.size() > kLongest) return found;
  for (const std::string& name : names) {
    const std::size_t far = name.starts_with(word) ? 0 : editDistance(word, name);
    if (far > least || far + 1 > letters) continue;
    if (far < least) found.clear();
    least = far;
    found.push_back(name);
  }
  return found;
}

bool fitsShell(const OptionSpec& option) {
  return option.name == "--json" || option.name == "--help";
}

std::string wrongOption(std::string_view name, const CommandSpec* command, WordsFrom from) {
  const bool inShell = from == WordsFrom::Shell;
  if (inShell && findOption(programOptions(), name) != nullptr) {
    return std::string(name) + " is said when the shell is started";
  }
  std::vector<std::string> names;
  if (command != nullptr) {
    for (const OptionSpec& option : command->options) names.emplace_back(option.name);
  } else {
    for (const CommandSpec& other : commandTable()) {
      if (findOption(other.options, name) == nullptr) continue;
      return std::string(name) + " stands behind its command, such as " + std::string(other.name);
    }
  }
  for (const OptionSpec& option : programOptions()) {
    if (!inShell || fitsShell(option)) names.emplace_back(option.name);
  }
  if (const auto near = nearWords(name, names); !near.empty()) {
    return "no option of this name; near ones: " + listed(near);
  }
  const std::string behind = command != nullptr ? " " + std::string(command->name) : "";
  return inShell ? "no option of this name; see `help" + behind + "`"
                 : "no option of this name; see `orv" + behind + " --help`";
}

std::string wrongCommand(std::string_view word, std::string_view group) {
  const auto names = commandsOf(group);
  if (const auto near = nearWords(word, names); !near.empty()) {
    return "no command of this name; near ones: " + listed(near);
  }
  std::string all;
  for (const std::string& name : names) {
    all += (all.empty() ? "" : &name == &names.back() ? " or " : ", ") + name;
  }
  const std::string of = group.empty() ? "" : std::string(group) + ": ";
  return of + "a command is expected: " + all + "; see `orv --help`";
}

}  // namespace orv::cli
