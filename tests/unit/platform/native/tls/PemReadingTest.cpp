#include <orvnetwork/platform/native/tls/PemReading.h>

#include <tests/support/TestCertificate.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <string>

namespace orv::pem_reading_test {
namespace {

using test::TestCertificate;
using test::writeTestFile;

const TestCertificate& one() {
  static const TestCertificate certificate(test::CertificateWishes{});
  return certificate;
}

std::string problemOf(const std::string& text) {
  const auto read = readCertificates(text, "here");
  return read ? "" : read.error().text();
}

TEST(PemReading, TakesAllCertificatesAndPassesOverOtherThings) {
  const std::string text = "# a comment\n" + one().keyPem() + one().pem() + "words between\n" + one().pem();
  const auto read = readCertificates(text, "here");
  ASSERT_TRUE(read) << read.error().text();
  EXPECT_EQ(read->size(), 2u);
}

TEST(PemReading, TellsWhichCertificateIsDamaged) {
  std::string damaged = one().pem();
  damaged[damaged.size() / 2] = '!';
  EXPECT_TRUE(
      problemOf(one().pem() + damaged).starts_with("OrvTls -1201: here: certificate 2 cannot be read: "))
      << problemOf(one().pem() + damaged);
  const std::string cut = one().pem().substr(0, one().pem().size() / 2);
  EXPECT_TRUE(problemOf(cut).starts_with("OrvTls -1201: here: certificate 1 cannot be read: "))
      << problemOf(cut);
  EXPECT_EQ(problemOf(""), "OrvTls -1201: here holds no certificate in PEM");
  EXPECT_EQ(problemOf(one().keyPem()), "OrvTls -1201: here holds no certificate in PEM");
}

TEST(PemReading, FindsTheKeyBeforeAndBehindACertificate) {
  for (const std::string& text :
       {one().keyPem(), one().pem() + one().keyPem(), one().keyPem() + one().pem()}) {
    const auto key = readPrivateKey(text, "here");
    EXPECT_TRUE(key) << key.error().text();
  }
}

TEST(PemReading, TellsWhyThereIsNoKey) {
  const auto problem = [](const std::string& text) {
    const auto key = readPrivateKey(text, "here");
    return key ? "" : key.error().description;
  };
  EXPECT_EQ(problem(one().pem()), "here holds no private key in PEM");
  EXPECT_EQ(problem(one().keyPem("secret")),
            "here: the private key is encrypted, and no password can be given");
  std::string damaged = one().keyPem();
  damaged[damaged.size() / 2] = '!';
  EXPECT_TRUE(problem(damaged).starts_with("here: the private key cannot be read: ")) << problem(damaged);
}

TEST(PemReading, ReadsPlainFilesAndNamesThoseThatItCannotRead) {
  const std::string path = writeTestFile("some.pem", "text");
  EXPECT_EQ(readPemFile(path, "roots").value(), "text");
  const auto problem = [](const std::string& name) {
    const auto read = readPemFile(name, "roots");
    return read ? "" : read.error().description;
  };
  EXPECT_EQ(problem("/nonexistent/a.pem"),
            "roots /nonexistent/a.pem cannot be read: No such file or directory");
  EXPECT_EQ(problem("/"), "roots / cannot be read: not a plain file");
  const std::string pipe = std::string(std::getenv("HOME")) + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(problem(pipe), "roots " + pipe + " cannot be read: not a plain file") << "and it does not wait";
  const std::string large = writeTestFile("large.pem", std::string((std::size_t{4} << 20) + 1, 'x'));
  EXPECT_EQ(problem(large), "roots " + large + " cannot be read: larger than 4 MiB");
}

}  // namespace
}  // namespace orv::pem_reading_test
