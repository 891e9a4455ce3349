#pragma once

#include <string>
#include <vector>

// What there is to say of a program, as data: its manual page and the completions of shells are made of it.

namespace orv::manuals {

struct Option {
  /// As it is written: "--server".
  std::string name;
  /// Its short form: 'v' for "-v"; 0: none.
  char letter = 0;
  /// Names of its values, one word a value; a word such as "1.2|1.3" lists all that there are. Empty: it takes none.
  std::vector<std::string> values{};
  std::string help{};
  /// What holds without it; may be empty.
  std::string byDefault{};
  bool repeats = false;
};

struct Argument {
  std::string name;
  std::string help{};
  bool required = true;
  bool many = false;
};

/// A command, or a group, whose members' names begin with its own: "local" and "local list".
struct Command {
  std::string name;
  std::string help{};
  std::vector<Argument> arguments{};
  std::vector<Option> options{};
  bool isGroup = false;
};

struct Section {
  std::string title;
  std::string text;
};

struct Manual {
  std::string name;
  std::string version;
  /// A few words behind the name.
  std::string summary;
  std::string description{};
  /// Those that every command takes, or the program's, if it has no commands.
  std::vector<Option> options{};
  std::vector<Command> commands{};
  std::vector<Section> sections{};
};

/// What is said of the programs of the project.
Manual manualOfOrv();
Manual manualOfDevserver();

/// The text of a file: a page for man, and what bash, zsh and fish read to complete the program's command line.
std::string manPage(const Manual& manual);
std::string bashCompletion(const Manual& manual);
std::string zshCompletion(const Manual& manual);
std::string fishCompletion(const Manual& manual);

}  // namespace orv::manuals
