#include <orvnetwork/data/PathText.h>

#include <gtest/gtest.h>

namespace orv::path_text_test {
namespace {

struct Case {
  const char* path;
  const char* component;
  const char* result;
};

TEST(PathText, AppendsAComponentWithOneSlashBetween) {
  const Case cases[] = {
      {"/tmp", "x", "/tmp/x"},
      {"/tmp/", "x", "/tmp/x"},
      {"/tmp", "/x", "/tmp/x"},
      {"/tmp/", "/x/", "/tmp/x"},
      {"/", "x", "/x"},
      {"/tmp", "", "/tmp"},
      {"/tmp/", "", "/tmp"},
      {"", "x", "x"},
      {"", "", ""},
      {"/tmp//a", "b", "/tmp/a/b"},
      {"/tmp", "//x//y", "/tmp/x/y"},
      {"/tmp", "/", "/tmp"},
      {"/tmp", "~", "/tmp/~"},
      {"/tmp", ".", "/tmp/."},
      {"/tmp", "..", "/tmp/.."},
      {"~", "x", "~/x"},
      {"/", "", "/"},
      {"//", "//", "/"},
      {"", "/x", "/x"},
      {"a", "b/c", "a/b/c"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(appendPathComponent(c.path, c.component), c.result) << c.path << " + " << c.component;
  }
}

}  // namespace
}  // namespace orv::path_text_test
