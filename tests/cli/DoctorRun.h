#pragma once

#include "Program.h"

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv::test {

/// What doctor has found.
struct Findings {
  Result result;

  /// The code of a check; "" when it was not made.
  std::string code(const std::string& check) const { return text(check, "code"); }
  std::string verdict(const std::string& check) const { return text(check, "verdict"); }
  std::string text(const std::string& check, const char* member = "text") const {
    const boost::json::object finding = of(check);
    return finding.contains(member) ? std::string(finding.at(member).as_string()) : "";
  }
  boost::json::object of(const std::string& check) const {
    for (std::size_t i = 0; i < result.lines().size(); ++i) {
      const boost::json::object line = result.json(i);
      if (line.contains("check") && line.at("check") == boost::json::value(check)) return line;
    }
    return {};
  }
  /// The checks that failed.
  std::set<std::string> failures() const {
    std::set<std::string> names;
    for (const char* check : {"network", "proxy", "name", "connect", "tls", "upgrade", "ping", "session",
                              "clock", "home", "log"}) {
      if (verdict(check) == "fail") names.insert(check);
    }
    return names;
  }
};

using Names = std::set<std::string>;

/// Runs it against a server, with more words behind.
inline Findings doctor(const std::string& url, const std::string& wait = "2",
                       const std::vector<std::string>& more = {}) {
  std::vector<std::string> words{"--server", url, "--wait", wait, "doctor"};
  words.insert(words.end(), more.begin(), more.end());
  Findings findings{runOrv(std::move(words))};
  EXPECT_LT(findings.result.seconds, 60) << "each check has an end";
  return findings;
}

}  // namespace orv::test
