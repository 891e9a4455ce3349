#pragma once

#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::test {

namespace json = boost::json;
using namespace std::chrono_literals;

inline constexpr auto kPatience = RawClient::kPatience;
inline constexpr const char* kTeacher = "13800000001";        ///< uID 100001, classroom 5001
inline constexpr const char* kSecondTeacher = "13800000002";  ///< uID 100002, classroom 5002
inline constexpr const char* kStudent = "13900000001";        ///< uID 100004
inline constexpr const char* kSecondStudent = "13900000002";  ///< uID 100005
/// MD5 of "classroom".
inline constexpr const char* kDigest = "c756662595bb0948d9bbe352fef1c53a";

/// A running server and shortcuts for talking to it.
class ServerTest : public ::testing::Test {
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

  /// A list in a reply, which has to be a success.
  static json::array list(const json::object& reply) {
    EXPECT_EQ(code(reply), 0) << json::serialize(reply);
    return code(reply) == 0 ? reply.at("v").at("data").as_array() : json::array();
  }
  /// One member of each object in a list.
  static std::vector<std::int64_t> numbers(const json::array& list, std::string_view key) {
    std::vector<std::int64_t> numbers;
    for (const auto& item : list) numbers.push_back(item.as_object().at(key).to_number<std::int64_t>());
    return numbers;
  }
  /// A connection on which a user has signed in.
  RawClient signedIn(const char* phone = kTeacher) {
    RawClient client = open();
    EXPECT_EQ(code(login(client, phone)), 0);
    return client;
  }

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
