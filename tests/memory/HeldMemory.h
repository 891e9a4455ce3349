#pragma once

#include <cstddef>

namespace orv::test {

/// How many bytes the whole program holds that it got from `operator new` and has not given back, counted exactly, on
/// all threads. Linking this in replaces `operator new` and `operator delete` of the program.
std::size_t heldBytes();

/// How many times the program has got memory from `operator new`, counted exactly, on all threads.
std::size_t allocationsMade();

/// The most that was held at one time since the start, or since `forgetMostHeld`.
std::size_t mostHeldBytes();
void forgetMostHeld();

}  // namespace orv::test
