#pragma once

#include <orvnetwork/data/Types.h>

namespace bench {

/// The text of a page of courses as the server sends it: all 52 fields of each, about 1.3 KB a course, every course with
/// its members in the same, mixed order.
std::string coursePage(std::size_t courses);

}  // namespace bench
