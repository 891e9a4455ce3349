#include <orvnetwork/platform/PropertyList.h>
#include <orvnetwork/platform/PropertyListText.h>

#include <gtest/gtest.h>
#include <boost/json/serialize.hpp>

namespace orv {
namespace {

constexpr const char* kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Example//DTD PLIST 1.0//EN\" \"http://example.test/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

std::string list(std::string_view content) {
  return kHead + std::string(content) + "\n</plist>\n";
}

/// The value as JSON text, or "damaged: " and why.
std::string read(std::string_view text) {
  const auto result = readPropertyList(text);
  return result.value ? json::serialize(*result.value) : "damaged: " + result.error.description;
}

std::string nested(std::size_t depth) {
  std::string text;
  for (std::size_t i = 0; i < depth; ++i) text += "<array>";
  for (std::size_t i = 0; i < depth; ++i) text += "</array>";
  return list(text);
}

TEST(PropertyList, ReadsEveryKind) {
  EXPECT_EQ(
      read(list(
          "<dict><key>s</key><string>文 &lt;&amp;&gt; 👩‍🏫</string><key>i</key><integer>-5</integer>"
          "<key>t</key><true/><key>f</key><false/><key>a</key><array><string></string><dict/></array>"
          "<key>e</key><array/></dict>")),
      R"({"s":"文 <&> 👩‍🏫","i":-5,"t":true,"f":false,"a":["",{}],"e":[]})");
  EXPECT_EQ(readPropertyList(list("<real>9.9000000000000004</real>")).value, json::value(9.9));
  EXPECT_EQ(read(list("<integer>9223372036854775807</integer>")), "9223372036854775807");
  EXPECT_EQ(read(list("<integer>18446744073709551615</integer>")), "-1") << "the bits of an unsigned number";
  EXPECT_EQ(read("\xEF\xBB\xBF" + list("<string>x</string>")), R"("x")");
}

TEST(PropertyList, SkipsCommentsAndTakesMarkedCharacterData) {
  EXPECT_EQ(read(list("<!-- <date> --><dict><key>k</key><!-- a "
                      "--><string><![CDATA[<date>&amp;</dict>]]></string></dict>")),
            R"({"k":"<date>&amp;</dict>"})");
}

TEST(PropertyList, CountsAListWithDatesOrDataAsDamaged) {
  EXPECT_EQ(read(list("<date>x</date>")), "damaged: <date> is no element that is taken");
  EXPECT_EQ(read(list("<dict><key>k</key><data>AAAA</data></dict>")),
            "damaged: <data> is no element that is taken");
  EXPECT_EQ(read(list("<array><date/></array>")), "damaged: <date> is no element that is taken");
  EXPECT_EQ(read(list("<array><date a='b'>2024</date></array>")),
            "damaged: <date> is no element that is taken");
}

TEST(PropertyList, CountsADeeplyNestedListAsDamaged) {
  EXPECT_TRUE(read(nested(64)).starts_with("[[[["));
  EXPECT_EQ(read(nested(65)), "damaged: it is nested too deep");
  EXPECT_EQ(read(nested(1'000'000)), "damaged: it is nested too deep");
  std::string hidden;
  for (int i = 0; i < 100'000; ++i) hidden += "<array><!--</array>-->";
  EXPECT_EQ(read(list(hidden)), "damaged: it is nested too deep");
}

TEST(PropertyList, CountsOtherFormsAsDamaged) {
  EXPECT_EQ(read("bplist00\xd0\x08"), "damaged: it is in the binary form");
  EXPECT_EQ(read(std::string_view("<plist>\0</plist>", 16)), "damaged: it holds a zero byte");
  for (const auto* text :
       {"", " ", "{ a = b; }", "{\"a\":1}", "<html></html>", "<plist>", "<plist></dict>", "<",
        "<plist><dict></plist></dict>", "<plist><string><dict/></string></plist>", "<plist><plist/></plist>",
        "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><true/></plist>", "<plist><dict a=\"<\"/></plist>",
        "<!-- ", "<![CDATA[", "<?xml", "<dict/>", "<plist><dict><string>no key</string></dict></plist>"}) {
    EXPECT_TRUE(read(text).starts_with("damaged: ")) << text << " is " << read(text);
  }
}

TEST(PropertyList, SurvivesEveryPrefixOfAList) {
  const auto whole = list(
      "<dict><key>a</key><array><integer>0x1F</integer><real>1e5</real></array><key>b</key>"
      "<string>&#x4E2D;&amp;<![CDATA[x]]></string><key>c</key><true/></dict>");
  ASSERT_EQ(read(whole), R"({"a":[31,1E5],"b":"中&x","c":true})");
  for (std::size_t size = 0; size < whole.size() - 2; ++size) {
    EXPECT_TRUE(read(std::string_view(whole).substr(0, size)).starts_with("damaged: ")) << size;
  }
}

TEST(PropertyList, ReducesATextToPlainTags) {
  std::string problem;
  EXPECT_EQ(plainPropertyListText(
                "<?xml?><plist version=\"1.0\"><dict a='b'><key>k</key><true /></dict></plist>", problem),
            "<plist><dict><key>k</key><true/></dict></plist>");
  EXPECT_EQ(plainPropertyListText("<plist><x/></plist>", problem), std::nullopt);
  EXPECT_EQ(problem, "<x> is no element that is taken");
}

}  // namespace
}  // namespace orv
