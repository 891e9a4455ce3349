#pragma once

namespace orv {

/// Gives memory that is free back to the system, a second later, on the network thread: after a flood of messages the C
/// library keeps what they took, as long as anything of the process lies behind it. Asking again before that changes
/// nothing. Any thread.
void giveMemoryBackSoon();

}  // namespace orv
