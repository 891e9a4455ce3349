#include <orvnetwork/platform/Md5.h>

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

namespace orv::md5_test {
namespace {

TEST(Md5, GivesTheDigestsOfTheAlgorithmsDefinition) {
  EXPECT_EQ(md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5Hex("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(md5Hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5Hex("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, HashesAllBytesZeroBytesIncluded) {
  EXPECT_EQ(md5Hex(std::string_view("\0", 1)), "93b885adfe0da089cdf634904fd59f71");
  EXPECT_EQ(md5Hex(std::string_view()), md5Hex(""));
}

TEST(Md5, IsTheSameOnManyThreadsAtOnce) {
  std::vector<std::string> digests(8);
  std::vector<std::thread> threads;
  for (std::string& digest : digests) {
    threads.emplace_back([&digest] { digest = md5Hex("abc"); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(digests, std::vector<std::string>(8, "900150983cd24fb0d6963f7d28e17f72"));
}

/// Says whether a fresh process whose OpenSSL is configured to find approved algorithms only can still hash.
int hashUnderApprovedAlgorithmsOnly(const std::string& configuration) {
  const pid_t child = fork();
  if (child == 0) {
    setenv("OPENSSL_CONF", configuration.c_str(), 1);
    EVP_MD* refused = EVP_MD_fetch(nullptr, "MD5", nullptr);
    if (refused != nullptr) {
      _exit(2);
    }
    _exit(md5Hex("abc") == "900150983cd24fb0d6963f7d28e17f72" ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Md5, WorksWhereTheSystemAllowsApprovedAlgorithmsOnly) {
  const std::filesystem::path configuration = std::filesystem::path(std::getenv("HOME")) / "approved.cnf";
  std::ofstream(configuration) << "openssl_conf = init\n"
                                  "[init]\n"
                                  "alg_section = algorithms\n"
                                  "[algorithms]\n"
                                  "default_properties = fips=yes\n";
  EXPECT_EQ(hashUnderApprovedAlgorithmsOnly(configuration), 0);
}

}  // namespace
}  // namespace orv::md5_test
