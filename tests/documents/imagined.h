#pragma once

#include <string_view>

/// What the pieces of code in the documents take for granted.
namespace snippet {

/// Shows a text to a person.
void show(std::string_view text);

}  // namespace snippet

using snippet::show;
