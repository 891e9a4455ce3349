#include "Manual.h"
#include "Words.h"

namespace orv::manuals {

namespace {

/// A text as roff takes it: nothing in it is a request, and dashes can be copied. What stands between backquotes is bold.
std::string roff(const std::string& text) {
  std::string made;
  bool isBold = false;
  for (const char c : text) {
    if (c == '`') {
      isBold = !isBold;
      made += isBold ? "\\fB" : "\\fR";
    } else if (c == '\\') {
      made += "\\e";
    } else if (c == '-') {
      made += "\\-";
    } else {
      made += c;
    }
  }
  while (made.ends_with("\n")) made.pop_back();
  return (made.starts_with(".") || made.starts_with("'") ? "\\&" : "") + made;
}

std::string bold(const std::string& text) {
  return "\\fB" + roff(text) + "\\fR";
}

std::string italic(const std::string& text) {
  return "\\fI" + roff(text) + "\\fR";
}

std::string optionText(const Option& option) {
  std::string text = ".TP\n";
  if (option.letter != 0) text += bold(std::string("-") + option.letter) + ", ";
  text += bold(option.name);
  for (const std::string& value : option.values) text += " " + italic(value);
  std::string help = option.help;
  if (!option.byDefault.empty()) help += " (" + option.byDefault + ")";
  return text + "\n" + roff(help) + "\n";
}

std::string argumentText(const Argument& argument) {
  const std::string name = italic(argument.name) + (argument.many ? "..." : "");
  return " " + (argument.required ? name : "[" + name + "]");
}

std::string commandText(const Command& command) {
  std::string text = ".SS " + bold(command.name);
  for (const Argument& argument : command.arguments) text += argumentText(argument);
  if (!command.options.empty()) text += " [" + italic("OPTIONS") + "]";
  text += "\n" + roff(command.help) + ".\n";
  for (const Argument& argument : command.arguments) {
    text += ".TP\n" + italic(argument.name) + "\n" + roff(argument.help) + "\n";
  }
  for (const Option& option : command.options) text += optionText(option);
  return text;
}

}  // namespace

std::string manPage(const Manual& manual) {
  std::string text = ".\\\" Made from the program's own tables of options and commands.\n";
  text += ".TH " + replaced(manual.name, "-", "\\-") + " 1 \"\" \"" + manual.name + " " + manual.version +
          "\" \"OrvNetwork\"\n";
  text += ".SH NAME\n" + roff(manual.name) + " \\- " + roff(manual.summary) + "\n";
  text += ".SH SYNOPSIS\n" + bold(manual.name) + " [" + italic("OPTIONS") + "]";
  if (!manual.commands.empty()) text += " " + italic("COMMAND") + " [" + italic("OPTIONS") + "]";
  text += "\n.SH DESCRIPTION\n" + roff(manual.description) + "\n";
  if (!manual.commands.empty()) text += ".SH COMMANDS\n";
  for (const Command& command : manual.commands) {
    if (!command.isGroup) text += commandText(command);
  }
  text += ".SH OPTIONS\n";
  if (!manual.commands.empty()) text += "They stand in front of the command or behind it.\n";
  for (const Option& option : manual.options) text += optionText(option);
  for (const Section& section : manual.sections) {
    text += ".SH \"" + section.title + "\"\n" + roff(section.text) + "\n";
  }
  return text;
}

}  // namespace orv::manuals
