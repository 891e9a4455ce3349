#include "cli/GivenWords.h"

#include "cli/WrongWords.h"

#include <algorithm>
#include <optional>

namespace orv::cli {

namespace {

/// Reads words from the first to the last, until one is wrong.
class WordsReader {
 public:
  WordsReader(std::span<const std::string> words, WordsFrom from) : words_(words), from_(from) {}

  std::variant<GivenWords, WrongUse> read() {
    for (at_ = 0; at_ < words_.size() && problem_.empty(); ++at_) {
      const std::string& word = words_[at_];
      if (!onlyArguments_ && word == "--") {
        onlyArguments_ = true;
      } else if (!onlyArguments_ && looksLikeOption(word)) {
        readOption(word);
      } else {
        readWord(word);
      }
    }
    if (problem_.empty()) checkWhole();
    if (!problem_.empty()) return WrongUse{problem_};
    return std::move(given_);
  }

 private:
  const OptionSpec* known(std::string_view name) const {
    if (given_.command != nullptr) {
      if (const auto* own = findOption(given_.command->options, name)) return own;
    }
    const auto* common = findOption(programOptions(), name);
    const bool fits = from_ == WordsFrom::CommandLine || (common != nullptr && fitsShell(*common));
    return fits ? common : nullptr;
  }

  /// No JSON text begins with two dashes, and a number may begin with one.
  bool looksLikeOption(const std::string& word) const {
    return word.starts_with("--") || (word.size() == 2 && word[0] == '-' && known(word) != nullptr);
  }

  void readOption(const std::string& word) {
    const auto equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const OptionSpec* const option = known(name);
    if (option == nullptr) {
      problem_ = wrongOption(name, given_.command, from_);
    } else if (option->value.empty()) {
      if (equals != std::string::npos) problem_ = std::string(option->name) + " takes no value";
      given_.options.emplace_back(option, "");
    } else if (equals != std::string::npos) {
      take(*option, word.substr(equals + 1));
    } else if (at_ + 1 < words_.size()) {
      take(*option, words_[++at_]);
    } else {
      problem_ = std::string(option->name) + ": " + std::string(option->value) + " is missing";
    }
  }

  void take(const OptionSpec& option, std::string value) {
    if (option.check != nullptr) problem_ = option.check(value);
    if (!problem_.empty()) problem_.insert(0, std::string(option.name) + ": ");
    given_.options.emplace_back(&option, std::move(value));
  }

  void readWord(const std::string& word) {
    if (given_.command != nullptr && !given_.command->isGroup) return given_.arguments.push_back(word);
    const std::string group = given_.command != nullptr ? std::string(given_.command->name) : "";
    const CommandSpec* const named = findCommand(group.empty() ? word : group + " " + word);
    if (named == nullptr || (group.empty() && word.find(' ') != std::string::npos)) {
      problem_ = wrongCommand(word, group);
    } else {
      given_.command = named;
    }
  }

  /// Whether all is there, and not more.
  void checkWhole() {
    if (given_.has("--help") || given_.has("--version")) return;
    if (given_.command == nullptr || given_.command->isGroup) {
      problem_ = wrongCommand("", given_.command != nullptr ? given_.command->name : "");
      return;
    }
    const auto arguments = given_.command->arguments;
    const bool many = !arguments.empty() && arguments.back().many;
    const std::size_t count = given_.arguments.size();
    if (count > arguments.size() && !many) {
      problem_ = "too many arguments; see `orv " + std::string(given_.command->name) + " --help`";
    }
    for (std::size_t i = count; i < arguments.size() && problem_.empty(); ++i) {
      if (arguments[i].required) problem_ = std::string(arguments[i].name) + " is required";
    }
  }

  const std::span<const std::string> words_;
  const WordsFrom from_;
  std::size_t at_ = 0;
  bool onlyArguments_ = false;
  GivenWords given_;
  std::string problem_;
};

}  // namespace

OptionalString GivenWords::value(std::string_view option) const {
  const std::vector<std::string> all = values(option);
  return all.empty() ? std::nullopt : OptionalString(all.back());
}

std::vector<std::string> GivenWords::values(std::string_view option) const {
  std::vector<std::string> all;
  for (const auto& [spec, value] : options) {
    if (spec->name == option) all.push_back(value);
  }
  return all;
}

std::variant<GivenWords, WrongUse> readWords(std::span<const std::string> words, WordsFrom from) {
  return WordsReader(words, from).read();
}

}  // namespace orv::cli
