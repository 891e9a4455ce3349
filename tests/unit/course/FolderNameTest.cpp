#include <orvnetwork/course/detail/FolderName.h>

#include <gtest/gtest.h>

namespace orv {

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

}  // namespace

}  // namespace orv
