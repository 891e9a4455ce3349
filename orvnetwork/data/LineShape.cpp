#include "orvnetwork/data/LineShape.h"

#include <algorithm>

namespace orv {

bool beginsLike(std::string_view text, std::string_view shape) {
  return text.size() >= shape.size() &&
         std::equal(shape.begin(), shape.end(), text.begin(),
                    [](char form, char c) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

void appendMessage(std::string& out, std::string_view message, std::string_view shape) {
  while (true) {
    const auto end = message.find('\n');
    out += message.substr(0, end);
    if (end == std::string_view::npos) return;
    message.remove_prefix(end + 1);
    out += beginsLike(message, shape) ? "\\n" : "\n";
  }
}

}  // namespace orv
