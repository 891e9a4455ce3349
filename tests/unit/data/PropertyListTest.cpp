#include <orvnetwork/data/PropertyList.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orv::property_list_test {
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
  return result ? json::serialize(*result) : "damaged: " + result.error().description;
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
  EXPECT_EQ(readPropertyList(list("<real>9.9000000000000004</real>")).value(), json::value(9.9));
  EXPECT_EQ(read(list("<array> <true></true>\n<string/><dict><key/><integer>1</integer></dict></array>")),
            R"([true,"",{"":1}])");
  EXPECT_EQ(read("\xEF\xBB\xBF" + list("<string>x</string>")), R"("x")");
}

TEST(PropertyList, ReadsIntegersOfEverySize) {
  EXPECT_EQ(read(list("<integer>9223372036854775807</integer>")), "9223372036854775807");
  EXPECT_EQ(read(list("<integer>9223372036854775808</integer>")), "9223372036854775808");
  EXPECT_EQ(read(list("<integer>18446744073709551615</integer>")), "18446744073709551615");
  EXPECT_EQ(read(list("<integer>-1</integer>")), "-1");
  EXPECT_EQ(read(list("<integer>-9223372036854775808</integer>")), "-9223372036854775808");
  EXPECT_EQ(read(list("<array><integer> 010\n</integer><integer>+5</integer><integer>-0</integer>"
                      "<integer>0xfF</integer><integer>-0X10</integer></array>")),
            "[10,5,0,255,-16]");
  EXPECT_EQ(read(list("<integer>0xFFFFFFFFFFFFFFFF</integer>")), "18446744073709551615");
}

TEST(PropertyList, ReadsReals) {
  const auto real = [](const std::string& digits) {
    return readPropertyList(list("<real>" + digits + "</real>"));
  };
  EXPECT_EQ(real("9.9000000000000004"), json::value(9.9));
  EXPECT_EQ(real("9.8999996185302734"), json::value(double{9.9f}));
  EXPECT_EQ(real(" +1e5\n"), json::value(1e5));
  EXPECT_EQ(real("0.0"), json::value(0.0));
  EXPECT_EQ(real("7"), json::value(7.0)) << "a whole one is a real still";
  EXPECT_TRUE(std::isnan(real("nan")->get_double()));
  for (const char* digits : {"+infinity", "infinity", "inf", "INF", "1e400"}) {
    EXPECT_EQ(real(digits), json::value(std::numeric_limits<double>::infinity())) << digits;
  }
  EXPECT_EQ(real("-infinity"), json::value(-std::numeric_limits<double>::infinity()));
  EXPECT_EQ(real("1e-400"), json::value(0.0));
  EXPECT_EQ(real("5" + std::string(5000, '0') + "e-5000"), json::value(5.0));
}

TEST(PropertyList, CountsAListWithAWrongNumberAsDamaged) {
  for (const char* digits : {"", " ", "abc", "5x", "5 6", "1.5", "--5", "-+5", "0x", "0xg",
                             "18446744073709551616", "-9223372036854775809", "-18446744073709551615"}) {
    const std::string element = "<integer>" + std::string(digits) + "</integer>";
    EXPECT_TRUE(read(list(element)).starts_with("damaged: an integer is ")) << element;
  }
  for (const char* digits : {"", "abc", "9,5", "1.5x", "0x1p3", "+-5", "-+5", "nan(1)", "1 2"}) {
    EXPECT_EQ(read(list("<real>" + std::string(digits) + "</real>")), "damaged: a real is no number")
        << digits;
  }
  EXPECT_EQ(read(list("<dict><key>good</key><true/><key>bad</key><integer/></dict>")),
            "damaged: an integer is no number");
}

TEST(PropertyList, ResolvesReferencesToCharacters) {
  EXPECT_EQ(read(list("<string>&lt;&gt;&amp;&quot;&apos;&#60;&#x4E2D;&#128105;</string>")),
            R"("<>&\"'<中👩")");
  for (const char* reference :
       {"&other;", "&", "&amp", "&#0;", "&#xD83D;&#xDC69;", "&#x110000;", "&#;", "&#xZ;"}) {
    EXPECT_TRUE(read(list("<string>" + std::string(reference) + "</string>")).starts_with("damaged: "))
        << reference << " is " << read(list("<string>" + std::string(reference) + "</string>"));
  }
}

TEST(PropertyList, KeepsControlCharactersAndLineEndsAsTheyAre) {
  EXPECT_EQ(readPropertyList(list("<string> a\r\nb\x01\x1F\x7F\t</string>")).value(),
            json::value(" a\r\nb\x01\x1F\x7F\t"));
}

TEST(PropertyList, CountsTextThatIsNotUtf8AsDamaged) {
  for (const char* text : {"\xFF", "\xC3", "\xED\xA0\x80", "\xC0\xAF", "a\xF5\x80\x80\x80"}) {
    EXPECT_EQ(read(list("<string>" + std::string(text) + "</string>")),
              "damaged: it holds text that is not UTF-8");
    EXPECT_EQ(read(list("<dict><key>" + std::string(text) + "</key><true/></dict>")),
              "damaged: it holds text that is not UTF-8");
  }
}

TEST(PropertyList, LetsTheLastOfEqualKeysCount) {
  EXPECT_EQ(
      read(list("<dict><key>a</key><integer>1</integer><key>b</key><true/><key>a</key><integer>2</integer>"
                "</dict>")),
      R"({"a":2,"b":true})");
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
  EXPECT_EQ(read(std::string_view("<plist>\0</plist>", 16)), "damaged: it holds a zero byte");
  for (const auto* text : {"",
                           " ",
                           "{ a = b; }",
                           "{\"a\":1}",
                           "<html></html>",
                           "<plist>",
                           "<plist></dict>",
                           "<",
                           "<plist><dict></plist></dict>",
                           "<plist><string><dict/></string></plist>",
                           "<plist><plist/></plist>",
                           "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><true/></plist>",
                           "<plist><dict a=\"<\"/></plist>",
                           "<!-- ",
                           "<![CDATA[",
                           "<?xml",
                           "<dict/>",
                           "<plist><dict><string>no key</string></dict></plist>",
                           "<plist></plist>",
                           "<plist/>",
                           "<plist><true/><true/></plist>",
                           "<plist><true/></plist><plist><true/></plist>",
                           "<plist><key>k</key></plist>",
                           "<plist><array><key>k</key></array></plist>",
                           "<plist><dict><key>k</key></dict></plist>",
                           "<plist><dict><key>a</key><key>b</key></dict></plist>",
                           "<plist><dict><key>a</key><true/><true/></dict></plist>",
                           "<plist><array>text</array></plist>",
                           "<plist><true>text</true></plist>",
                           "text<plist><true/></plist>",
                           "<plist><true/></plist>text",
                           "<plist><true/>text</plist>",
                           "<plist><array><![CDATA[text]]></array></plist>"}) {
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

TEST(PropertyList, TakesTagsForWhatTheyMean) {
  EXPECT_EQ(
      read("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict a='b'><key>k</key><true /></dict></plist>"),
      R"({"k":true})");
  EXPECT_EQ(read("<plist><x/></plist>"), "damaged: <x> is no element that is taken");
  EXPECT_EQ(read("<plist> <array>\n<integer>0x1F</integer><real>1.50</real></array\r\n></plist>"),
            "[31,1.5E0]");
}

TEST(PropertyList, CountsAListThatDeclaresEntitiesAsDamaged) {
  constexpr const char* kOwnType = "damaged: it declares its own type";
  const std::string body = "<plist><string>&a;</string></plist>";
  EXPECT_EQ(read("<!DOCTYPE plist [<!ENTITY a \"b\">]>" + body), kOwnType);
  EXPECT_EQ(read("<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><true/></plist>"), kOwnType) << "and uses none";
  EXPECT_EQ(read("<!DOCTYPE plist [<!ENTITY a SYSTEM \"/etc/hostname\">]>" + body), kOwnType);
  EXPECT_EQ(read("<!DOCTYPE plist [<!ENTITY % p SYSTEM \"http://127.0.0.1:1/\"> %p;]>" + body), kOwnType);
  EXPECT_EQ(read("<!DOCTYPE plist SYSTEM \"file:///etc/hostname\" []>" + body), kOwnType);
  std::string laughs = "<!DOCTYPE plist [<!ENTITY a0 \"ha\">";
  for (int i = 1; i < 30; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + "\">";
  }
  EXPECT_EQ(read(laughs + "]><plist><string>&a29;</string></plist>"), kOwnType);
}

TEST(PropertyList, CountsAnEntityThatNobodyDefinedAsDamage) {
  for (const char* head : {"", "<!DOCTYPE plist>", "<!DOCTYPE plist SYSTEM \"elsewhere.dtd\">", kHead}) {
    const std::string text = (head == kHead ? std::string(kHead) : head + std::string("<plist>"));
    EXPECT_EQ(read(text + "<string>&amp;</string></plist>"), "\"&\"") << head;
    EXPECT_TRUE(read(text + "<string>&other;</string></plist>").starts_with("damaged: ")) << head;
  }
}

TEST(PropertyList, KeepsEveryByteOfLongTextHoweverItIsMarked) {
  std::string mixed;
  for (int i = 0; i < 3000; ++i) {
    mixed += i % 7 == 0 ? "\r\n" : i % 5 == 0 ? "\r" : i % 11 == 0 ? "\x02" : "文\xEF\xBF\xBF!";
  }
  std::string oneLine = "&";
  for (int i = 0; i < 3000; ++i) oneLine += "&文\x1F!";
  for (const std::string& text : {mixed, oneLine, mixed + "\r", mixed + "]", mixed + oneLine}) {
    EXPECT_EQ(readPropertyList(list("<string><![CDATA[" + text + "]]></string>")), json::value(text));
    if (text.find('&') != std::string::npos) continue;
    EXPECT_EQ(readPropertyList(list("<string>" + text + "</string>")), json::value(text));
    EXPECT_EQ(readPropertyList(
                  list("<string>&lt;" + text + "<!-- \r -->&#13;<![CDATA[&lt;]]>" + text + "</string>")),
              json::value("<" + text + "\r&lt;" + text));
  }
  const std::string plain(5000, 'x');
  EXPECT_EQ(read(list("<string>" + plain + "&#x6587;" + plain + "</string>")),
            '"' + plain + "文" + plain + '"');
}

TEST(PropertyList, GoesByTheBytesWhateverEncodingTheHeadNames) {
  for (const char* encoding : {"UTF-8", "ISO-8859-1", "UTF-16", "x-unheard-of"}) {
    EXPECT_EQ(read("<?xml version=\"1.0\" encoding=\"" + std::string(encoding) +
                   "\"?><plist><string>文</string></plist>"),
              "\"文\"");
  }
  std::string wide = "\xFE\xFF";
  for (const char c : std::string("<plist><true/></plist>")) wide += {'\0', c};
  EXPECT_EQ(read(wide), "damaged: it holds a zero byte");
}

TEST(PropertyList, SaysWhereATextIsNotXml) {
  EXPECT_EQ(read("<plist>\n<dict>\n</plist>"), "damaged: it is not XML: mismatched tag in line 3");
  EXPECT_EQ(read(""), "damaged: it is not XML: no element found in line 1");
  EXPECT_EQ(read("<plist>\n<dict><key>k</key>\n"), "damaged: <dict> is not closed");
  EXPECT_EQ(read("<plist><string>text"), "damaged: <string> is not closed");
}

}  // namespace
}  // namespace orv::property_list_test
