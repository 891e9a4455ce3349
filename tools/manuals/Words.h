#pragma once

#include "Manual.h"

#include <string>
#include <string_view>
#include <vector>

// What the completions of all shells ask of a manual.

namespace orv::manuals {

enum class ValueKind { Unknown, File, Folder, Choices };

/// What a value is, by its name in the help.
ValueKind kindOf(const std::string& value);
/// The choices that a name such as "1|2|3" lists.
std::vector<std::string> choicesOf(const std::string& value);

/// Every option of the program and its commands that takes so many values, by all its names, each once. Throws
/// std::logic_error where one name takes values in one place and other ones elsewhere: shells are told of a name once.
std::vector<std::string> namesWithValues(const Manual& manual, std::size_t count);
/// How many values the options take that take most.
std::size_t mostValues(const Manual& manual);

/// "--follow" and "-f".
std::vector<std::string> namesOf(const Option& option);
std::vector<std::string> namesOf(const std::vector<Option>& options);

/// The commands of one level: those of the program for "", the members of "local" for it.
std::vector<Command> commandsBelow(const Manual& manual, const std::string& group);
/// The last word of a command's name.
std::string lastWord(const Command& command);

std::string joined(const std::vector<std::string>& words, std::string_view between);
std::string replaced(std::string text, std::string_view what, std::string_view by);
/// The name as that of a shell's function: "_orv_devserver".
std::string functionName(const Manual& manual);

}  // namespace orv::manuals
