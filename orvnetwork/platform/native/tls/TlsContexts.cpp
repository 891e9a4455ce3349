#include "orvnetwork/platform/native/tls/TlsContexts.h"

#include <orvnetwork/platform/native/tls/TlsTickets.h>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace orv {

namespace {

/// What tells that a file has changed: where it lies, its size, and when it was written.
using FileMark = std::array<std::int64_t, 6>;

FileMark markOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  return {static_cast<std::int64_t>(status.st_dev),
          static_cast<std::int64_t>(status.st_ino),
          static_cast<std::int64_t>(status.st_size),
          status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec,
          status.st_ctim.tv_nsec};
}

std::vector<FileMark> marksOf(const TlsSettings& settings) {
  std::vector<FileMark> marks;
  for (const std::string& path : settings.rootFiles) marks.push_back(markOf(path));
  if (settings.certificateFile) marks.push_back(markOf(*settings.certificateFile));
  if (settings.keyFile) marks.push_back(markOf(*settings.keyFile));
  return marks;
}

struct KnownContext {
  TlsSettings settings;
  std::vector<FileMark> marks;
  std::shared_ptr<const TlsContext> context;
};

/// Never destroyed: the network thread uses them while the process ends.
struct KnownContexts {
  /// Reading the system's roots takes time, so this one stays.
  std::shared_ptr<const TlsContext> standard;
  std::deque<KnownContext> others;  // the one that was used last stands last

  static KnownContexts& all() {
    static KnownContexts* const contexts = new KnownContexts;
    return *contexts;
  }
};

Result<std::shared_ptr<const TlsContext>> standardContext() {
  auto& standard = KnownContexts::all().standard;
  if (standard == nullptr) {
    auto made = TlsContext::make({});
    if (!made) return made.error();
    standard = *std::move(made);
  }
  return standard;
}

Result<std::shared_ptr<const TlsContext>> knownOrNewContext(const TlsSettings& settings) {
  if (settings == TlsSettings{}) return standardContext();
  auto& known = KnownContexts::all().others;
  // Before they are read: a file that changes meanwhile is read once more the next time.
  KnownContext wanted{settings, marksOf(settings), nullptr};
  const auto found = std::find_if(known.begin(), known.end(), [&](const KnownContext& one) {
    return one.settings == wanted.settings && one.marks == wanted.marks;
  });
  if (found != known.end()) {
    wanted.context = found->context;
    known.erase(found);
  } else {
    auto made = TlsContext::make(settings);
    if (!made) return made.error();
    wanted.context = *std::move(made);
  }
  known.push_back(wanted);
  if (known.size() > kMostTlsContexts) known.pop_front();
  return wanted.context;
}

}  // namespace

Result<std::shared_ptr<const TlsContext>> tlsContextFor(const TlsSettings& settings) {
  TlsSettings checked = settings;
  checked.resumes = true;
  auto context = knownOrNewContext(checked);
  if (context) tlsTickets().keepOnly((*context)->number());
  return context;
}

}  // namespace orv
