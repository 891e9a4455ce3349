#include "orvnetwork/data/PathText.h"

namespace orv {

std::string appendPathComponent(std::string_view path, std::string_view component) {
  std::string joined;
  joined.reserve(path.size() + component.size() + 1);
  const auto append = [&joined](std::string_view text) {
    for (const char character : text) {
      if (character != '/' || joined.empty() || joined.back() != '/') joined += character;
    }
  };
  append(path);
  if (!joined.empty()) append("/");
  append(component);
  if (joined.size() > 1 && joined.back() == '/') joined.pop_back();
  return joined;
}

}  // namespace orv
