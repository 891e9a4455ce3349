#include <orvnetwork/platform/native/tls/KeyPin.h>

#include <tests/support/TestCertificate.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace orv::key_pin_test {
namespace {

using test::TestCertificate;

TEST(KeyPin, IsTheDigestOfThePublicKeyInBase64) {
  const TestCertificate elliptic(test::CertificateWishes{});
  EXPECT_EQ(keyPin(elliptic.certificate()), elliptic.pin());
  const TestCertificate rsa({.key = "RSA2048"});
  EXPECT_EQ(keyPin(rsa.certificate()), rsa.pin());
  EXPECT_EQ(elliptic.pin().size(), 44u);
}

TEST(KeyPin, IsReadWithAndWithoutItsFront) {
  const std::string pin = "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=";
  EXPECT_EQ(readPin(pin), pin);
  EXPECT_EQ(readPin("sha256/" + pin), pin);
  EXPECT_EQ(readPin("sha256//" + pin), pin);
  const std::string withSlash = "/" + pin.substr(1);
  EXPECT_EQ(readPin(withSlash), withSlash);
  EXPECT_EQ(readPin("sha256/" + withSlash), withSlash);
  EXPECT_EQ(readPin("sha256//" + withSlash), withSlash);
}

TEST(KeyPin, TextsThatAreNoneAreRefused) {
  for (const char* text : {
           "",
           "sha256//",
           "sha256/sha256/47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=",
           "sha1//47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=",
           "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU",   // without its padding
           "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuF==",  // too short
           "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFV=",  // bits that belong to no byte
           "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFUA",  // one byte more
           "47DEQpj8HBSa+_TImW-5JCeuQeRkm5NMpJWZG3hSuFU=",  // the other base64
           " 7DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=",  // a blank
           "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
       }) {
    EXPECT_EQ(readPin(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace orv::key_pin_test
