#pragma once

#include <gtest/gtest.h>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <chrono>
#include <string>
#include <string_view>
#include <utility>

#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"

namespace orv::test {

namespace json = boost::json;
using namespace std::chrono_literals;

inline constexpr auto kPatience = RawClient::kPatience;
/// MD5 of "classroom".
inline constexpr const char* kDigest = "c756662595bb0948d9bbe352fef1c53a";

/// A running server and shortcuts for talking to it.
class ServerTest : public testing::Test {
 protected:
  void SetUp() override { server.start(); }

  RawClient open() { return RawClient::open(server.port()); }

  static json::object login(RawClient& client, const char* phone = "13800000001") {
    return client.request("User.Post.Login", {{"phone", phone}, {"dev", 1}, {"pwd", kDigest}});
  }
  /// An object with one member.
  static json::object one(std::string_view key, json::value value) {
    json::object object;
    object.emplace(json::string_view(key.data(), key.size()), std::move(value));
    return object;
  }
  static std::int64_t code(const json::object& reply) { return reply.at("v").at("ret").as_int64(); }
  static std::string errorText(const json::object& reply) {
    return std::string(reply.at("v").at("err").as_string().c_str());
  }
  static const json::object& data(const json::object& reply) { return reply.at("v").at("data").as_object(); }

  static void send(RawClient& client, const char* timestamp, const char* command = "Dev.Echo") {
    client.sendText(RawClient::standardFrame(command, {}, timestamp));
  }
  /// The timestamp of the next frame as JSON text; "none" without one.
  static std::string nextTimestamp(RawClient& client) {
    const auto reply = client.receiveObject();
    return reply.contains("s") ? json::serialize(reply.at("s")) : "none";
  }
  static std::string alive(RawClient& client) {
    client.sendText("PING");
    return client.receiveText();
  }

  /// POST /control; the status has to be 200.
  json::object control(const json::object& request) {
    int status = 0;
    const std::string body =
        RawClient::http(server.port(), "POST", "/control", json::serialize(request), status);
    EXPECT_EQ(status, 200) << body;
    return json::parse(body).as_object();
  }

  DevServer server;
};

}  // namespace orv::test
