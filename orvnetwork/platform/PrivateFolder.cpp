#include "orvnetwork/platform/PrivateFolder.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace orv {

bool makePrivateFolder(FileSystem& files, const std::string& root, const std::string& path,
                       std::error_code& error) {
  // What is made on the way to a deeper folder is open to others, so each level is made by itself.
  const std::string parent = path.substr(0, std::min(path.rfind('/'), path.size()));
  const bool isBelowRoot = parent.starts_with(root) && parent.substr(root.size()).starts_with('/');
  if (isBelowRoot && !files.exists(parent) && !makePrivateFolder(files, root, parent, error)) return false;
  return files.createDirectory(path, true, kPrivateFolderMode, error);
}

}  // namespace orv
