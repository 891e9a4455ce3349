#pragma once

#include <boost/json/value.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace orv::test {

/// Says whether a JSON value is as expected. A pattern is a JSON value:
///
/// - an object: each of its members must be there and match; there may be others
/// - an array: as many elements, each matching
/// - {"$has":[…]} an array with an element for each of these; {"$none":…} without one that matches; {"$each":…} not
///   empty, and each matches; {"$first":…}; {"$size":n}; they may stand together
/// - "$text" text that is not empty; "$id" a whole number above 0; "$now" a whole number of seconds within the test;
///   "$absent" no such member; any other "$NAME" a value that was kept; "${NAME}" within a text
/// - everything else: the same value; 12 and 12.0 are the same
class AnswerPattern {
 public:
  AnswerPattern();

  /// Keeps a value under a name.
  void keep(std::string_view name, boost::json::value value);
  /// Keeps what a row says is to be kept of `data`; returns what is wrong, empty when all is well.
  std::string keepFrom(const boost::json::value& data, std::string_view kept);
  /// The value with what was kept in its places.
  boost::json::value filledIn(const boost::json::value& value) const;
  /// What is wrong with the value, with the way to it; empty when it matches.
  std::string problem(const boost::json::value& pattern, const boost::json::value& value,
                      const std::string& way = "data") const;

 private:
  std::string filledIn(std::string_view text) const;
  const boost::json::value& kept(std::string_view name) const;
  std::string problemOfText(std::string_view pattern, const boost::json::value& value,
                            const std::string& way) const;
  std::string problemOfList(const boost::json::object& pattern, const boost::json::array& list,
                            const std::string& way) const;
  bool matches(const boost::json::value& pattern, const boost::json::value& value) const {
    return problem(pattern, value).empty();
  }

  std::map<std::string, boost::json::value, std::less<>> kept_;
  std::int64_t begin_;
};

}  // namespace orv::test
