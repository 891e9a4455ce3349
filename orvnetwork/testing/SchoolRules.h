#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace orv::testing {

/// What is fixed in a `SimulatedSchool`, under whose name the constants are used:
///
///     EXPECT_EQ(reply.code(), orv::ReplyCode{orv::testing::SimulatedSchool::kWrongPassword});
struct SchoolRules {
  /// @name What it refuses with, by itself
  /// @{
  static constexpr std::int32_t kSessionOver = 2;         ///< a session by a token that does not count
  static constexpr std::int32_t kNoSession = 1001;        ///< the command needs a session
  static constexpr std::int32_t kNoSuchAccount = 1101;    ///< no user has this mobile number
  static constexpr std::int32_t kWrongPassword = 1102;    ///< the password's digest is another
  static constexpr std::int32_t kWrongCode = 1103;        ///< the verification code is not `kCode`
  static constexpr std::int32_t kMissingValue = 1104;     ///< a value is missing or of a wrong kind
  static constexpr std::int32_t kNoSuchClassroom = 1201;  ///< no classroom has this identifier
  static constexpr std::int32_t kNoSuchCourse = 1202;     ///< no course has this identifier
  static constexpr std::int32_t kNotAllowed = 1203;       ///< the course is another user's
  static constexpr std::int32_t kUnknownCommand = 9000;   ///< no command has this name
  /// @}

  /// The verification code that counts for every mobile number.
  static constexpr std::string_view kCode = "8888";
  /// The classroom that is there from the start, and that users and courses are in unless something else is said.
  static constexpr std::string_view kClassroom = "5001";
  /// Without an end, where something is to happen a number of times.
  static constexpr std::size_t kForever = std::numeric_limits<std::size_t>::max();
};

}  // namespace orv::testing
