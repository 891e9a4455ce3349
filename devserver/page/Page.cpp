#include "devserver/page/Page.h"

#include "devserver/page/PageFiles.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace orv::devserver {

namespace {

/// Nothing but the server's own files, no frames around the page, and nothing is kept.
constexpr std::string_view kHead =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

}  // namespace

bool Page::isPublic(std::string_view target) {
  return target != "/" && findPageFile(target) != nullptr;
}

std::optional<HttpAnswer> Page::answer(const HttpRequest& request) {
  const bool events = request.target == "/events";
  const PageFile* file = events ? nullptr : findPageFile(request.target);
  if (!events && file == nullptr) return std::nullopt;
  if (request.method != "GET") return httpProblem(405, "expected GET");
  if (events) return stream(request);
  return HttpAnswer{
      .body = std::string(file->content), .contentType = std::string(file->type), .head = std::string(kHead)};
}

HttpAnswer Page::stream(const HttpRequest& request) {
  HttpAnswer answer{.contentType = "text/event-stream", .head = std::string(kHead)};
  answer.stream = [this, last = std::string(request.lastEvent)](std::shared_ptr<HttpStream> stream) {
    feed_.attach(std::move(stream), last);
  };
  return answer;
}

}  // namespace orv::devserver
