#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// What the program understands, as data: parser, help, completion and the configuration file are made of it.

namespace orv::cli {

/// An option of the program or of a command.
struct OptionSpec {
  /// As it is written: "--server".
  std::string_view name;
  /// Stands for its value in the help: "URL". Empty: it has none.
  std::string_view value{};
  std::string_view help{};
  /// Its short form: 'v' for "-v"; 0: none.
  char letter = 0;
  /// What holds without it; empty: nothing that could be written down.
  std::string_view byDefault{};
  /// What is wrong with a value, or "".
  std::string (*check)(std::string_view value) = nullptr;
  /// Whether it may stand in the configuration file, without its dashes.
  bool isSetting = false;
  /// Whether it may be given more than once, each time with another value. Of others the last one counts.
  bool repeats = false;
};

/// What stands behind a command without a name.
struct ArgumentSpec {
  std::string_view name;
  std::string_view help{};
  bool required = true;
  /// Whether there may be any number of them. It is the last one then.
  bool many = false;
};

/// A command, or a group of them, whose name the names of its members begin with: "local" and "local list".
struct CommandSpec {
  std::string_view name;
  std::string_view help;
  std::span<const ArgumentSpec> arguments{};
  std::span<const OptionSpec> options{};
  bool isGroup = false;
};

/// Where words come from.
enum class WordsFrom {
  CommandLine,
  Shell  ///< a line of the shell: of the program's options it takes --json and --help only
};

/// Options that every command takes, in front of it and behind it.
std::span<const OptionSpec> programOptions();
/// All commands, in the order in which they are told.
std::span<const CommandSpec> commandTable();

/// Null when there is none.
const CommandSpec* findCommand(std::string_view name);
/// An option of those by its name; null when there is none.
const OptionSpec* findOption(std::span<const OptionSpec> options, std::string_view name);

}  // namespace orv::cli
