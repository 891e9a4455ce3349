#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/native/websocket/TellingError.h>

#include <gtest/gtest.h>
#include <netdb.h>

#include <cerrno>
#include <initializer_list>
#include <optional>

namespace orv::telling_error_test {
namespace {

Error ofSystem(int code) {
  return {websocket_error::kSystemDomain, code, "text"};
}
Error ofNames(int code) {
  return {websocket_error::kNameLookupDomain, code, "text"};
}

/// What is kept of these, in this order.
std::int64_t kept(std::initializer_list<Error> errors) {
  std::optional<Error> most;
  for (const Error& error : errors) keepMoreTelling(most, error);
  return most.value_or(Error{}).code;
}

TEST(TellingError, AnAnswerSaysMoreThanSilenceAndThatMoreThanThatThereIsNoWay) {
  constexpr int kByWeight[] = {EAFNOSUPPORT, ENETUNREACH, ETIMEDOUT, ECONNREFUSED};
  for (const int more : kByWeight) {
    for (const int less : kByWeight) {
      if (less == more) break;
      EXPECT_EQ(kept({ofSystem(more), ofSystem(less)}), more) << more << " before " << less;
      EXPECT_EQ(kept({ofSystem(less), ofSystem(more)}), more) << less << " before " << more;
    }
  }
}

TEST(TellingError, OfEqualOnesTheFirstIsKept) {
  EXPECT_EQ(kept({ofSystem(ECONNRESET), ofSystem(ECONNREFUSED)}), ECONNRESET);
  EXPECT_EQ(kept({ofSystem(EHOSTUNREACH), ofSystem(ENETUNREACH)}), EHOSTUNREACH);
  EXPECT_EQ(kept({ofNames(EAI_AGAIN), ofNames(EAI_FAIL)}), EAI_AGAIN);
}

TEST(TellingError, ThatThereIsNoSuchNameSaysMost) {
  constexpr int kByWeight[] = {EAI_NODATA, EAI_AGAIN, EAI_NONAME};
  for (const int more : kByWeight) {
    for (const int less : kByWeight) {
      if (less == more) break;
      EXPECT_EQ(kept({ofNames(more), ofNames(less)}), more);
      EXPECT_EQ(kept({ofNames(less), ofNames(more)}), more);
    }
  }
}

TEST(TellingError, KnowsWhatSaysLittleAndWhatMayChange) {
  EXPECT_TRUE(saysLittle(ofSystem(ENETUNREACH)));
  EXPECT_TRUE(saysLittle(ofSystem(EADDRNOTAVAIL)));
  EXPECT_FALSE(saysLittle(ofSystem(ETIMEDOUT)));
  EXPECT_FALSE(saysLittle(ofNames(EAI_NODATA)));
  EXPECT_TRUE(isTemporary(ofNames(EAI_AGAIN)));
  EXPECT_TRUE(isTemporary(ofSystem(EMFILE))) << "no descriptor for the look-up";
  EXPECT_FALSE(isTemporary(ofNames(EAI_NONAME)));
  EXPECT_FALSE(isTemporary(ofNames(EAI_NODATA)));
}

}  // namespace
}  // namespace orv::telling_error_test
