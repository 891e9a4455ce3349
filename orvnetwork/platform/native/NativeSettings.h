#pragma once

#include <string>
#include <string_view>

namespace orv {

/// The user's locale out of `LC_ALL`, `LC_TIME` and `LANG`, the first that is set, as `plainLocaleName` tells it;
/// "en_US_POSIX" when none is set. Any thread.
std::string nativeLocaleName();

/// The same for the value of a variable.
std::string localeNameOfVariable(std::string_view value);

}  // namespace orv
