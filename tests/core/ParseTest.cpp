#include "tests/support/TestSupport.h"

#include <qzm/core/Parse.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>
#include <vector>

TEST(ParseTest, ReadBooleanAndNumbers) {
    bool b = false;
    char text[] = "  yes,no";
    char* cursor = text;
    EXPECT_TRUE(QZMParse::ReadBoolean(&cursor, b) && b);
    EXPECT_STREQ(cursor, "no");
    EXPECT_EQ(QZMParse::ReadBoolean("2", b), nullptr);
    EXPECT_TRUE(b); // untouched on failure
    EXPECT_STREQ(QZMParse::ReadBoolean("Nope", b), "pe");
    EXPECT_FALSE(b);

    int i = 7;
    EXPECT_STREQ(QZMParse::ReadInt(" -42x", i), "x");
    EXPECT_EQ(QZMParse::ReadInt("x", i), nullptr);
    EXPECT_EQ(i, -42);
    QZMParse::ReadInt("99999999999", i);
    EXPECT_EQ(i, INT_MAX);
    float f = 0;
    QZMParse::ReadFloat("-1e300", f); // out of float range: no undefined narrowing
    EXPECT_TRUE(std::isinf(f) && f < 0);
}

TEST(ParseTest, ReadGeometryKeepsPartialFill) {
    QZMRect r = {1, 1, 1, 1};
    char geo[] = "-3,4,70000,2";
    char* cursor = geo;
    EXPECT_TRUE(QZMParse::ReadGeometry(&cursor, r));
    EXPECT_EQ(r.x + r.w, -3 + 70000 - 65536);
    char part[] = "40000,9 ,5";
    cursor = part;
    EXPECT_FALSE(QZMParse::ReadGeometry(&cursor, r));
    EXPECT_STREQ(cursor, " ,5"); // a blank before the comma stops the skip, and the next read
    EXPECT_EQ(r.x, 40000 - 65536);
    EXPECT_EQ(r.y + r.w, 9 + 70000 - 65536);
}

TEST(ParseTest, ReadString) {
    char text[] = "  abcdef,x";
    char* cursor = text;
    char out[8];
    EXPECT_EQ(QZMParse::ReadString(&cursor, out, 3, ','), 3u);
    EXPECT_STREQ(out, "abc");
    EXPECT_EQ(*cursor, 'd');
    EXPECT_EQ(QZMParse::ReadString(&cursor, nullptr, 0, ','), 3u); // counts without limit
    EXPECT_STREQ(cursor, "x");
    char spaced[] = "a b  ;";
    cursor = spaced;
    EXPECT_EQ(QZMParse::ReadString(&cursor, out, 7, ';'), 5u);
    EXPECT_STREQ(out, "a b  ");
    char* end = cursor;
    EXPECT_EQ(QZMParse::ReadString(&cursor, out, 7, '\0'), 0u);
    EXPECT_EQ(cursor, end); // never past the terminator
}

TEST(ParseTest, ColorsAndHexadecimal) {
    unsigned char c[4] = {1, 2, 3, 4};
    EXPECT_STREQ(QZMParse::ReadColor("colour #ff8000", c), "");
    EXPECT_EQ(std::vector<int>(c, c + 4), (std::vector<int>{255, 128, 0, 4}));
    EXPECT_STREQ(QZMParse::ReadColor("#0A0b0C0d9", c), "9");
    EXPECT_EQ(std::vector<int>(c, c + 4), (std::vector<int>{10, 11, 12, 13}));
    EXPECT_EQ(QZMParse::ReadColor("#ff80", c), nullptr);

    EXPECT_EQ(QZMParse::Hexa2Dec('1', 'g'), 0x20); // not validated: 'g' counts as 16
    char out[12] = "**********";
    QZMParse::Dec2Hexa(255, 4, out);
    EXPECT_STREQ(out, "00FF");
    QZMParse::Dec2Hexa(0x12345678u, 12, out); // at most 8 digits
    QZMParse::Dec2Hexa(0x12345678u, 3, out);
    EXPECT_STREQ(out, "678");
    const unsigned char bytes[] = {0xAB, 0x01};
    QZMParse::Dec2Hexa(bytes, 2, out);
    EXPECT_STREQ(out, "AB015678"); // no terminator written
}

TEST(ParseTest, ReadDateKeepsYearAndMonthAsRead) {
    long t = 0;
    ASSERT_TRUE(QZMParse::ReadDate("105/1/15", t));
    time_t tt = t;
    struct tm lt = *localtime(&tt);
    EXPECT_EQ(lt.tm_year * 10000 + lt.tm_mon * 100 + lt.tm_mday, 1050115); // 15 February 2005
    long later = 0;
    ASSERT_TRUE(QZMParse::ReadDate("105/1/15 1:2:3", later));
    EXPECT_EQ(later - t, 3723);
    // 2003 is handed on as year 3903 and 5 as 2005 (year 3905): beyond 32 bits; then a bad
    // month, too few fields and a year that saturates.
    t = 5;
    for (const char* bad : {"2003/1/15", "5/1/15", "105/13/1", "105/1", "99999999999/1/1"})
        EXPECT_FALSE(QZMParse::ReadDate(bad, t)) << bad;
    EXPECT_EQ(t, 5);
}

TEST(ParseTest, ColourSpaces) {
    float h, s, v;
    QZMParse::RGB_to_HSV(1, 0.5f, 0, h, s, v);
    EXPECT_FLOAT_EQ(h + s + v, 32);
    const float blue[3] = {0, 0, 1};
    EXPECT_FLOAT_EQ(QZMParse::RGB2H(blue), 240);

    float a[3], b[3] = {-1, -1, -1};
    QZMParse::HSV_to_RGB(0, 0.5f, 0.8f, a[0], a[1], a[2]);
    QZMParse::HSV_to_RGB(360, 0.5f, 0.8f, b[0], b[1], b[2]);
    EXPECT_EQ(memcmp(a, b, sizeof a), 0);
    for (float bad : {400.0f, -10.0f, 1e30f, NAN})
        QZMParse::HSV_to_RGB(bad, 1, 1, a[0], a[1], a[2]); // leaves a alone
    EXPECT_EQ(memcmp(a, b, sizeof a), 0);
    QZMParse::H2RGB(270, a);
    EXPECT_FLOAT_EQ(a[0] * 100 + a[1] * 10 + a[2], 51);
}

TEST(ParseTest, InPlaceEdits) {
    char text[] = "ab\xFF";
    QZMParse::Obfuscate(text, text);
    EXPECT_EQ(static_cast<unsigned char>(text[0]) << 8 | text[2], 0x9E00);
    char mixed[] = "a\x01Z\xC3~";
    EXPECT_EQ(QZMParse::ForceRange(mixed, ' ', 'z', '?'), 3);
    EXPECT_STREQ(mixed, "a?Z??");
    char path[] = "C:\\a/b";
    EXPECT_EQ(QZMParse::SystemPath(path), 3);
    EXPECT_STREQ(path, "C//a/b");
}

TEST(ParseTest, SkipEqualLogsOnlyFailures) {
    qzmtest::LogCapture log(100);
    char ok[] = " \t: value", none[] = "value", empty[] = " = \t";
    EXPECT_STREQ(QZMParse::SkipEqual(ok), "value");
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(QZMParse::SkipEqual(none), nullptr);
    EXPECT_EQ(QZMParse::SkipEqual(empty), nullptr);
    EXPECT_EQ(log.text(), "SkipEqual: missing : or =, or value\nSkipEqual: missing : or =, or value\n");
    EXPECT_STREQ(QZMParse::EatSpace(" \t\n"), "\n");
}
