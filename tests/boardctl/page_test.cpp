// Tables and what stands in them.
#include "page.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "child.h"
#include "terminal.h"

using boardctl::Json;
using boardctl::Page;

namespace {

TEST(Text, WidthCountsColumnsNotBytes) {
    EXPECT_EQ(boardctl::display_width(""), 0u);
    EXPECT_EQ(boardctl::display_width("abc"), 3u);
    EXPECT_EQ(boardctl::display_width("Kühlung"), 7u);
    EXPECT_EQ(boardctl::display_width("e\u0301"), 1u);     // combining accent
    EXPECT_EQ(boardctl::display_width("風扇"), 4u);        // wide
    EXPECT_EQ(boardctl::display_width("\U0001F4BE"), 2u);  // wide, four bytes
    EXPECT_EQ(boardctl::display_width("a\xFF"
                                      "b"),
              3u);                                       // no UTF-8
    EXPECT_EQ(boardctl::display_width("\xE9\xA2"), 2u);  // cut short
}

TEST(Text, NothingSteersTheTerminal) {
    EXPECT_EQ(boardctl::printable("plain ÄÖ 風 text"), "plain ÄÖ 風 text");
    EXPECT_EQ(boardctl::printable("a\x1b[31mred\nb"), "a\\x1B[31mred\\x0Ab");
    EXPECT_EQ(boardctl::printable(std::string_view("\0\x7f", 2)), "\\x00\\x7F");
    EXPECT_EQ(boardctl::printable("\xC2\x9B"
                                  "31m"),
              "\\x9B31m");                                    // one-character escape
    EXPECT_EQ(boardctl::printable("a\u202Eb"), "a\\u202Eb");  // right to left
    EXPECT_EQ(boardctl::printable("\xFF\xC0\x80"), "\\xFF\\xC0\\x80");
    EXPECT_EQ(boardctl::printable("\xED\xA0\x80"), "\\xED\\xA0\\x80");           // a surrogate
    EXPECT_EQ(boardctl::printable("\xF0\x82\x82\xAC"), "\\xF0\\x82\\x82\\xAC");  // overlong
}

TEST(Text, Values) {
    EXPECT_EQ(boardctl::value_text(nullptr), "-");
    EXPECT_EQ(boardctl::value_text(true), "yes");
    EXPECT_EQ(boardctl::value_text(false), "no");
    EXPECT_EQ(boardctl::value_text(-7), "-7");
    EXPECT_EQ(boardctl::value_text("0x5440"), "0x5440");
    EXPECT_EQ(boardctl::value_text(Json::array({1, nullptr, "x"})), "1, -, x");
    EXPECT_EQ(boardctl::value_text(Json::array()), "none");
}

TEST(Text, Hexadecimal) {
    EXPECT_EQ(boardctl::hex_byte(7), "0x07");
    EXPECT_EQ(boardctl::hex_register(0x8C), "0x08C");
    EXPECT_EQ(boardctl::hex_id(0x5440), "0x5440");
    EXPECT_EQ(boardctl::hex_hard_id(0x544001), "0x544001");
    EXPECT_EQ(boardctl::hex(int8_t{-1}, 2), "0xFF");
}

TEST(Text, FixedFieldsMayBeFull) {
    const char full[4] = {'a', 'b', 'c', 'd'};
    const char padded[4] = {'a', 'b', 0, 'd'};
    EXPECT_EQ(boardctl::field_text(full), "abcd");
    EXPECT_EQ(boardctl::field_text(padded), "ab");
}

TEST(Routes, EachLevelOfSwitches) {
    const Json direct = boardctl::route_json({3, 0x20, 0, 0, 0, "x"});
    EXPECT_EQ(direct, (Json{{"bus", 3}, {"address", "0x20"}, {"switches", Json::array()}}));
    EXPECT_EQ(boardctl::route_text(direct), "3/0x20");
    const Json one = boardctl::route_json({4, 0x21, 0, 0x70, 3, "x"});
    EXPECT_EQ(one["switches"], Json::array({{{"address", "0x70"}, {"channel", 3}}}));
    EXPECT_EQ(boardctl::route_text(one), "4/0x70.3/0x21");
    const Json two = boardctl::route_json({0xFF, 0x50, 0, 0x00700071, 0x00010002, "x"});
    EXPECT_TRUE(two["bus"].is_null());
    EXPECT_EQ(boardctl::route_text(two), "*/0x70.1/0x71.2/0x50");
}

TEST(Tables, NumbersRightTextsLeftNothingBehind) {
    const Json rows = Json::parse(R"([
        {"n": 5, "t": "Kühler", "deep": {"x": 1}, "b": true},
        {"n": 100, "t": "風", "deep": null, "b": false},
        {"n": null, "t": null, "deep": {"x": 22}, "b": null}])");
    Page page(false);
    page.table(rows, {{"N", "/n"},
                      {"Text", "/t"},
                      {"Deep", "/deep/x"},
                      {"Yes", "/b"},
                      {"Made", "", [](const Json &row) { return Json(!row["n"].is_null()); }}});
    EXPECT_EQ(page.text(),
              "    N  Text    Deep  Yes  Made\n"
              "    5  Kühler     1  yes  yes\n"
              "  100  風         -  no   yes\n"
              "    -  -         22  -    no\n");
}

TEST(Tables, WithoutRows) {
    Page page(false);
    page.heading("Things");
    page.table(Json::array(), {{"N", "/n"}});
    EXPECT_EQ(page.text(), "Things\n  none\n");
}

TEST(Tables, FieldsAreAligned) {
    Page page(false);
    page.title("Ölkühler");
    page.fields(Json::parse(R"({"a": 1, "b": {"c": "x\u001by"}})"),
                {{"Größe", "/a"}, {"Name it", "/b/c"}, {"Absent", "/b/d/e"}});
    EXPECT_EQ(page.text(), "Ölkühler\n========\n  Größe    1\n  Name it  x\\x1By\n  Absent   -\n");
}

// Taking the colours away leaves what is printed without them.
TEST(Tables, ColoursChangeNothingElse) {
    const Json rows = Json::parse(R"([{"n": 5, "b": true}, {"n": null, "b": false}])");
    const auto print = [&](bool colour) {
        Page page(colour);
        page.heading("Head");
        page.table(rows, {{"Number", "/n"}, {"Truth", "/b"}});
        return page.text();
    };
    std::string coloured = print(true);
    EXPECT_THAT(coloured, testing::HasSubstr("\x1b[1mHead\x1b[0m"));
    EXPECT_THAT(coloured, testing::HasSubstr("\x1b[32myes\x1b[0m"));
    EXPECT_THAT(print(false), testing::Not(testing::HasSubstr("\x1b")));
    for (std::size_t at; (at = coloured.find('\x1b')) != std::string::npos;) {
        coloured.erase(at, coloured.find('m', at) - at + 1);
    }
    EXPECT_EQ(coloured, print(false));
}

int work_for(unsigned milliseconds) {
    const boardctl::Progress progress("Writing the flash", [] { return "3 of 7"; });
    usleep(milliseconds * 1000);
    return 0;
}

TEST(ProgressLine, AppearsAfterASecondAndGoes) {
    const auto outcome = boardctl_test::in_child([] { return work_for(1600); },
                                                 {.err = boardctl_test::End::terminal});
    EXPECT_THAT(outcome.err, testing::StartsWith("\r\x1b[KWriting the flash (3 of 7, 1 s)"));
    EXPECT_THAT(outcome.err, testing::EndsWith("\r\x1b[K"));
    EXPECT_EQ(outcome.out, "");
}

TEST(ProgressLine, NotForShortWork) {
    const auto outcome = boardctl_test::in_child([] { return work_for(200); },
                                                 {.err = boardctl_test::End::terminal});
    EXPECT_EQ(outcome.err, "");
}

TEST(ProgressLine, NotInAFile) {
    EXPECT_EQ(boardctl_test::in_child([] { return work_for(1400); }).err, "");
}

}  // namespace
