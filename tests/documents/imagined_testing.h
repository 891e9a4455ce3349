#pragma once

#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include <devserver/DevServer.h>
#include <devserver/faults/Cut.h>
#include <tests/documents/imagined.h>
#include <tests/support/LinkDiary.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

using namespace orv;
using namespace orv::testing;
using namespace std::chrono_literals;
using orv::test::LinkDiary;

/// What a test does that fails the nth operation.
void runScenario();
inline std::size_t n = 1;
