#pragma once

#include <string>
#include <string_view>

namespace orv::cli {

/// The text as any terminal may be given it: control characters but line feeds (tabs and carriage returns too), and
/// those that turn the direction of writing, stand there as `\u001b` and the like, and bytes that are no UTF-8 as
/// `\x9b`. In the text of JSON, where none of them can stand outside quotes, that means the same as before.
std::string printable(std::string_view text);

/// An address as it may be shown: what stands before its "@" and the values of secret parameters are hidden.
std::string shownAddress(std::string_view url);

}  // namespace orv::cli
