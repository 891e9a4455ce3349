#pragma once

#include <functional>
#include <string_view>

namespace orv {

/// Lets a hash map with text keys be searched without a copy of the text.
struct StringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

}  // namespace orv
