#include <qzm/data/Text.h>
#include <qzm/io/File.h>
#include <qzm/io/MemFile.h>
#include <qzm/io/PackFile.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

namespace {

std::string Le32(uint32_t v) {
    std::string s(4, '\0');
    for (int i = 0; i < 4; i++) s[i] = static_cast<char>(v >> (8 * i));
    return s;
}

std::string Record(const char* text) {
    return text ? Le32(static_cast<uint32_t>(strlen(text)) + 1) + text : Le32(0);
}

// The slots as strings, "<null>" for an absent one.
std::vector<std::string> Slots(const QZMText& t) {
    std::vector<std::string> out;
    for (uint32_t i = 0; i < t.size; i++) out.push_back(t.strings[i] ? t.strings[i] : "<null>");
    return out;
}

using Slots_t = std::vector<std::string>;

std::string SaveToString(QZMText& t, int format, bool* ok = nullptr) {
    qzmtest::TempDir dir;
    std::string path = dir.file("out");
    bool saved = t.SaveName(path.c_str(), format);
    if (ok) *ok = saved;
    return qzmtest::ReadFile(path);
}

class TextFileTest : public ::testing::Test {
protected:
    qzmtest::TempDir dir;
    std::string Write(const std::string& bytes) {
        std::string path = dir.file("t" + std::to_string(count++));
        qzmtest::WriteFile(path, bytes);
        return path;
    }
    int count = 0;
};

} // namespace

TEST_F(TextFileTest, TextLinesLoadWithATrailingNullSlot) {
    for (const char* body : {"a\n\nbc", "a\r\n\r\nbc\n"}) {
        QZMText t(Write(body).c_str(), 0);
        EXPECT_EQ(Slots(t), (Slots_t{"a", "<null>", "bc", "<null>"})) << body;
        EXPECT_EQ(t.Length(), 2u);
    }
    // A last line of one character without a line feed counts one byte: it stays absent.
    QZMText shortLast(Write("ab\nc").c_str(), 1);
    EXPECT_EQ(Slots(shortLast), (Slots_t{"ab", "<null>", "<null>"}));
}

TEST_F(TextFileTest, SavesBinaryWithoutTrailingNullsAndTextWithoutLastCharacters) {
    QZMText t(Write("a\n\nbc").c_str(), 0);
    std::string binary = SaveToString(t, 0);
    EXPECT_EQ(binary, "QZMT" + Le32(3) + Record("a") + Record(nullptr) + Record("bc"));
    EXPECT_EQ(SaveToString(t, 1), binary);
    EXPECT_EQ(SaveToString(t, 2), "\n\nb\n");
    bool ok = false;
    EXPECT_EQ(SaveToString(t, 9, &ok), "");
    EXPECT_TRUE(ok);
}

TEST_F(TextFileTest, BinaryFilesBuiltByHandLoadByDetectionAndByCode) {
    std::string bytes = "QZMT" + Le32(4) + Record("first") + Record(nullptr) + Record("") +
                        Record("last one");
    std::string path = Write(bytes);
    for (int format : {0, 2}) {
        QZMText t(path.c_str(), format);
        EXPECT_EQ(Slots(t), (Slots_t{"first", "<null>", "", "last one"})) << format;
    }
    // Code 1 reads the same bytes as lines; code 3 is unknown.
    QZMText asLines(4);
    QZMFile file(path.c_str(), QZMResFile::READ);
    EXPECT_TRUE(asLines.Load(file, 1));
    EXPECT_NE(Slots(asLines)[0], "first");
    file.SeekStart();
    EXPECT_FALSE(asLines.Load(file, 3));
}

TEST_F(TextFileTest, BinaryWithNoSlotsKeepsTheFirstSlot) {
    QZMText t(3);
    t.SetString(0, "keep");
    t.SetString(2, "dropped");
    QZMFile file(Write("QZMT" + Le32(0)).c_str(), QZMResFile::READ);
    EXPECT_TRUE(t.Load(file, 0));
    EXPECT_EQ(Slots(t), (Slots_t{"keep"}));
}

TEST_F(TextFileTest, MalformedBinaryFailsCleanly) {
    const std::string cases[] = {
        "QZMT" + Le32(0xFFFFFFFF),                     // more records than bytes
        "QZMT" + Le32(0x40000000) + Record("x"),       // ditto, with a little data
        "QZMT" + Le32(1) + Le32(0xFFFFFFFF) + "abc",   // string longer than the file
        "QZMT" + Le32(2) + Record("ok") + Le32(100),   // truncated second string
    };
    for (const std::string& bytes : cases) {
        QZMText t(Write(bytes).c_str(), 2);
        EXPECT_GE(t.size, 1u);
        EXPECT_LE(t.size, 2u);
    }
    QZMText wrongMagic(1);
    QZMFile file(Write("QZMX" + Le32(1) + Record("a")).c_str(), QZMResFile::READ);
    EXPECT_FALSE(wrongMagic.Load(file, 2));
}

TEST_F(TextFileTest, EmptyOrClosedStreamsFail) {
    qzmtest::LogCapture log(100);
    QZMText t(1);
    QZMFile empty(Write("").c_str(), QZMResFile::READ);
    EXPECT_FALSE(t.Load(empty, 1));
    EXPECT_EQ(log.text(), "TextLoad: nothing to load!\n");
    QZMFile missing(dir.file("none").c_str(), QZMResFile::READ);
    EXPECT_FALSE(t.Load(missing, 0));
    EXPECT_FALSE(t.Save(missing, 0));
    EXPECT_EQ(log.text(), "");
}

TEST_F(TextFileTest, EachStreamKindCountsLinesItsOwnWay) {
    std::string body = "ab\ncd\n";
    // Disk files and byte ranges consume the line feed...
    QZMText fromFile(Write(body).c_str(), 1);
    EXPECT_EQ(Slots(fromFile), (Slots_t{"ab", "cd", "<null>"}));
    std::string path = Write("PAD" + body + "TAIL");
    QZMPackFile member(path.c_str(), 3, 3 + static_cast<unsigned>(body.size()),
                       QZMResFile::READ);
    QZMText fromRange(member, 1);
    EXPECT_EQ(Slots(fromRange), (Slots_t{"ab", "cd", "<null>"}));
    // ...a memory stream stops in front of it, so only the first line is seen.
    QZMMemFile mem(static_cast<unsigned>(body.size()), QZMResFile::READ,
                   reinterpret_cast<unsigned char*>(body.data()));
    QZMText fromMemory(mem, 1);
    EXPECT_EQ(Slots(fromMemory), (Slots_t{"ab", "<null>"}));
}

TEST(TextTest, SlotEditing) {
    QZMText t(0);
    EXPECT_EQ(t.size, 1u);
    t.SetString(2, "hello world", 6, 3);
    EXPECT_EQ(Slots(t), (Slots_t{"<null>", "<null>", "wor"}));
    EXPECT_EQ(t.Append("x"), 0);
    EXPECT_EQ(t.Append("y"), 1);
    EXPECT_EQ(t.Append("z"), 3);
    EXPECT_EQ(t.size, 4u);
    EXPECT_EQ(t.Append(nullptr), -1);
    EXPECT_EQ(t.Append("q", 0, 0), -1);

    // A length beyond the text pads with zero bytes.
    t.SetString(0, "ab", 0, 5);
    EXPECT_EQ(std::string(t.strings[0], 6), std::string("ab\0\0\0\0", 6));
    t.SetString(1, "gone", 0, 0);
    EXPECT_EQ(t.strings[1], nullptr);

    t.ChangeSize(2);
    EXPECT_EQ(Slots(t), (Slots_t{"ab", "<null>"}));
    t.ChangeSize(0);
    EXPECT_EQ(t.size, 1u);
    t.Clear();
    EXPECT_EQ(t.size, 1u);
    EXPECT_EQ(t.Length(), 0u);
    t.SetString(0xFFFFFFFF, "no room");
    EXPECT_EQ(t.size, 1u);
}

TEST(TextTest, SavingOnlyNullSlotsWritesNothing) {
    unsigned char block[16];
    memset(block, 0xAA, sizeof block);
    QZMMemFile mem(sizeof block, QZMResFile::READWRITE, block);
    QZMText t(3);
    EXPECT_FALSE(t.Save(mem, 0));
    EXPECT_EQ(mem.pos, 0u);
    EXPECT_EQ(block[0], 0xAA);
}

TEST(TextTest, MemoryUsedAndPrintInfo) {
    QZMText t(3);
    t.SetString(0, "abc");
    t.SetString(2, "de");
    EXPECT_EQ(t.MemoryUsed(), sizeof(QZMText) + 3 * sizeof(char*) + 5);
    qzmtest::LogCapture log;
    t.PrintInfo();
    EXPECT_EQ(log.text(), "Array of 3 strings :\n[  0] abc\n[  2] de\n");
}
