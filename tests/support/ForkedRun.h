#pragma once

#include <functional>
#include <string>

namespace orv::test {

/// Runs `body` in a child process, where every singleton is fresh, and returns what it returned; when the child did
/// not come to the end of it, a text that begins with "died: ". For processes with one thread only.
std::string runForked(const std::function<std::string()>& body);

}  // namespace orv::test
