// What a run leaves behind.

#include <orvnetwork/support/QXPathManager.h>

#include "cli/demo/Steps.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>

namespace orv::cli::demo {

namespace {

namespace fs = std::filesystem;

/// Of more files than this in a folder only the first are shown.
constexpr std::size_t kMostFiles = 4;

std::string sizeText(std::uintmax_t bytes) {
  return bytes < 1024 ? std::to_string(bytes) + " B" : decimal(static_cast<double>(bytes) / 1024, 1) + " KiB";
}

struct Total {
  std::size_t files = 0;
  std::uintmax_t bytes = 0;
};

Total totalOf(const fs::path& folder) {
  Total total;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (!entry->is_regular_file(error)) continue;
    ++total.files;
    total.bytes += entry->file_size(error);
  }
  return total;
}

void showFolder(Stage& stage, const fs::path& folder, const std::string& indent) {
  std::map<std::string, fs::path> folders, files;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    (entry->is_directory(error) ? folders : files).emplace(entry->path().filename().string(), entry->path());
  }
  for (const auto& [name, path] : folders) {
    stage.file(indent + name + "/", {});
    showFolder(stage, path, indent + "  ");
  }
  std::size_t shown = 0;
  Total rest;
  for (const auto& [name, path] : files) {
    if (++shown <= kMostFiles || files.size() == kMostFiles + 1) {
      stage.file(indent + name, sizeText(fs::file_size(path, error)));
    } else {
      ++rest.files;
      rest.bytes += fs::file_size(path, error);
    }
  }
  if (rest.files > 0) {
    stage.file(indent + "… and " + std::to_string(rest.files) + " more", sizeText(rest.bytes));
  }
}

}  // namespace

void diskIsShown(Tour& tour) {
  const fs::path documents = QXPathManager::sharedManager().documentDirectory();
  tour.stage.file(documents.string() + "/", {});
  showFolder(tour.stage, documents, "  ");
  const Total total = totalOf(documents);
  const auto user = documents / "userInfo/userInfo.plist";
  std::error_code error;
  const bool isPrivate =
      (fs::status(user, error).permissions() & fs::perms(077)) == fs::perms::none && !error;
  tour.stage.verdict("the user's file is for the owner's eyes only", isPrivate,
                     isPrivate ? "mode 0600" : "not so");
  tour.stage.verdict("the catalogue stays for the next log-in",
                     fs::exists(documents / "orv_course/100001/5001/cloud", error),
                     std::to_string(total.files) + " files, " + sizeText(total.bytes));
}

}  // namespace orv::cli::demo
