#pragma once

#include <orvnetwork/data/Types.h>

#include <cstddef>
#include <functional>
#include <string_view>

namespace orv::cli {

/// Standard output, or what takes its place. Each line is written at once and whole.
class Output {
 public:
  /// Writes a text, as `printable` shows it, and a line feed. False when it cannot be written; nothing is written from
  /// then on.
  bool line(std::string_view text);
  /// Writes a dictionary as one line of JSON, likewise.
  bool line(const json::object& object);
  /// Writes a text of the program's own as it is, with its colours.
  bool text(std::string_view text);

  /// Gives the texts to a function in the place of standard output; an empty one ends that. It returns the number of
  /// an error, or 0.
  void redirect(std::function<int(std::string_view text)> writer) { writer_ = std::move(writer); }

  /// Whether lists are to be written as tables, since a person reads them. At first they are not.
  bool wantsTables() const { return wantsTables_; }
  void setWantsTables(bool wanted) { wantsTables_ = wanted; }

  /// Whether something could not be written.
  bool failed() const { return failure_ != 0; }
  /// Why, as a number of the system; 0 when all was written.
  int failure() const { return failure_; }
  /// Whether standard output is a pipe or a connection that nobody reads any more.
  static bool abandoned();
  /// Whether a person sees it in a terminal that knows colours.
  static bool wantsColours();
  /// How many columns the terminal of standard output has; 80 where it has none, or tells nothing.
  static std::size_t columns();

 private:
  std::function<int(std::string_view)> writer_;
  int failure_ = 0;
  bool wantsTables_ = false;
};

/// Writes to a descriptor until all is written; the number of the error otherwise, or 0.
int writeAll(int descriptor, std::string_view text);

}  // namespace orv::cli
