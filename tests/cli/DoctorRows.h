#pragma once

#include <orvnetwork/data/Types.h>

#include <cli/doctor/Finding.h>
#include <cli/doctor/WayFacts.h>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

// A table of what doctor makes of facts: a row for each verdict.

namespace orv::test {

using cli::doctor::Finding;
using cli::doctor::Verdict;
using cli::doctor::WayFacts;

struct Row {
  const char* name;
  std::function<Finding()> judge;
  const char* code;
  Verdict verdict;
  const char* text;  ///< a part of it
  /// What a verdict on the way is made of.
  std::optional<WayFacts> facts{};
};
inline void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class DoctorVerdict : public ::testing::TestWithParam<Row> {};

inline Row way(const char* name, Finding (*judge)(const WayFacts&), WayFacts facts, const char* code,
               Verdict verdict, const char* text) {
  return {name, [judge, facts] { return judge(facts); }, code, verdict, text, facts};
}

inline std::string rowName(const ::testing::TestParamInfo<Row>& info) {
  return std::string(info.param.name);
}

template <typename Facts>
Row place(const char* name, Finding (*judge)(const Facts&), Facts facts, const char* code, Verdict verdict,
          const char* text) {
  return {name, [judge, facts = std::move(facts)] { return judge(facts); }, code, verdict, text};
}

}  // namespace orv::test
