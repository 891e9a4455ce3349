#include "orvnetwork/client/detail/InstallationFile.h"

#include <orvnetwork/client/detail/PlainText.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/platform/LockFile.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PrivateFolder.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include <array>
#include <cstdio>
#include <optional>
#include <system_error>

namespace orv {

namespace {

constexpr Seconds kLongestWait{2};

OptionalString documentsFolder() {
  return Platform::current().directories().searchPath(kDocumentDirectoryCode);
}

OptionalString usualPath() {
  const OptionalString documents = documentsFolder();
  return documents ? OptionalString(appendPathComponent(*documents, "OrvInstallation/identifier"))
                   : std::nullopt;
}

std::string folderOf(const std::string& path) {
  const std::string folder = path.substr(0, path.rfind('/'));
  return folder.empty() ? "/" : folder;
}

/// One file that keeps an identifier.
class InstallationFile {
 public:
  explicit InstallationFile(std::string path) : path_(std::move(path)) {}

  /// The identifier; absent when the file has none and none can be kept: `error()` tells why.
  OptionalString identifier() {
    if (auto kept = read()) return kept;
    if (!makePrivateFolder(files_, documentsFolder().value_or("/"), folderOf(path_), error_)) {
      return std::nullopt;
    }
    // Without locks, as on some file systems, the file is made all the same.
    const auto lock = files_.openLockFile(path_ + ".lock", kPrivateFileMode);
    const bool isOurs = !lock || lock->lock(kLongestWait);
    // Another program may have made it meanwhile.
    if (auto kept = read()) return kept;
    if (!isOurs) error_ = std::make_error_code(std::errc::timed_out);
    return error_ ? std::nullopt : make();
  }
  /// Removes, on the worker pool, what programs that were killed while they made the file have left beside it.
  void tidyLater() const {
    Platform::current().globalQueue().post(
        [folder = folderOf(path_)] { Platform::current().files().removeLeftovers(folder); });
  }
  std::error_code error() const { return error_; }

 private:
  /// What the file has; absent when there is none, or nothing of use.
  OptionalString read() {
    isDamaged_ = false;
    if (!files_.exists(path_)) return std::nullopt;
    auto text = files_.read(path_, error_);
    while (text && (text->ends_with('\n') || text->ends_with('\r'))) text->pop_back();
    if (!text || isPlainText(*text)) return text;
    isDamaged_ = true;
    return std::nullopt;
  }

  /// Writes a new one. The lock must be had: another program's is not to be set aside.
  OptionalString make() {
    if (isDamaged_) {
      consoleLog("%@ is damaged, set aside as %@.damaged", path_, path_);
      if (!files_.rename(path_, path_ + ".damaged", error_)) return std::nullopt;
    }
    std::string made = randomIdentifier();
    if (!files_.writeAtomically(path_, made + "\n", Durability::Durable, kPrivateFileMode, error_)) {
      return std::nullopt;
    }
    return made;
  }

  FileSystem& files_ = Platform::current().files();
  const std::string path_;
  bool isDamaged_ = false;
  std::error_code error_;
};

}  // namespace

std::string randomIdentifier() {
  std::array<std::uint32_t, 4> parts{};
  for (auto& part : parts) part = Platform::current().random();
  parts[1] = (parts[1] & 0xFFFF0FFFU) | 0x00004000U;
  parts[2] = (parts[2] & 0x3FFFFFFFU) | 0x80000000U;
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%08x-%04x-%04x-%04x-%04x%08x", parts[0], parts[1] >> 16,
                parts[1] & 0xFFFFU, parts[2] >> 16, parts[2] & 0xFFFFU, parts[3]);
  return text.data();
}

std::string installationIn(const OptionalString& path) {
  const OptionalString place = path ? path : usualPath();
  if (!place) {
    consoleLog("there is no folder for the identifier of this installation");
    return randomIdentifier();
  }
  InstallationFile file(*place);
  auto kept = file.identifier();
  file.tidyLater();
  if (kept) return *std::move(kept);
  consoleLog("the identifier of this installation cannot be kept in %@: %@", *place, file.error().message());
  return randomIdentifier();
}

}  // namespace orv
