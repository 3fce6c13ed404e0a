#include "source/platform/host.h"

#include "tests/support/version_list.h"

#include <gtest/gtest.h>

namespace {

using TextList = std::vector<std::optional<std::string>>;
using Texts = std::optional<TextList>;
using zor::test::kVersionList;

const std::vector<std::string> kKeys = {"ProductVersion", "ProductBuildVersion"};

Texts lookUp(const std::string &list, const std::vector<std::string> &keys = {"k"}) {
    return zor::host::lookUpInPropertyList(list, keys);
}

/** The text under "k" in a dictionary with this content; "(refused)" or "(none)" without one. */
std::string textIn(const std::string &content) {
    const Texts texts = lookUp("<plist version=\"1.0\"><dict>" + content + "</dict></plist>");
    return texts ? texts->front().value_or("(none)") : "(refused)";
}

std::string inString(const std::string &content) {
    return textIn("<key>k</key><string>" + content + "</string>");
}

TEST(PropertyList, VersionFile_GivesItsTexts) {
    EXPECT_EQ(lookUp(kVersionList, kKeys), (TextList{"10.4.11", "8S165"}));
    EXPECT_EQ(lookUp(kVersionList, {}), TextList{});
    EXPECT_EQ(lookUp(kVersionList, {"ProductName", "None", "ProductVersion"}),
              (TextList{"Mac OS X", std::nullopt, "10.4.11"}));
}

TEST(PropertyList, EveryCut_IsRefused) {
    const std::string list = kVersionList;
    const size_t whole = list.rfind('>') + 1;
    for (size_t length = 0; length < list.size(); ++length)
        EXPECT_EQ(lookUp(list.substr(0, length), kKeys).has_value(), length >= whole) << length;
}

TEST(PropertyList, Frame_MayBeOfSeveralForms) {
    constexpr const char *kLists[] = {
        "<plist version=\"1.0\"><dict><key>k</key><string>v</string></dict></plist>",
        "<plist version='0.9' ><dict><key>k</key><string>v</string></dict></plist >",
        "<plist><dict><key>k</key><string>v</string></dict></plist>",
        "<dict><key>k</key><string>v</string></dict>",
        "\xEF\xBB\xBF<?xml version=\"1.0\"?><plist><dict><key>k</key><string>v</string></dict></plist>",
        "<?xml version='1.0' encoding='utf-8' standalone='yes' "
        "?><plist><dict><key>k</key><string>v</string></dict></plist>",
        "<!DOCTYPE plist><plist><dict><key>k</key><string>v</string></dict></plist>",
        "<!DOCTYPE plist SYSTEM \"file://localhost/System/Library/DTDs/PropertyList.dtd\" >"
        "<plist><dict><key>k</key><string>v</string></dict></plist>",
        " \t\r\n<!-- a --><?tool a?b?><plist><!-- b --><dict><?c?><key>k</key><!-- c --><string>v</string> </dict>\n"
        "</plist> <!-- d -->\n<!-- e -->",
        "<!DOCTYPE plist PUBLIC \"aZ09 \r\n-'()+,./:=?;!*#@$_%\" \"<&\t\xC3\xA9\">"
        "<plist><dict><key>k</key><string>v</string></dict></plist>",
        "<!DOCTYPE plist PUBLIC '' ''><plist><dict><key>k</key><string>v</string></dict></plist>",
    };
    for (const char *list : kLists)
        EXPECT_EQ(lookUp(list), (TextList{"v"})) << list;
}

TEST(PropertyList, BrokenFrame_IsRefused) {
    constexpr const char *kLists[] = {
        "",
        " ",
        "plain text",
        "<",
        "<>",
        "<plist/>",
        "<plist></plist>",
        "<plist><dict/><dict/></plist>",
        "<plist><dict/></plist>x",
        "<plist><dict/></plist><plist><dict/></plist>",
        "<plist><dict/></plist></plist>",
        "<plist><dict/></dict>",
        "<plist><dict/></PLIST>",
        "x<plist><dict/></plist>",
        "&#32;<plist><dict/></plist>",
        "<![CDATA[]]><plist><dict/></plist>",
        "<plist>x<dict/></plist>",
        "<plist><dict/>x</plist>",
        "<plist><plist><dict/></plist></plist>",
        "<plist version=1.0><dict/></plist>",
        "<plist version><dict/></plist>",
        "<plist version=\"1.0><dict/></plist>",
        "<plist version=\"1.0\" version=\"1.0\"><dict/></plist>",
        "<plist version=\"<\"><dict/></plist>",
        "<plist other=\"1\"><dict/></plist>",
        "<plist/ ><dict/></plist>",
        "< plist><dict/></plist>",
        " <?xml version=\"1.0\"?><plist><dict/></plist>",
        "<?xml?><plist><dict/></plist>",
        "<?xml version=\"2.0\"?><plist><dict/></plist>",
        "<?xml encoding=\"UTF-8\"?><plist><dict/></plist>",
        "<?xml version=\"1.0\"encoding=\"UTF-8\"?><plist><dict/></plist>",
        "<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><dict/></plist>",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><dict/></plist>",
        "<?xml version=\"1.0\" standalone=\"maybe\"?><plist><dict/></plist>",
        "<?xml version=\"1.0\" more=\"x\"?><plist><dict/></plist>",
        "<?xml version=\"1.0\"><plist><dict/></plist>",
        "<?XML version=\"1.0\"?><plist><dict/></plist>",
        "<?tool/x?><plist><dict/></plist>",
        "<?tool <plist><dict/></plist>",
        "<!DOCTYPE><plist><dict/></plist>",
        "<!DOCTYPE plist <plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a\"><plist><dict/></plist>",
        "<!DOCTYPE plist SYSTEM><plist><dict/></plist>",
        "<!DOCTYPE plist><!DOCTYPE plist><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a<b\" \"c\"><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a>b\" \"c\"><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a&b\" \"c\"><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a&amp;b\" \"c\"><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a\tb\" \"c\"><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a\xC3\xA9\" \"c\"><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC 'a\"b' 'c'><plist><dict/></plist>",
        "<!DOCTYPE plist PUBLIC \"a[b]\" \"c\"><plist><dict/></plist>",
        "<plist><dict/></plist><?a?>",
        "<plist><dict/></plist> <?a b?>\n",
        "<plist><dict/></plist><!-- a --><?b c?>",
        "<dict/><?a?>",
        "<plist><dict/></plist><!DOCTYPE plist>",
        "<plist><!DOCTYPE plist><dict/></plist>",
        "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><dict/></plist>",
        "<!-- a -- b --><plist><dict/></plist>",
        "<!-- a ---><plist><dict/></plist>",
        "<!-- a <plist><dict/></plist>",
        "<plist><dict/></plist><!-- a",
        "bplist00\xD1\x01\x02",
        "{ k = v; }",
    };
    for (const char *list : kLists)
        EXPECT_EQ(lookUp(list), std::nullopt) << list;
}

TEST(PropertyList, RootThatIsNoDictionary_IsRefused) {
    for (const char *root :
         {"<array/>", "<array><dict/></array>", "<string>k</string>", "<true/>", "<integer>1</integer>"}) {
        EXPECT_EQ(lookUp(std::string("<plist>") + root + "</plist>"), std::nullopt) << root;
        EXPECT_EQ(lookUp(root), std::nullopt) << root;
    }
    EXPECT_EQ(lookUp("<plist><dict/></plist>"), (TextList{std::nullopt}));
}

TEST(PropertyList, Text_IsDecoded) {
    EXPECT_EQ(inString("v"), "v");
    EXPECT_EQ(inString(""), "");
    EXPECT_EQ(textIn("<key>k</key><string/>"), "");
    EXPECT_EQ(inString(" a  b \n"), " a  b \n") << "white space is text";
    EXPECT_EQ(inString("a&amp;b&lt;c&gt;d&quot;e&apos;f"), "a&b<c>d\"e'f");
    EXPECT_EQ(inString("&#65;&#x42;&#X43;"), "(refused)");
    EXPECT_EQ(inString("&#65;&#x4a;&#x4A;&#0000000065;"), "AJJA");
    EXPECT_EQ(inString("&#xE9;&#x20AC;&#x1F600;&#x10FFFF;"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(inString("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(inString("&#9;&#10;&#13;"), "\t\n\r");
    EXPECT_EQ(inString("a\r\nb\rc\nd\r\r\n"), "a\nb\nc\nd\n\n");
    EXPECT_EQ(inString("&amp;lt;"), "&lt;") << "decoded once";
    EXPECT_EQ(inString("a<![CDATA[<b>&amp;]]]>c"), "a<b>&amp;]c");
    EXPECT_EQ(inString("<![CDATA[]]>"), "");
    EXPECT_EQ(inString("<![CDATA[a]]><![CDATA[b]]>"), "ab");
    EXPECT_EQ(inString("10<!-- dot -->.4<?pi?>.11"), "10.4.11");
    EXPECT_EQ(inString("a]]b>"), "a]]b>");
    EXPECT_EQ(textIn("<key>&#107;</key><string>v</string>"), "v") << "keys are decoded, too";
    EXPECT_EQ(textIn("<key><![CDATA[k]]></key><string>v</string>"), "v");
    EXPECT_EQ(textIn("<key>k </key><string>v</string>"), "(none)");
}

TEST(PropertyList, BrokenText_IsRefused) {
    for (const char *text : {"&",
                             "&amp",
                             "&amp ;",
                             "&nbsp;",
                             "&AMP;",
                             "&;",
                             "&#;",
                             "&#x;",
                             "&#65",
                             "&#6a;",
                             "&#xG;",
                             "&# 65;",
                             "&#-1;",
                             "&#0;",
                             "&#1;",
                             "&#x1F;",
                             "&#xD800;",
                             "&#xDFFF;",
                             "&#xFFFE;",
                             "&#xFFFF;",
                             "&#x110000;",
                             "&#99999999999999999999;",
                             "a]]>b",
                             "<![CDATA[a",
                             "<![cdata[a]]>",
                             "<!-- a",
                             "<!x>",
                             "<b>a</b>",
                             "<b/>",
                             "<string>a</string>",
                             "<"})
        EXPECT_EQ(inString(text), "(refused)") << text;
    for (const char *bytes : {"\x80", "\xC3", "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE2\x82", "\xED\xA0\x80",
                              "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xF0\x80\x80\x80", "\xF4\x90\x80\x80",
                              "\xF8\x88\x80\x80\x80", "\xFF", "\xFE", "\x01", "\x1F", "\x0B"})
        EXPECT_EQ(inString(bytes), "(refused)") << testing::PrintToString(std::string(bytes));
    EXPECT_EQ(inString(std::string(1, '\0')), "(refused)");
    EXPECT_EQ(lookUp("<!-- \xFF --><plist><dict/></plist>"), std::nullopt);
}

TEST(PropertyList, OtherValues_AreSkipped) {
    constexpr const char *kValues[] = {
        "<string>x</string>",
        "<string/>",
        "<integer>12</integer>",
        "<integer> -12\n</integer>",
        "<integer>+0x1F</integer>",
        "<integer>18446744073709551615</integer>",
        "<real>1.5</real>",
        "<real>-1e10</real>",
        "<real>+.5</real>",
        "<real>nan</real>",
        "<real>-infinity</real>",
        "<real>1e999</real>",
        "<true/>",
        "<false />",
        "<true></true>",
        "<date>2007-10-26T12:00:00Z</date>",
        "<data>AQID\n\tBA==</data>",
        "<data/>",
        "<data></data>",
        "<array/>",
        "<array></array>",
        "<array> <string>k</string><!-- c --><array><true/></array><dict/> </array>",
        "<dict/>",
        "<dict></dict>",
        "<dict><key>k</key><string>inner</string><key>l</key><dict><key>k</key><integer>1</integer></dict></dict>",
    };
    for (const char *value : kValues) {
        EXPECT_EQ(textIn(std::string("<key>a</key>") + value + "<key>k</key><string>v</string>"), "v") << value;
        EXPECT_EQ(textIn(std::string("<key>k</key><string>v</string><key>a</key>") + value), "v") << value;
    }
}

TEST(PropertyList, BrokenValues_AreRefused) {
    constexpr const char *kValues[] = {
        "",
        "<integer/>",
        "<integer></integer>",
        "<integer>x</integer>",
        "<integer>1 2</integer>",
        "<integer>--1</integer>",
        "<integer>0x</integer>",
        "<integer>99999999999999999999</integer>",
        "<real/>",
        "<real>x</real>",
        "<real>1,5</real>",
        "<real>+-1</real>",
        "<real>1.5.2</real>",
        "<true>x</true>",
        "<true> </true>",
        "<true>",
        "<false>",
        "<date/>",
        "<date>2007-10-26</date>",
        "<date>2007-10-26 12:00:00Z</date>",
        "<date>2007-1x-26T12:00:00Z</date>",
        "<data>A</data>",
        "<data>AQI*</data>",
        "<data>A===</data>",
        "<data>AQ=D</data>",
        "<array><key>k</key></array>",
        "<array>x</array>",
        "<array><string>x</array></string>",
        "<array>",
        "<dict><string>x</string></dict>",
        "<array></integer>1</integer></array>",
        "<dict><key>k</key></dict>",
        "<dict><key>k</key><key>l</key><string>x</string></dict>",
        "<dict>x</dict>",
        "<dict><key>k</key>x<string>x</string></dict>",
        "<key>k</key>",
        "<unknown/>",
        "<String>x</String>",
        "<string a=\"b\">x</string>",
        "<array a=\"b\"/>",
        "<dict a=\"b\"></dict>",
        "<string>x</strin>",
        "<string>x</string x>",
        "x",
    };
    for (const char *value : kValues)
        EXPECT_EQ(textIn(std::string("<key>k</key><string>v</string><key>a</key>") + value), "(refused)") << value;
    EXPECT_EQ(textIn("<string>v</string>"), "(refused)");
    EXPECT_EQ(textIn("<key/>"), "(refused)");
}

TEST(PropertyList, KeyAskedForThatIsNoString_IsRefused) {
    for (const char *value :
         {"<integer>1</integer>", "<true/>", "<array/>", "<dict/>", "<data>AQID</data>", "<real>1</real>"})
        EXPECT_EQ(textIn(std::string("<key>k</key>") + value), "(refused)") << value;
}

TEST(PropertyList, KeyAskedForThatComesTwice_IsRefused) {
    EXPECT_EQ(textIn("<key>k</key><string>v</string><key>k</key><string>w</string>"), "(refused)");
    EXPECT_EQ(textIn("<key>k</key><string/><key>k</key><string/>"), "(refused)");
    EXPECT_EQ(textIn("<key>a</key><true/><key>a</key><true/><key>k</key><string>v</string>"), "v");
}

TEST(PropertyList, Nesting_IsBounded) {
    const auto nested = [](int depth, const std::string &open, const std::string &close) {
        std::string list = "<key>a</key>";
        for (int i = 0; i < depth; ++i)
            list += open;
        for (int i = 0; i < depth; ++i)
            list += close;
        return list + "<key>k</key><string>v</string>";
    };
    EXPECT_EQ(textIn(nested(100, "<array>", "</array>")), "v");
    EXPECT_EQ(textIn(nested(200, "<array>", "</array>")), "(refused)");
    EXPECT_EQ(textIn(nested(200, "<dict><key>a</key>", "</dict>")), "(refused)");
    EXPECT_EQ(textIn(nested(1000000, "<array>", "")), "(refused)");
}

TEST(PropertyList, AttributesWithoutNumber_AreRefusedBeforeTheyTakeTime) {
    std::string list = "<plist";
    for (int i = 0; i < 300000; ++i)
        list += " a" + std::to_string(i) + "=\"\"";
    EXPECT_EQ(lookUp(list + "><dict/></plist>"), std::nullopt);
}

TEST(PropertyList, LongTexts_AreReadInOnePass) {
    const std::string text(4 * 1024 * 1024, 'x');
    EXPECT_EQ(inString(text), text);
    std::string references;
    for (int i = 0; i < 200000; ++i)
        references += "&#x41;<!---->";
    EXPECT_EQ(inString(references), std::string(200000, 'A'));
}

} // namespace
