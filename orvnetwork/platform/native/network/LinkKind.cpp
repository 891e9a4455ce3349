#include "orvnetwork/platform/native/network/LinkKind.h"

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <array>
#include <string_view>

namespace orv {

namespace {

/// The start of a file, at most a page: files of this kind are never longer.
std::string readPage(const std::string& path) {
  const FileDescriptor file = FileDescriptor::open(path, O_RDONLY);
  std::array<char, 4096> page;
  const ssize_t size =
      file ? retryOnSignal([&] { return ::read(file.get(), page.data(), page.size()); }) : -1;
  return size > 0 ? std::string(page.data(), static_cast<std::size_t>(size)) : std::string();
}

}  // namespace

bool isCellularLink(const std::string& sysfsRoot, const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) return false;
  // A line feed on either side makes every line look alike.
  const std::string lines = "\n" + readPage(sysfsRoot + "/" + name + "/uevent") + "\n";
  return lines.find("\nDEVTYPE=wwan\n") != std::string::npos;
}

}  // namespace orv
