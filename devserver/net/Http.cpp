#include "devserver/net/Http.h"

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

namespace orv::devserver {

HttpAnswer httpProblem(unsigned status, std::string_view text) {
  boost::json::object answer;
  answer.emplace("err", boost::json::string_view(text.data(), text.size()));
  return {.status = status, .body = boost::json::serialize(answer)};
}

}  // namespace orv::devserver
