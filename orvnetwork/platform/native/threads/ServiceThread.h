#pragma once

#include <functional>
#include <thread>

namespace orv {

/// Starts a thread of the library's own, named for debuggers (15 letters at most, which live as long as the program).
/// None of the host's signal handlers ever runs on it. Throws std::system_error when there is no thread to be had.
std::thread startServiceThread(const char* name, std::function<void()> function);

}  // namespace orv
