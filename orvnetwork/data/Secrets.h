#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// What stands in the place of a hidden value.
inline constexpr std::string_view kHiddenSecret = "***";

/// Whether a value of this name is hidden: it is one of those below, or `another`, in any case. Any thread.
ORV_EXPORT bool isSecretName(std::string_view name, std::string_view another = {});

/// The text with the values under "pwd", "pass", "passwd", "opwd", "npwd", "token" and "scode" hidden, whatever the
/// case of these names and whatever form the text has: `"name" : value` of JSON, whole, cut short, or escaped any
/// number of times inside other texts; `name = value;` of a described dictionary; `name=value` of an address; names
/// in quotes of either kind.
///
/// A value in double quotes keeps its quotes, so that JSON stays JSON; numbers, words, arrays and dictionaries are
/// replaced as a whole. Where the end of a value cannot be told, all that follows is hidden with it: behind a value
/// in single quotes, behind an array or a dictionary when the brackets of the text do not pair, and when the text
/// ends within the value. `another` is one more name, for those who know of one; empty: none. Takes time in
/// proportion to the text. Any thread.
ORV_EXPORT std::string hideSecrets(std::string_view text, std::string_view another = {});

/// Hides the values under the same names in a JSON value, at every level: each becomes the text "***", whatever its
/// kind. Texts under other names are treated as by `hideSecrets`. As deep as the value is nested, so deep is the
/// stack. The value must not be used by others meanwhile.
ORV_EXPORT void hideSecretsInPlace(json::value& value, std::string_view another = {});

}  // namespace orv
