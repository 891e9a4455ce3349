#pragma once

#include <orvnetwork/data/Types.h>

#include "cli/Grammar.h"

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orv::cli {

/// The command line asks for something that the program does not do.
struct WrongUse {
  std::string message;
};

/// What the words of a command line say by the table of what the program understands.
struct GivenWords {
  /// Null where a text is asked for before a command was named.
  const CommandSpec* command = nullptr;
  /// Options with their values in the order given; "" for those that take none.
  std::vector<std::pair<const OptionSpec*, std::string>> options;
  std::vector<std::string> arguments;

  bool has(std::string_view option) const { return value(option).has_value(); }
  /// The value that was given last; absent when none was.
  OptionalString value(std::string_view option) const;
  std::vector<std::string> values(std::string_view option) const;
};

/// Reads the words. What it says is wrong repeats no word that is not a name of its own: one of them may be secret.
std::variant<GivenWords, WrongUse> readWords(std::span<const std::string> words, WordsFrom from);

}  // namespace orv::cli
