#pragma once

#include <boost/json/object.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace peers {

/// What all peers exchange with the server: requests of 300 bytes, replies of 400.
constexpr std::size_t kRequestBytes = 300;
constexpr std::size_t kReplyBytes = 400;

/// The identifiers of requests have as many digits as microseconds since 1970.
constexpr std::int64_t kFirstIdentifier = 1'706'690'702'345'678;
constexpr std::size_t kIdentifierDigits = 16;

/// What a request asks for; with the text that fills it up.
boost::json::object requestValues(const std::string& filler);

/// The text with which a request has 300 bytes; `bytesOf` tells how many it has with a given one.
std::string fillerFor(const std::function<std::size_t(const std::string& filler)>& bytesOf);

/// A request of 300 bytes as the library writes it, for peers that make none of their own.
std::string readyRequest();

/// A reply, of 400 bytes when the identifier has 16 digits.
std::string replyTo(std::string_view identifier);
/// Where in it the identifier's digits begin.
std::size_t replyIdentifierAt();

}  // namespace peers
