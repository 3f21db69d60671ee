#include <qzm/data/LangSource.h>
#include <qzm/data/Translator.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/support/TestSupport.h"

using qzmtest::Le;

namespace {

// Laid out by hand: header, length table, string block; a null text is an absent string.
std::string LangFile(const std::string& nameField, const std::vector<const char*>& texts) {
    std::string table, block;
    for (const char* text : texts) {
        table += Le(text ? static_cast<uint32_t>(strlen(text)) + 1 : 0, 2);
        if (text) block += std::string(text, strlen(text) + 1);
    }
    uint32_t tableAt = 22 + static_cast<uint32_t>(nameField.size());
    return "LanG" + std::string(1, '\0') + Le(static_cast<uint32_t>(nameField.size()), 1) +
           nameField + Le(static_cast<uint32_t>(texts.size()), 4) + Le(tableAt, 4) +
           Le(tableAt + static_cast<uint32_t>(table.size()), 4) +
           Le(static_cast<uint32_t>(block.size()), 4) + table + block;
}

const std::string GERMAN = LangFile(std::string("Deutsch\0", 8), {"Hallo", nullptr, "", "Ende"});
const std::string FRENCH_NAME = "Fran\xC3\xA7" "ais";
// A header naming "": string count, table and block offsets, block size. The table may start
// at 23.
std::string Head(uint32_t count, uint32_t tableAt, uint32_t blockAt, uint32_t blockSize) {
    return std::string("LanG\0\1\0", 7) + Le(count) + Le(tableAt) + Le(blockAt) + Le(blockSize);
}

class TranslatorTest : public ::testing::Test {
protected:
    qzmtest::TempDir dir;
    QZMTranslator* t = QZMTranslator::Singleton();

    ~TranslatorTest() override { delete t; }
    bool LoadBytes(const std::string& bytes) { return t->Load(dir.write("f.lng", bytes).c_str(), 0); }
    std::string Text(unsigned n) {
        const char* s = t->GetString(n);
        return s ? s : "<null>";
    }
};

} // namespace

TEST_F(TranslatorTest, FallbackOnlyBeyondTheTable) {
    EXPECT_EQ(Text(5), "String #5");
    ASSERT_TRUE(LoadBytes(GERMAN));
    EXPECT_STREQ(t->GetCurName(), "Deutsch");
    EXPECT_EQ(t->GetCurFile(), dir.file("f.lng"));
    std::vector<std::string> seen;
    for (unsigned n : {0u, 1u, 2u, 3u, 4u, 5u, 0xFFFFFFFFu}) seen.push_back(Text(n));
    EXPECT_EQ(seen, (std::vector<std::string>{"Hallo", "<null>", "", "Ende", "<null>", "String #5",
                                              "String #4294967295"}));
}

TEST_F(TranslatorTest, TableAndBlockMayLieAnywhere) {
    // Padding, the block "ab\0c\0" at 27, then the table {3, 2} at 32.
    ASSERT_TRUE(LoadBytes("LanG" + std::string(1, 'r') + Le(2, 1) + std::string("X\0", 2) +
                          Le(2, 4) + Le(32, 4) + Le(27, 4) + Le(5, 4) + "pad" +
                          std::string("ab\0c\0", 5) + Le(3, 2) + Le(2, 2)));
    EXPECT_EQ(Text(0) + Text(1), "abc");
}

TEST_F(TranslatorTest, InitListsValidLanguageFilesOnly) {
    std::string french = LangFile(FRENCH_NAME + '\0', {"Bonjour"});
    for (const char* name : {"fr.lng", ".hidden.lng", "notes.txt"}) dir.write(name, french);
    dir.write("empty.lng", LangFile("", {"x"}));
    dir.write("junk.lng", "LanX");
    dir.write("cut.lng", std::string("LanG\0", 5));
    mkdir(dir.file("sub.lng").c_str(), 0700);

    ASSERT_EQ(t->Init(dir.path().c_str(), ".lng"), 1u);
    EXPECT_EQ(std::string(t->path), dir.path() + "/");
    EXPECT_EQ(t->GetLangName(0), FRENCH_NAME);
    EXPECT_EQ(t->GetLangFile(0), dir.file("fr.lng"));
    EXPECT_FALSE(t->LoadName("fran\xC3\xA7" "ais"));
    EXPECT_FALSE(t->Load(nullptr, 1));
    ASSERT_TRUE(t->LoadName(FRENCH_NAME.c_str()));
    EXPECT_EQ(t->curName, nullptr);
    EXPECT_EQ(t->GetCurName(), FRENCH_NAME);
    EXPECT_EQ(t->Init(dir.path().c_str(), nullptr), 2u);
    // A name field cut short gives what the file holds.
    const char* cut = t->CheckLang(dir.write("short", std::string("LanG\0\x09short", 11)).c_str());
    EXPECT_STREQ(cut, "short");
    delete[] cut;
    EXPECT_EQ(t->stringCount, 0u);

    // A relative name that matches a listed path marks the entry as loaded.
    char old[4096];
    ASSERT_NE(getcwd(old, sizeof old), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    unsigned listed = t->Init(".", ".lng");
    bool loaded = t->Load("fr.lng", 7);
    ASSERT_EQ(chdir(old), 0);
    EXPECT_EQ(listed, 1u);
    EXPECT_TRUE(loaded);
    EXPECT_EQ(t->curIndex, 0u);
}

TEST_F(TranslatorTest, FilesCutShortFollowTheLoadStepsAndAbsurdSizesAreRefused) {
    const struct {
        std::string bytes;
        bool loads;
        std::string strings; // Text(0) | Text(1) afterwards; "Hallo|<null>" is the old language
    } cases[] = {
        // Refused before the strings are touched: the previous language stays.
        {GERMAN.substr(0, 12), false, "Hallo|<null>"}, // name cut short
        {Head(1, INT_MAX + 1u, 23, 0) + Le(1, 2), false, "Hallo|<null>"},
        {Head(0xFFFFFFFF, 23, 23, 0), false, "Hallo|<null>"},
        {Head(1, 23, 25, 0xFFFFFFF0) + Le(2, 2) + "a", false, "Hallo|<null>"},
        // A length table cut short discards the old language and fails.
        {Head(1, 5000, 23, 0) + "xx", false, "<null>|String #1"},
        {Head(1000, 23, 25, 1) + Le(1, 2), false, "<null>|String #1"},
        // A block past or across the end loads; what is missing reads as zeros.
        {Head(1, 23, 9000, 1) + Le(1, 2) + "a", true, "|<null>"},
        {Head(1, 23, INT_MAX + 1u, 1) + Le(1, 2), true, "|<null>"},
        {Head(2, 23, 27, 100) + Le(3, 2) + Le(2, 2) + "ab", true, "ab|"},
        {Head(2, 23, 27, 60u << 20) + Le(3, 2) + Le(2, 2) + std::string("ab\0c", 4), true, "ab|c"},
        // Lengths 3, 9 and 4 over a 4-byte block without a final terminator.
        {Head(3, 23, 29, 4) + Le(3, 2) + Le(9, 2) + Le(4, 2) + std::string("ab\0c", 4), true,
         "ab|c"},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(LoadBytes(GERMAN));
        EXPECT_EQ(LoadBytes(c.bytes), c.loads) << c.strings;
        EXPECT_EQ(Text(0) + "|" + Text(1), c.strings);
    }
    EXPECT_EQ(Text(2), "<null>"); // the last case's string past its block
}

TEST_F(TranslatorTest, SourcesCompileToTheLayoutAndDumpCanonically) {
    QZMLangSource lang;
    std::string source = "\xEF\xBB\xBF# greetings\r\nname: Deutsch\r\n\n3: Ende\\n\\tder \\\\ "
                         "Welt\n   \t\n000: Hallo\n2:\n";
    ASSERT_TRUE(lang.Parse(source.data(), static_cast<unsigned>(source.size()), "src"));
    ASSERT_TRUE(lang.SaveName(dir.file("de.lng").c_str()));
    EXPECT_EQ(qzmtest::ReadFile(dir.file("de.lng")),
              LangFile(std::string("Deutsch\0", 8), {"Hallo", nullptr, "", "Ende\n\tder \\ Welt"}));

    ASSERT_TRUE(t->Load(dir.file("de.lng").c_str(), 0));
    QZMLangSource back;
    ASSERT_TRUE(back.Take(*t));
    QZMString text;
    ASSERT_TRUE(back.Source(text));
    EXPECT_STREQ(text.data, "name: Deutsch\n0: Hallo\n2:\n3: Ende\\n\\tder \\\\ Welt\n");
}

TEST(LangSourceTest, MalformedSourcesNameTheLine) {
    const std::pair<std::string, const char*> cases[] = {
        {"0: x\n", "1: string 0 before the line \"name: LANGUAGE\""},
        {"# only\n\n", " missing the line \"name: LANGUAGE\""},
        {"name: A\nname: B\n", "2: second \"name:\" line"},
        {"name:\n", "1: empty language name"},
        {"name: A\n\nhello\n", "3: expected \"NUMBER: text\" or \"name: LANGUAGE\""},
        {"name: A\n-1: x\n", "2: expected \"NUMBER: text\" or \"name: LANGUAGE\""},
        {"name: A\n99999999999999999999: x\n", "2: string number above 65535"},
        {"name: A\n4: x\n4: y\n", "3: string 4 given twice"},
        {"name: A\n1: a\\qb\n", "2: unknown escape \\q (use \\n, \\t or \\\\)"},
        {"name: A\n1: ab\\\n", "2: backslash at the end of the line"},
        {"name: A\n1: \xED\xA0\x80\n", "2: invalid UTF-8"},
        {std::string("name: A\n1: a\0b\n", 15), "2: NUL byte in the line"},
    };
    QZMLangSource lang;
    for (const auto& c : cases) {
        const std::string& source = c.first;
        EXPECT_FALSE(lang.Parse(source.data(), static_cast<unsigned>(source.size()), "s"))
            << source;
        EXPECT_EQ(std::string(lang.error.data), std::string("s:") + c.second);
    }
    std::string longest = "name: A\n65535: " + std::string(65534, 't');
    EXPECT_TRUE(lang.Parse(longest.data(), static_cast<unsigned>(longest.size()), "s"));
    longest += "t";
    EXPECT_FALSE(lang.Parse(longest.data(), static_cast<unsigned>(longest.size()), "s"));
}
