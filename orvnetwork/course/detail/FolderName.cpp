#include "orvnetwork/course/detail/FolderName.h"

namespace orv {

std::string folderName(std::string_view text) {
  if (text == ".") return "%2E";
  if (text == "..") return "%2E%2E";
  std::string name;
  for (const char letter : text) {
    if (letter == '/') {
      name += "%2F";
    } else if (letter == '\0') {
      name += "%00";
    } else {
      name += letter;
    }
  }
  return name;
}

}  // namespace orv
