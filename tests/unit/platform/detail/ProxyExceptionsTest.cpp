#include <orvnetwork/platform/detail/ProxyExceptions.h>

#include <gtest/gtest.h>

#include <vector>

namespace orv::proxy_exceptions_test {
namespace {

struct Row {
  const char* list;
  const char* host;
  std::uint16_t port;
  bool excepted;
};

void check(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(isExcepted(row.list, row.host, row.port), row.excepted)
        << '"' << row.list << "\" of " << row.host << " at " << row.port;
  }
}

TEST(ProxyExceptions, Names) {
  check({
      {"", "example.org", 443, false},
      {"example.org", "example.org", 443, true},
      {"example.org", "class.example.org", 443, true},
      {"example.org", "a.b.example.org", 443, true},
      {"example.org", "badexample.org", 443, false},
      {"example.org", "example.org.bad", 443, false},
      {"example.org", "example", 443, false},
      {"example.org", "org", 443, false},
      {".example.org", "example.org", 443, true},
      {".example.org", "class.example.org", 443, true},
      {".example.org", "badexample.org", 443, false},
      {"*.example.org", "example.org", 443, true},
      {"*.example.org", "class.example.org", 443, true},
      {"*.example.org", "badexample.org", 443, false},
      {"*example.org", "badexample.org", 443, false},
      {"*example.org", "example.org", 443, false},
      {"EXAMPLE.org", "class.Example.ORG", 443, true},
      {"example.org.", "example.org", 443, true},
      {"example.org", "class.example.org.", 443, true},
      {"example.org.", "class.example.org.", 443, true},
      {"org", "example.org", 443, true},
      {"class", "class", 443, true},
      {".", "example.org", 443, false},
      {"*.", "example.org", 443, false},
      {"..", "example.org", 443, false},
  });
}

TEST(ProxyExceptions, EveryServer) {
  check({
      {"*", "example.org", 443, true},
      {"*", "192.0.2.7", 443, true},
      {"*", "2001:db8::7", 443, true},
      {"other,*", "example.org", 443, true},
      {"*:80", "example.org", 443, false},
      {"*:443", "example.org", 443, true},
      {"**", "example.org", 443, false},
  });
}

TEST(ProxyExceptions, Lists) {
  check({
      {"a.org,example.org", "example.org", 443, true},
      {"a.org, example.org", "example.org", 443, true},
      {"a.org example.org", "example.org", 443, true},
      {"a.org\texample.org\n", "example.org", 443, true},
      {",,  ,example.org,", "example.org", 443, true},
      {"a.org,b.org", "example.org", 443, false},
      {"a.org;example.org", "example.org", 443, false},
      {" , ", "example.org", 443, false},
  });
}

TEST(ProxyExceptions, Ports) {
  check({
      {"example.org:443", "example.org", 443, true},
      {"example.org:443", "class.example.org", 443, true},
      {"example.org:443", "example.org", 80, false},
      {".example.org:8443", "class.example.org", 8443, true},
      {"*.example.org:8443", "class.example.org", 443, false},
      {"example.org:", "example.org", 443, false},
      {"example.org:abc", "example.org", 443, false},
      {"example.org:443x", "example.org", 443, false},
      {"example.org:65979", "example.org", 443, false},
      {"192.0.2.7:443", "192.0.2.7", 443, true},
      {"192.0.2.7:443", "192.0.2.7", 80, false},
      {"[2001:db8::7]:443", "2001:db8::7", 443, true},
      {"[2001:db8::7]:443", "2001:db8::7", 80, false},
  });
}

TEST(ProxyExceptions, Addresses) {
  check({
      {"192.0.2.7", "192.0.2.7", 443, true},
      {"192.0.2.7", "192.0.2.70", 443, false},
      {"2.7", "192.0.2.7", 443, false},
      {".2.7", "192.0.2.7", 443, false},
      {"192.0.2", "192.0.2.7", 443, false},
      {"192.0.2.7", "class.192.0.2.7", 443, false},
      {"2001:db8::7", "2001:db8::7", 443, true},
      {"[2001:db8::7]", "2001:db8::7", 443, true},
      {"2001:0DB8:0:0:0:0:0:7", "2001:db8::7", 443, true},
      {"2001:db8::7", "2001:db8::8", 443, false},
      {"[::ffff:192.0.2.7]", "192.0.2.7", 443, true},
      {"192.0.2.7", "::ffff:c000:207", 443, true},
      {"192.0.2.7", "::192.0.2.7", 443, false},
  });
}

TEST(ProxyExceptions, Networks) {
  check({
      {"192.0.2.0/24", "192.0.2.7", 443, true},
      {"192.0.2.0/24", "192.0.3.7", 443, false},
      {"192.0.2.99/24", "192.0.2.7", 443, true},
      {"10.0.0.0/8", "10.255.0.1", 443, true},
      {"10.0.0.0/8", "11.0.0.1", 443, false},
      {"192.0.2.128/25", "192.0.2.129", 443, true},
      {"192.0.2.128/25", "192.0.2.127", 443, false},
      {"192.0.2.6/31", "192.0.2.7", 443, true},
      {"192.0.2.6/31", "192.0.2.8", 443, false},
      {"192.0.2.7/32", "192.0.2.7", 443, true},
      {"192.0.2.7/32", "192.0.2.6", 443, false},
      {"0.0.0.0/0", "203.0.113.9", 443, true},
      {"0.0.0.0/0", "2001:db8::7", 443, false},
      {"0.0.0.0/0", "example.org", 443, false},
      {"192.0.2.0/33", "192.0.2.0", 443, false},
      {"192.0.2.0/-1", "192.0.2.0", 443, false},
      {"192.0.2.0/", "192.0.2.0", 443, false},
      {"192.0.2.0/24x", "192.0.2.0", 443, false},
      {"192.0.2.0/255.255.255.0", "192.0.2.0", 443, false},
      {"192.0.2/24", "192.0.2.7", 443, false},
      {"/24", "192.0.2.7", 443, false},
      {"2001:db8::/32", "2001:db8:1::7", 443, true},
      {"[2001:db8::]/32", "2001:db8:1::7", 443, true},
      {"2001:db8::/32", "2001:db9::7", 443, false},
      {"2001:db8::/127", "2001:db8::1", 443, true},
      {"2001:db8::/128", "2001:db8::1", 443, false},
      {"2001:db8::/129", "2001:db8::", 443, false},
      {"::/0", "2001:db8::7", 443, true},
      {"::/0", "192.0.2.7", 443, false},
      {"::ffff:192.0.2.0/120", "192.0.2.7", 443, true},
      {"::ffff:192.0.2.0/120", "192.0.3.7", 443, false},
      {"::ffff:192.0.2.0/95", "192.0.2.0", 443, false},
      {"10.0.0.0/8", "::ffff:10.1.2.3", 443, true},
      {"example.org/8", "example.org", 443, false},
  });
}

}  // namespace
}  // namespace orv::proxy_exceptions_test
