#include <orvnetwork/platform/native/files/UserDirsFile.h>

#include <gtest/gtest.h>

namespace orv::user_dirs_file_test {
namespace {

OptionalString documents(std::string_view text) {
  return documentsFolderInUserDirs(text, "/home/me");
}

TEST(UserDirsFile, ReadsAFolderUnderHomeOrAnAbsoluteOne) {
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n"), "/home/me/Documents");
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"/data/docs\""), "/data/docs");
}

TEST(UserDirsFile, AllowsBlanksAroundNameAndSign) {
  EXPECT_EQ(documents(" \tXDG_DOCUMENTS_DIR \t= \"$HOME/D\" # note\n"), "/home/me/D");
}

TEST(UserDirsFile, SkipsOtherLines) {
  EXPECT_EQ(documents("# XDG_DOCUMENTS_DIR=\"$HOME/no\"\nXDG_MUSIC_DIR=\"$HOME/Music\"\n\n"
                      "XDG_DOCUMENTS_DIR=\"$HOME/yes\"\nXDG_DOCUMENTS_DIRS=\"$HOME/no\"\n"),
            "/home/me/yes");
  EXPECT_EQ(documents(""), std::nullopt);
  EXPECT_EQ(documents("\n\n#"), std::nullopt);
}

TEST(UserDirsFile, SkipsValuesThatAreMalformed) {
  for (const char* value :
       {"$HOME/Docs", "\"Docs\"", "\"$HOME\"", "\"$HOMEdocs\"", "\"~/Docs\"", "\"\"", "",
        "\"$HOME/never closed", "\"/never closed\\\"", "'$HOME/Docs'", "\"$OTHER/Docs\""}) {
    EXPECT_EQ(documents(std::string("XDG_DOCUMENTS_DIR=") + value + "\n"), std::nullopt) << value;
  }
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"/good\"\nXDG_DOCUMENTS_DIR=\"bad\"\n"), "/good");
}

TEST(UserDirsFile, TakesTheLastMatch) {
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"/one\"\nXDG_DOCUMENTS_DIR=\"/two\"\n"), "/two");
}

TEST(UserDirsFile, TakesTheCharacterAfterABackslashAsItIs) {
  EXPECT_EQ(documents(R"(XDG_DOCUMENTS_DIR="$HOME/a\"b\\c\$d")"), R"(/home/me/a"b\c$d)");
}

TEST(UserDirsFile, HomeItselfMeansDisabled) {
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"$HOME/\"\n"), "/home/me");
}

TEST(UserDirsFile, DropsSlashesAtTheEnd) {
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"$HOME/Docs//\"\n"), "/home/me/Docs");
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"/\"\n"), "/");
}

TEST(UserDirsFile, KeepsCarriageReturnsOutsideTheQuotesAway) {
  EXPECT_EQ(documents("XDG_DOCUMENTS_DIR=\"/docs\"\r\n"), "/docs");
}

}  // namespace
}  // namespace orv::user_dirs_file_test
