#include "devserver/DevServer.h"

#include "devserver/control/Control.h"
#include "devserver/engine/Engine.h"
#include "devserver/net/LoopbackAddress.h"
#include "devserver/net/Network.h"
#include "devserver/school/CourseDesk.h"

#include <atomic>
#include <exception>
#include <future>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace orv {

using namespace devserver;

struct DevServer::Impl {
  explicit Impl(Options given)
      : options(std::move(given)),
        log(options.keptFrames, options.keptFrameBytes),
        engine(faults, log, options.dataFile, options.echo, options.sessionLifetime) {
    port = options.port;
    engine.setDoor({options.names, options.token});
    engine.setMaxWaitingBytes(options.maxWaitingBytes);
    engine.setControl(
        [this](std::string_view method, std::string_view body) { return control.answer(method, body); });
    engine.page().feed().setState([this] { return control.state(); });
  }

  NetworkOptions networkOptions() const {
    return {options.host,
            port,
            options.tlsCertificateFile,
            options.tlsKeyFile,
            options.maxConnections,
            options.maxRequests,
            options.maxMessageBytes,
            options.maxQueuedBytes,
            options.handshakeTimeout,
            options.silence};
  }

  /// Runs the function on the I/O thread and waits for it; here and now while there is no such thread.
  template <class Function>
  auto run(Function function) {
    using Result = decltype(function());
    if (engine.onThread()) return function();
    std::lock_guard lock(lifecycle);
    if (!network) return function();
    std::packaged_task<Result()> task(std::move(function));
    network->post([&task] { task(); });
    auto result = task.get_future();
    return result.get();
  }

  CourseDesk desk() { return CourseDesk(engine.school()); }

  const Options options;
  std::atomic<std::uint16_t> port{0};
  Faults faults;
  mutable FrameLog log;
  Engine engine;
  Control control{engine, faults};
  mutable std::mutex lifecycle;  ///< held while the network starts, stops, or is waited for
  std::unique_ptr<Network> network;
};

DevServer::DevServer(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {
  impl_->faults.setOnClear([impl = impl_.get()] { impl->run([impl] { impl->engine.releaseHeld(); }); });
}

DevServer::~DevServer() {
  stop();
}

void DevServer::start() {
  std::lock_guard lock(impl_->lifecycle);
  if (impl_->network) return;
  impl_->network = Network::start(impl_->networkOptions(), impl_->faults, impl_->engine);
  impl_->port = impl_->network->port();
}

void DevServer::stop() {
  if (impl_->engine.onThread()) throw std::logic_error("the server cannot be stopped from its own thread");
  std::lock_guard lock(impl_->lifecycle);
  if (!impl_->network) return;
  impl_->network->stop();
  impl_->engine.stopped();
  impl_->network.reset();
  impl_->log.touch();
}

void DevServer::restart() {
  stop();
  start();
}

bool DevServer::running() const {
  std::lock_guard lock(impl_->lifecycle);
  return impl_->network != nullptr;
}

std::uint16_t DevServer::port() const {
  return impl_->port;
}

std::string DevServer::url() const {
  const std::string address = addressToReach(impl_->options.host);
  const bool ipv6 = address.find(':') != std::string::npos;
  const std::string host = ipv6 ? "[" + address + "]" : address;
  return (impl_->options.tlsCertificateFile.empty() ? "ws://" : "wss://") + host + ":" +
         std::to_string(port());
}

std::string DevServer::pageUrl() const {
  return "http" + url().substr(2) + "/";
}

Faults& DevServer::faults() {
  return impl_->faults;
}

std::size_t DevServer::push(std::string_view command, const json::object& values, std::string_view user) {
  return impl_->run([&] { return impl_->engine.push(command, values, user); });
}

std::size_t DevServer::sendText(std::string_view text, std::string_view user) {
  return impl_->run([&] { return impl_->engine.sendText(text, user); });
}

std::size_t DevServer::sendGarbage(const Garbage& garbage, std::string_view user) {
  return impl_->run([&] { return impl_->engine.sendGarbage(garbage, user); });
}

std::size_t DevServer::cut(const Cut& cut, std::string_view user) {
  return impl_->run([&] { return impl_->engine.cut(cut, user); });
}

std::size_t DevServer::expireSessions(std::string_view user) {
  return impl_->run([&] { return impl_->engine.expireSessions(user); });
}

std::size_t DevServer::revokeTokens(std::string_view user) {
  return impl_->run([&] { return impl_->engine.revokeTokens(user); });
}

std::int64_t DevServer::addCourse(const json::object& fields) {
  return impl_->run([&] { return impl_->desk().add(fields); });
}

std::vector<std::int64_t> DevServer::addCourses(std::size_t count, const json::object& fields) {
  return impl_->run([&] { return impl_->desk().add(count, fields); });
}

void DevServer::changeCourse(std::int64_t roomID, const json::object& fields) {
  impl_->run([&] { impl_->desk().change(roomID, fields); });
}

void DevServer::removeCourse(std::int64_t roomID) {
  impl_->run([&] { impl_->desk().remove(roomID); });
}

std::optional<json::object> DevServer::course(std::int64_t roomID) {
  return impl_->run([&] { return impl_->engine.school().courses().find(roomID); });
}

std::size_t DevServer::pushCourses(const std::vector<std::int64_t>& roomIDs, int code,
                                   std::string_view user) {
  return push("Rooms.Push.Message", roomMessage(roomIDs, code), user);
}

void DevServer::setSessionLifetime(std::chrono::milliseconds lifetime) {
  impl_->run([&] { impl_->engine.setSessionLifetime(lifetime); });
}

std::vector<std::string> DevServer::commands() const {
  return impl_->engine.commands().names();
}

std::vector<DevServer::Frame> DevServer::receivedFrames() const {
  return impl_->log.frames();
}

void DevServer::clearReceivedFrames() {
  impl_->log.clear();
}

std::optional<DevServer::Frame> DevServer::waitForFrame(const std::function<bool(const Frame&)>& predicate,
                                                        std::chrono::milliseconds timeout) const {
  return impl_->log.waitForFrame(predicate, timeout);
}

bool DevServer::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) const {
  return impl_->log.waitUntil(condition, timeout);
}

void DevServer::setFrameListener(std::function<void(const Frame&)> listener) {
  impl_->log.setListener(std::move(listener));
}

std::size_t DevServer::connectionCount() const {
  return impl_->engine.connectionCount();
}

Counters DevServer::counters() const {
  return impl_->engine.counters();
}

json::object DevServer::state() {
  return impl_->run([&] { return impl_->control.state(); });
}

json::object DevServer::control(const json::object& request) {
  return impl_->run([&] { return impl_->control.apply(request); });
}

}  // namespace orv
