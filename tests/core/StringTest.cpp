#include "tests/support/TestSupport.h"

#include <qzm/core/String.h>

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Text(const QZMString& s) { return s.data ? std::string(s.data, s.length) : "<null>"; }

} // namespace

TEST(StringTest, ConstructionAndAssignment) {
    QZMString none;
    QZMString reserved(10, nullptr);
    EXPECT_EQ(reserved.capacity, 12u);
    QZMString prefix(3, "abcdef");
    EXPECT_EQ(Text(prefix) + std::to_string(prefix.capacity), "abc4");

    QZMString copy(prefix);
    copy = "";
    EXPECT_EQ(copy.capacity, 4u); // "" keeps the storage
    copy = none;
    EXPECT_EQ(Text(copy) + std::to_string(copy.capacity), "<null>0");
    prefix = prefix.data + 1; // from its own storage
    EXPECT_EQ(Text(prefix), "bc");
}

TEST(StringTest, GrowthRules) {
    QZMString s("abc");
    s += 'd'; // 4 + max(1, 10) = 14, rounded up
    EXPECT_EQ(s.capacity, 16u);
    s += "0123456789AB"; // 16 + 12
    EXPECT_EQ(s.capacity, 28u);
    s += s; // its own text as source
    EXPECT_EQ(Text(s), "abcd0123456789ABabcd0123456789AB");
    s.Insert(s.data + 30, 1); // in place, from its own tail
    EXPECT_EQ(Text(s).substr(0, 5), "aABbc");
    s.Allocate(100, false);
    EXPECT_EQ(Text(s) + std::to_string(s.capacity), "100");

    QZMString t("xy");
    t.Insert('\0', 0);
    t.Insert("END", 99);
    EXPECT_EQ(Text(t), "xyEND");
}

TEST(StringTest, DeleteFillKillWord) {
    QZMString s("hello world");
    s.Delete(4, 2);
    EXPECT_EQ(Text(s), "hellworld");
    s.Delete(5);
    EXPECT_EQ(Text(s), "hellw");

    s.Fill('z', 3, 10); // prepares storage, length unchanged
    EXPECT_EQ(s.length, 5u);
    EXPECT_EQ(std::string(s.data, 13), "helzzzzzzzzzz");
    s.Fill('q', 1, 0xFFFFFFFF);
    s.Fill('x', 0x20, 0xFFFFFFF0); // span past 4 GiB
    EXPECT_EQ(Text(s), "hqqqq");

    QZMString w("  foo bar");
    EXPECT_EQ(w.KillWord(0), 5u);
    EXPECT_EQ(Text(w), " bar");
    QZMString tail("ab, ;");
    EXPECT_EQ(tail.KillWord(2), 3u);
    EXPECT_EQ(Text(tail), "ab");
}

TEST(StringTest, SearchQuirks) {
    QZMString abc("abc");
    EXPECT_EQ(abc.Find('a', 0, false), -1);
    EXPECT_EQ(abc.Find('A', 0, true), 0);
    EXPECT_EQ(abc.RFind('B', 0xFFFFFFFF, true), 1);

    QZMString hello("HELLO");
    EXPECT_EQ(hello.Find("lo", 0, false), 3);
    EXPECT_EQ(hello.Find("lo", 0, true), -1);
    EXPECT_EQ(hello.Find(QZMString("L"), 3, true), 3);
    EXPECT_EQ(hello.RFind("LL", 4, true), 2); // lowered so the needle fits
    EXPECT_EQ(hello.RFind(QZMString("h"), 0xFFFFFFFF, false), 0);

    QZMString path("a/b/c");
    EXPECT_EQ(path.Compare("c", true, 0xFFFFFFFF, 99), 0); // past the end: the last character
    EXPECT_EQ(path.Compare("A/B", false, 3, 0), 0);
    EXPECT_LT(QZMString().Compare("x"), 0);
}

TEST(StringTest, CharacterEdits) {
    QZMString s("Mixed-Case_\xE9!");
    EXPECT_EQ(s.Replace('-', ' '), 1u);
    EXPECT_EQ(s.Replace('x', '\0'), 0u);
    s.UpperCase();
    EXPECT_EQ(Text(s), "MIXED CASE_\xE9!");
    s.LowerCase();
    EXPECT_EQ(Text(s), "mixed case_\xE9!");
    s.Obfuscate(); // every byte complemented, through the length
    EXPECT_EQ(Text(s).substr(10), (std::string{char(~'_'), char(~'\xE9'), char(~'!')}));

    QZMString f("My File: v2/3.txt");
    f.MakeFilename();
    EXPECT_EQ(Text(f) + std::to_string(f.capacity), "My_File_v2_3.txt20"); // (17 + 4) & ~3
    QZMString odd("a\tb\\c\nd@E~\xC3");
    odd.MakeFilename();
    EXPECT_EQ(Text(odd), "a_b_c_d@E");
}

TEST(StringTest, FormatCopyAndInfo) {
    QZMString s;
    s.Format("%d", 123456);
    EXPECT_EQ(Text(s) + std::to_string(s.capacity), "1234568");
    s.Format(nullptr);
    s.Format("%s", "ab");
    EXPECT_EQ(Text(s) + std::to_string(s.capacity), "ab8");
    QZMString bad("keep");
    bad.Format("%ls", L"\x263A"); // an encoding error in the C locale: gives up, empty
    EXPECT_EQ(Text(bad), "");

    char* c = QZMString::StringCopy("abcdef", 2, 3);
    EXPECT_STREQ(c, "cde");
    delete[] c;
    EXPECT_EQ(QZMString::StringCopy(""), nullptr);

    qzmtest::LogCapture log(100);
    s.PrintInfo();
    QZMString().PrintInfo();
    EXPECT_EQ(log.text(), "QZMString(2/8): ab\nQZMString(0/0): \n");
}
