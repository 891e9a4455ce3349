#include "cli/WrongWords.h"

#include "cli/NearNames.h"
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace orv::cli {

namespace {

/// A word that differs in more characters was meant otherwise.
constexpr std::size_t kNearest = 2;
/// No name has as many characters.
constexpr std::size_t kLongest = 40;

std::vector<std::string> optionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::vector<std::string> commandsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(command->get_name());
  }
  return names;
}

/// Those that a word is most likely meant for: it is their beginning, or else the fewest characters differ.
std::vector<std::string> near(std::string_view word, const std::vector<std::string>& names) {
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

std::string listed(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

std::string wrongOption(const std::string& name, const CLI::App& app, const CLI::App& level) {
  const auto here = near(name, optionsOf(level));
  if (!here.empty()) return "no option of this name; near ones: " + listed(here);
  const auto inFront = &level == &app ? here : near(name, optionsOf(app));
  if (inFront.empty()) return {};
  return "no option of this name; near ones, in front of the command: " + listed(inFront);
}

/// Reads the words as the parser does, until one is wrong.
class Explainer {
 public:
  explicit Explainer(const CLI::App& app) : app_(app), level_(&app) {}

  std::string explain(const std::vector<std::string>& words) {
    std::string problem;
    for (std::size_t i = 0; i < words.size() && problem.empty() && words[i] != "--"; ++i) {
      if (isValue_) {
        isValue_ = false;
      } else if (words[i].starts_with("--")) {
        problem = option(words[i]);
      } else {
        problem = word(words[i]);
      }
    }
    return problem;
  }

 private:
  std::string option(const std::string& word) {
    const std::string name = word.substr(0, word.find('='));
    if (const CLI::Option* const known = level_->get_option_no_throw(name)) {
      isValue_ = word == name && known->get_items_expected_max() > 0;
      return {};
    }
    if (level_ != &app_ && app_.get_option_no_throw(name) != nullptr) {
      return name + " stands in front of the command: orv " + name + " … " + path_ + "; see `orv --help`";
    }
    return wrongOption(name, app_, *level_);
  }

  std::string word(const std::string& word) {
    const auto commands = commandsOf(*level_);
    if (commands.empty()) return {};
    const auto named =
        level_->get_subcommands([&word](const CLI::App* app) { return app->get_name() == word; });
    if (!named.empty()) {
      level_ = named.front();
      path_ += (path_.empty() ? "" : " ") + word;
      return {};
    }
    const auto meant = near(word, commands);
    return meant.empty() ? std::string() : "no command of this name; near ones: " + listed(meant);
  }

  const CLI::App& app_;
  const CLI::App* level_;
  /// The commands that were read.
  std::string path_;
  /// Whether the next word is the value of an option.
  bool isValue_ = false;
};

}  // namespace

std::string explainWords(const CLI::App& app, const std::vector<std::string>& words) {
  return Explainer(app).explain(words);
}

}  // namespace orv::cli
