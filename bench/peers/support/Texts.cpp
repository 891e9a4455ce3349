#include "bench/peers/support/Texts.h"

#include <stdexcept>

namespace peers {

namespace {

constexpr std::string_view kReplyHead = R"({"C":"Dev.Echo","s":")";
constexpr std::string_view kReplyValues =
    R"(","v":{"ret":0,"err":"","data":{"roomID":"1234567","title":"代数 lesson 12","start":0,"limit":30,)"
    R"("coverUrl":"https://pictures.example.com/482000.jpg","nick":"Teacher Lin","startTime":1706661902,)"
    R"("duration":2700.5,"viewCnt":118,"coursePrice":19.9,"test":false,"note":")";
constexpr std::string_view kReplyTail = R"("}}})";

std::string requestText(const std::string& filler) {
  return "{\n  \"c\" : \"Dev.Echo\",\n  \"r\" : \"1\",\n  \"g\" : \"bench\",\n  \"a\" : \"1\",\n  \"b\" : "
         "\"1.0.1\",\n"
         "  \"s\" : \"" +
         std::to_string(kFirstIdentifier) +
         "\",\n  \"v\" : {\n    \"roomID\" : \"1234567\",\n    \"title\" : \"代数 lesson 12\",\n    "
         "\"start\" : 0,\n"
         "    \"limit\" : 30,\n    \"note\" : \"" +
         filler + "\"\n  }\n}";
}

}  // namespace

boost::json::object requestValues(const std::string& filler) {
  return {{"roomID", "1234567"}, {"title", "代数 lesson 12"}, {"start", 0}, {"limit", 30}, {"note", filler}};
}

std::string fillerFor(const std::function<std::size_t(const std::string& filler)>& bytesOf) {
  const std::size_t without = bytesOf("");
  if (without > kRequestBytes) throw std::logic_error("a request has more than its bytes");
  const std::string filler(kRequestBytes - without, 'x');
  if (bytesOf(filler) != kRequestBytes) throw std::logic_error("a request does not have its bytes");
  return filler;
}

std::string readyRequest() {
  return requestText(fillerFor([](const std::string& filler) { return requestText(filler).size(); }));
}

std::string replyTo(std::string_view identifier) {
  std::string text;
  text.reserve(kReplyBytes + identifier.size());
  text += kReplyHead;
  text += identifier;
  text += kReplyValues;
  text.append(kReplyBytes - kIdentifierDigits - kReplyHead.size() - kReplyValues.size() - kReplyTail.size(),
              'x');
  text += kReplyTail;
  return text;
}

std::size_t replyIdentifierAt() {
  return kReplyHead.size();
}

}  // namespace peers
