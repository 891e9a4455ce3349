#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::test {

/// What a run of a program left behind.
struct ChildResult {
  /// 128 + the number of the signal that ended it; -1 when it had to be killed because it did not end.
  int exitCode = -1;
  std::string output;
  std::string errors;
  /// When it was seen to have ended.
  std::chrono::steady_clock::time_point endedAt;
};

/// A program that runs as a child process, with pipes on its standard input, output and error. One thread at a
/// time.
class ChildProgram {
 public:
  using Environment = std::vector<std::pair<std::string, std::string>>;

  /// Starts the program at `path`, with these variables beside this process's. Throws `std::runtime_error` when
  /// that is not possible.
  ChildProgram(const std::string& path, const std::vector<std::string>& arguments,
               const Environment& environment = {});
  ChildProgram(const ChildProgram&) = delete;
  ChildProgram& operator=(const ChildProgram&) = delete;
  /// Kills it if it still runs.
  ~ChildProgram();

  void closeInput() { input_.close(); }
  /// Waits until it has written this to its standard output. False when it has ended or the time is over before.
  bool waitForOutput(std::string_view text, std::chrono::seconds patience = std::chrono::seconds(60));
  /// Waits for its end and kills it when that does not come in time.
  ChildResult wait(std::chrono::seconds patience = std::chrono::seconds(60));

 private:
  /// Reads what there is; false once nothing can come any more.
  bool readSome(std::chrono::steady_clock::time_point deadline);

  pid_t process_ = -1;
  FileDescriptor input_;
  FileDescriptor output_;
  FileDescriptor errors_;
  ChildResult result_;
};

}  // namespace orv::test
