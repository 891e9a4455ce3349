#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace orv::devserver {

namespace json = boost::json;

/// Result codes of the server's own making.
namespace result {
inline constexpr int kSessionOver = 2;       ///< "User.Post.Session" with a token that does not count
inline constexpr int kNoSession = 1001;      ///< the command needs a session
inline constexpr int kNoSuchAccount = 1101;  ///< no account has this mobile number
inline constexpr int kWrongPassword = 1102;  ///< the password's digest is another
inline constexpr int kWrongCode = 1103;      ///< the verification code is another
inline constexpr int kMissingValue = 1104;   ///< a value that the command needs is absent or of a wrong kind
inline constexpr int kPhoneTaken = 1105;     ///< the mobile number already has an account
inline constexpr int kSchoolFull = 1106;     ///< no further account is taken
inline constexpr int kNoSuchClassroom = 1201;     ///< no classroom has this id
inline constexpr int kNoSuchCourse = 1202;        ///< no course or room has this id
inline constexpr int kNotAllowed = 1203;          ///< not for this user
inline constexpr int kWrongState = 1204;          ///< not while the room or the course is as it is
inline constexpr int kNoSuchThing = 1205;         ///< no message, replay, file, vendor … has this id
inline constexpr int kTooMany = 1206;             ///< the school holds as many of these as it may
inline constexpr int kSilenced = 1207;            ///< the user may not speak in this room
inline constexpr int kUnknownCommand = 9000;      ///< no command has this name
inline constexpr int kStoreFailed = 9004;         ///< the data file could not be read or written
inline constexpr int kNoCommand = 9001;           ///< the frame has no "c", or one that is not text
inline constexpr int kValuesNotObject = 9002;     ///< "v" is there and is not an object
inline constexpr int kTimestampWrongKind = 9003;  ///< "s" is neither text nor a number
}  // namespace result

/// One request as it came, in the standard form ("s" is text) or the compact one ("s" is a number).
struct RequestFrame {
  std::string command;
  json::value timestamp;  ///< "s" in the kind in which it came
  json::object values;    ///< "v"; empty when absent
  bool hasValues = false;
};

/// What became of reading one text frame.
struct ParsedFrame {
  std::optional<RequestFrame> request;  ///< absent: malformed
  json::value timestamp;                ///< of a malformed frame; null: nothing to answer to
  int code = 0;                         ///< of a malformed frame
  std::string problem;                  ///< of a malformed frame, as a sentence for a person
};

/// Reads a request frame. Never throws for what the text holds; nesting is limited to 512.
ParsedFrame parseRequestFrame(std::string_view text);

/// "v" of a refusal.
json::object refusal(int code, std::string_view text);

/// "v" of a success.
json::object success(json::value data);

/// A whole reply or push frame: {"C":command,"s":timestamp,"v":values}. A null timestamp leaves "s" out.
std::string frameText(std::string_view command, json::value timestamp, json::object values);

}  // namespace orv::devserver
