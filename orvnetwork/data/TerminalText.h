#pragma once

#include <orvnetwork/data/Export.h>

#include <string>
#include <string_view>

namespace orv {

/// The text as any terminal may be given it: control characters but line feeds (tabs and carriage returns too), those
/// that turn the direction of writing, and the separators of lines and paragraphs, which some begin a line at, stand there
/// as `\u001b` and the like, and bytes that are no UTF-8 as `\x9b`. In the text of JSON, where none of them can stand outside quotes, that means the same as before.
///
/// For whoever shows what a server, a file or another program has said:
///
///     Console::setSink([](std::string_view line) { std::cerr << printable(line) << '\n'; });
///
/// Any thread.
/// @param text any bytes
/// @return UTF-8 of at most six times the size, without control characters but line feeds
ORV_EXPORT std::string printable(std::string_view text);

}  // namespace orv
