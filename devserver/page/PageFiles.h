#pragma once

#include <string_view>

namespace orv::devserver {

/// A file of the page, as the build has put it into the program.
struct PageFile {
  std::string_view target;  ///< "/page.css"
  std::string_view type;    ///< "text/css; charset=utf-8"
  std::string_view content;
};

/// The file that answers this target; null: none does.
const PageFile* findPageFile(std::string_view target);

}  // namespace orv::devserver
