#include <orvnetwork/platform/native/tls/TlsContexts.h>
#include <orvnetwork/platform/native/tls/TlsTickets.h>

#include <tests/support/TestCertificate.h>

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <chrono>
#include <string>

namespace orv::tls_contexts_test {
namespace {

using namespace std::chrono_literals;
using test::CertificateWishes;
using test::TestCertificate;
using test::writeTestFile;

TlsSettings withPin(int number) {
  static std::vector<std::string> pins;
  while (pins.size() <= static_cast<std::size_t>(number)) {
    pins.push_back(TestCertificate(CertificateWishes{}).pin());
  }
  return {.pins = {pins[static_cast<std::size_t>(number)]}};
}

std::uint64_t numberOf(const TlsSettings& settings) {
  return tlsContextFor(settings).value()->number();
}

TEST(TlsContextCache, EqualSettingsShareOneContext) {
  const auto standard = numberOf({});
  const auto pinned = numberOf(withPin(0));
  EXPECT_NE(pinned, standard);
  EXPECT_NE(numberOf(withPin(1)), pinned);
  EXPECT_EQ(numberOf(withPin(0)), pinned);
  EXPECT_EQ(numberOf({}), standard);
  EXPECT_EQ(numberOf({.resumes = false}), standard);
  EXPECT_NE(numberOf({.lowestVersion = TlsVersion::Tls13}), standard);
}

TEST(TlsContextCache, IsBoundedAndKeepsTheStandardOne) {
  const auto standard = numberOf({});
  const auto first = numberOf(withPin(0));
  for (std::size_t i = 1; i < kMostTlsContexts; ++i) numberOf(withPin(static_cast<int>(i)));
  EXPECT_EQ(numberOf(withPin(0)), first) << "as many as there is room for";
  numberOf(withPin(100));
  EXPECT_EQ(numberOf(withPin(0)), first) << "it was used lately";
  for (std::size_t i = 1; i <= kMostTlsContexts; ++i) numberOf(withPin(static_cast<int>(i)));
  EXPECT_NE(numberOf(withPin(0)), first);
  EXPECT_EQ(numberOf({}), standard);
}

TEST(TlsContextCache, AFileThatWasChangedIsReadAgain) {
  const TestCertificate first({.commonName = "first"});
  const TlsSettings settings{.rootFiles = {writeTestFile("ca.pem", first.pem())}};
  const auto before = numberOf(settings);
  EXPECT_EQ(numberOf(settings), before);
  writeTestFile("ca.pem", "# new\n" + first.pem());
  EXPECT_NE(numberOf(settings), before);
  writeTestFile("ca.pem", "");
  EXPECT_FALSE(tlsContextFor(settings));
}

TEST(TlsContextCache, OtherSettingsDropAllTickets) {
  const auto ticketOf = [](std::uint64_t context) {
    const WallTime now = std::chrono::system_clock::now();
    return TlsTicket{
        {context, "a 443"}, OpenSslOwned<SSL_SESSION>(SSL_SESSION_new()), now, now + 1h, now + 1h};
  };
  tlsTickets().put(ticketOf(numberOf({})));
  numberOf({.resumes = false});
  EXPECT_EQ(tlsTickets().count(), 1u) << "the same was checked";
  numberOf(withPin(0));
  EXPECT_EQ(tlsTickets().count(), 0u);
}

}  // namespace
}  // namespace orv::tls_contexts_test
