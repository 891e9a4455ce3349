#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// What may follow what has been typed.
struct Completion {
  /// Where the word begins that is being typed.
  std::size_t from = 0;
  /// What it may become.
  std::vector<std::string> words;
  /// What is expected there, for a person; shown when there is no word to offer.
  std::string hint;
};

/// Where numbers of courses come from.
struct KnownCourses {
  std::vector<std::string> local, cloud;
};

/// Completes the last word of a text: commands of the shell, operations by their full keyword form, what belongs
/// behind each of them, and what kind of argument an operation takes next.
Completion complete(std::string_view text, const KnownCourses& courses);

/// The first words that the shell knows, beside the names of operations.
const std::vector<std::string>& shellCommands();

/// What the embedded server can be told, as examples.
const std::vector<std::string>& serverExamples();

}  // namespace orv::cli
