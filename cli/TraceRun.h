#pragma once

#include <orvnetwork/transport/TraceFile.h>

#include <memory>
#include <string>

namespace orv::cli {

/// Writes the trace of frames to a file as long as it lives. To be made before the link is opened, and destroyed after it
/// was closed: then it waits until all is written, and tells standard error what is missing. Main thread.
class TraceRun {
 public:
  /// Throws `WrongOptions` where the file cannot be written.
  TraceRun(const std::string& path, bool shareable);
  TraceRun(const TraceRun&) = delete;
  TraceRun& operator=(const TraceRun&) = delete;
  ~TraceRun();

 private:
  std::shared_ptr<TraceFile> file_;
};

}  // namespace orv::cli
