#pragma once

#include <orvnetwork/data/Export.h>

#include <string>
#include <string_view>

namespace orv {

/// The locale that a name stands for which the C library may use: language, script, country and variant.
///
/// "zh_CN.UTF-8" is "zh_CN": the character set is left out. What follows "@" counts when it names a script
/// ("sr_RS@latin" is "sr_Latn_RS") or a variant ("ca_ES@valencia" is "ca_ES_VALENCIA"), or when it holds
/// settings ("th_TH@calendar=gregorian" stays as it is); anything else there ("de_DE@euro") is left out. "C",
/// "POSIX" and "" are "en_US_POSIX". Any thread.
ORV_EXPORT std::string plainLocaleName(std::string_view name);

}  // namespace orv
