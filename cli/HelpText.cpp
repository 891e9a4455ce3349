#include "cli/HelpText.h"

#include "cli/TextWidth.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::cli {

namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kWidestName = 26;

constexpr std::string_view kRemarks =
    "On a terminal lists are tables; elsewhere, and with --json, answers are JSON,\n"
    "a line each, on standard output. Diagnostics go to standard error. Defaults may\n"
    "stand in ~/.config/orv/config, as `wait = 20`, and the server in the variable\n"
    "ORV_SERVER.\n";
constexpr std::string_view kExitCodes =
    "Exit codes: 0 success, 1 wrong use, 2 refused by the server, 3 time-out or no\n"
    "link.\n";

using Rows = std::vector<std::pair<std::string, std::string>>;

/// A text of words from a column on, wrapped at the width of a small terminal.
std::string wrapped(std::string_view text, std::size_t from) {
  std::string lines;
  std::size_t column = from;
  while (!text.empty()) {
    const std::size_t end = text.find(' ');
    const std::string_view word = text.substr(0, end);
    if (column > from && column + 1 + textWidth(word) > kColumns) {
      lines += "\n" + std::string(from, ' ');
      column = from;
    } else if (column > from) {
      lines += ' ';
      ++column;
    }
    lines += word;
    column += textWidth(word);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines + "\n";
}

std::string inTwoColumns(std::string_view title, const Rows& rows) {
  if (rows.empty()) return {};
  std::size_t widest = 0;
  for (const auto& [name, help] : rows) {
    if (name.size() <= kWidestName) widest = std::max(widest, name.size());
  }
  std::string text = "\n" + std::string(title) + "\n";
  for (const auto& [name, help] : rows) {
    text += "  " + name;
    const std::size_t from = widest + 4;
    text += name.size() > widest ? "\n" + std::string(from, ' ') : std::string(from - 2 - name.size(), ' ');
    text += wrapped(help, from);
  }
  return text;
}

Rows optionRows(std::span<const OptionSpec> options) {
  Rows rows;
  for (const OptionSpec& option : options) {
    std::string name = option.letter != 0 ? std::string("-") + option.letter + ", " : std::string("    ");
    name += option.name;
    if (!option.value.empty()) name += " " + std::string(option.value);
    std::string help(option.help);
    if (!option.byDefault.empty()) help += " (" + std::string(option.byDefault) + ")";
    rows.emplace_back(std::move(name), std::move(help));
  }
  return rows;
}

std::string usageOf(const ArgumentSpec& argument) {
  const std::string name = std::string(argument.name) + (argument.many ? "..." : "");
  return argument.required ? " " + name : " [" + name + "]";
}

std::string shownCommand(const CommandSpec& command) {
  std::string text(command.name);
  for (const ArgumentSpec& argument : command.arguments) text += usageOf(argument);
  return text;
}

}  // namespace

std::string helpOfProgram() {
  Rows commands;
  for (const CommandSpec& command : commandTable()) {
    if (!command.isGroup) commands.emplace_back(shownCommand(command), command.help);
  }
  return "The console host of OrvNetwork.\n\n  orv [OPTIONS] COMMAND [OPTIONS]\n" +
         inTwoColumns("Commands; `orv COMMAND --help` tells what each takes:", commands) +
         inTwoColumns("Options, in front of the command or behind it:", optionRows(programOptions())) + "\n" +
         std::string(kRemarks) + std::string(kExitCodes);
}

std::string_view remarksOfHelp() {
  return kRemarks;
}

std::string_view exitCodesOfHelp() {
  return kExitCodes;
}

std::string helpOf(const CommandSpec& command) {
  if (command.isGroup) {
    Rows members;
    for (const CommandSpec& other : commandTable()) {
      if (other.name.starts_with(std::string(command.name) + " ")) {
        members.emplace_back(shownCommand(other), other.help);
      }
    }
    return std::string(command.help) + "\n" + inTwoColumns("Commands:", members);
  }
  Rows arguments;
  for (const ArgumentSpec& argument : command.arguments) arguments.emplace_back(argument.name, argument.help);
  return std::string(command.help) + "\n\n  orv " + shownCommand(command) +
         (command.options.empty() ? "" : " [OPTIONS]") + "\n" + inTwoColumns("Arguments:", arguments) +
         inTwoColumns("Options:", optionRows(command.options)) +
         "\nIt takes the options of `orv --help`, too.\n";
}

}  // namespace orv::cli
