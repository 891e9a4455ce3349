#pragma once

#include <orvnetwork/platform/ConnectReport.h>

#include <string_view>
#include <vector>

namespace orv {

/// What of an HTTP answer's header tells who has answered, and what it wants: see `ConnectReport::answerHeaders`. Bounded,
/// fit to be shown, and without secrets. Any thread.
/// @param header from the status line to the empty line
std::vector<AnswerHeader> tellingHeaders(std::string_view header);

}  // namespace orv
