#pragma once

#include <orvnetwork/platform/Export.h>
#include <orvnetwork/platform/Types.h>

namespace orv {

/// Small tools for text and hashes. There are no instances. Any thread.
class ORV_EXPORT QXCommonTools {
 public:
  QXCommonTools() = delete;

  /// The MD5 digest of the text's UTF-8 bytes up to the first zero byte, as 32 lower-case hexadecimal digits.
  static std::string md5HexDigest(std::string_view text);

  /// Whether there is nothing in it: true for an absent value, empty text, and an array or a dictionary
  /// without members; false for every number and boolean.
  static bool isEmptyString(const Object& value);

  /// The value itself, unchanged in kind (a number stays a number); "" for an absent one.
  static json::value formatString(const Object& value);
};

}  // namespace orv
