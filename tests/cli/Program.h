#pragma once

#include <boost/json/object.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orv::test {

/// What a run of the program left behind.
struct Result {
  /// 128 + the number of the signal that ended it; -1 when it had to be killed because it did not end.
  int exitCode = -1;
  std::string out, err;
  double seconds = 0;

  std::vector<std::string> lines() const;
  /// Line i of the output, read as JSON; empty when it is none.
  boost::json::object json(std::size_t i = 0) const;
};

/// The console host as a child process with pipes on its standard input, output and error.
class Program {
 public:
  /// Starts it. With `closed` it finds that one of its standard descriptors closed.
  explicit Program(std::vector<std::string> arguments, std::optional<int> closed = {});
  /// Kills it if it still runs.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void write(const std::string& text);
  void closeInput();
  /// Closes this side of its standard output, as a reader does that has seen enough.
  void closeOutput();
  void signal(int number);
  /// Waits until its output holds the text; false after the time-out or at its end.
  bool waitForOutput(const std::string& text, std::chrono::seconds timeout = std::chrono::seconds(60));
  /// Waits for its end with its input open; false when that does not come in time.
  bool waitForEnd(std::chrono::seconds timeout = std::chrono::seconds(60));
  /// What it has printed and this object has read so far.
  const std::string& output() const { return result_.out; }
  /// Closes its input and waits for its end.
  Result wait(std::chrono::seconds timeout = std::chrono::seconds(60));

 private:
  bool readSome(int milliseconds);
  bool readFrom(int& descriptor, std::string& text);
  bool reaped(bool block);

  int input_ = -1, output_ = -1, error_ = -1;
  int pid_ = -1;
  std::optional<int> status_;
  Result result_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// Runs the program to its end with this standard input.
Result runOrv(std::vector<std::string> arguments, const std::string& input = {},
              std::optional<int> closed = {});

}  // namespace orv::test
