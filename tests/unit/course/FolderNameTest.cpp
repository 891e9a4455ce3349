#include <orvnetwork/course/detail/FolderName.h>

#include <gtest/gtest.h>

namespace orv::folder_name_test {

namespace {

TEST(FolderName, OrdinaryTextsStayAsTheyAre) {
  for (const auto* text : {"100001", "教室", "a b", "...", "..a", "a..", "%2F", "(null)", ""}) {
    EXPECT_EQ(folderName(text), text);
  }
}

TEST(FolderName, WhatWouldLeadElsewhereIsEscaped) {
  EXPECT_EQ(folderName("."), "%2E");
  EXPECT_EQ(folderName(".."), "%2E%2E");
  EXPECT_EQ(folderName("/"), "%2F");
  EXPECT_EQ(folderName("../.."), "..%2F..");
  EXPECT_EQ(folderName("a//b/"), "a%2F%2Fb%2F");
  EXPECT_EQ(folderName(std::string_view("a\0b", 3)), "a%00b");
  EXPECT_EQ(folderName(std::string_view("\0", 1)), "%00");
}

TEST(FolderName, ControlCharactersAreEscaped) {
  EXPECT_EQ(folderName("a\nb\t\x1b[2J\x7f"), "a%0Ab%09%1B[2J%7F");
  EXPECT_EQ(folderName("\u0080\u009b\u00a0"), "%C2%80%C2%9B\u00a0");
  EXPECT_EQ(folderName("\x9b"), "%9B") << "no UTF-8, and a control character to some";
}

}  // namespace

}  // namespace orv::folder_name_test
