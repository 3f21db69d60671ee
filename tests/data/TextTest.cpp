#include <qzm/data/Text.h>
#include <qzm/io/File.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

using qzmtest::Le;

namespace {

std::string Record(const char* text) {
    return text ? Le(static_cast<uint32_t>(strlen(text)) + 1) + text : Le(0);
}

using Slots_t = std::vector<std::string>;

// The slots as strings, "<null>" for an absent one.
Slots_t Slots(const QZMText& t) {
    Slots_t out;
    for (uint32_t i = 0; i < t.size; i++) out.push_back(t.strings[i] ? t.strings[i] : "<null>");
    return out;
}

std::string SaveToString(QZMText& t, int format, bool* ok = nullptr) {
    qzmtest::TempDir dir;
    bool saved = t.SaveName(dir.file("out").c_str(), format);
    if (ok) *ok = saved;
    return qzmtest::ReadFile(dir.file("out"));
}

class TextFileTest : public ::testing::Test {
protected:
    qzmtest::TempDir dir;
    int count = 0;
    std::string Write(const std::string& bytes) {
        return dir.write("t" + std::to_string(count++), bytes);
    }
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
    EXPECT_EQ(binary, "QZMT" + Le(3) + Record("a") + Record(nullptr) + Record("bc"));
    EXPECT_EQ(SaveToString(t, 1), binary);
    EXPECT_EQ(SaveToString(t, 2), "\n\nb\n");
    bool ok = false;
    EXPECT_EQ(SaveToString(t, 9, &ok), "");
    EXPECT_TRUE(ok);
    QZMText onlyNulls(3);
    EXPECT_EQ(SaveToString(onlyNulls, 0, &ok), "");
    EXPECT_FALSE(ok);
}

TEST_F(TextFileTest, BinaryFilesBuiltByHandLoadByDetectionAndByCode) {
    std::string path = Write("QZMT" + Le(4) + Record("first") + Record(nullptr) + Record("") +
                             Record("last one"));
    for (int format : {0, 2, 3}) {
        QZMText t(path.c_str(), format);
        EXPECT_EQ(Slots(t), (format == 3 ? Slots_t{"<null>"}
                                         : Slots_t{"first", "<null>", "", "last one"}))
            << format;
    }
    // No slots at all loads, and the first slot keeps what it held.
    QZMText t(3);
    t.SetString(0, "keep");
    t.SetString(2, "dropped");
    QZMFile file(Write("QZMT" + Le(0)).c_str(), QZMResFile::READ);
    EXPECT_TRUE(t.Load(file, 0));
    EXPECT_EQ(Slots(t), (Slots_t{"keep"}));
}

TEST_F(TextFileTest, BinaryCutShortLoadsWhatIsThereAndAbsurdSizesAreRefused) {
    const std::string big(2000, 'b');
    const struct {
        std::string bytes;
        bool loads;
        uint32_t size; // slots after Load, on an array of 3 before it
        Slots_t head;  // the first slots
    } cases[] = {
        {"QZMT" + Le(1000) + Record("x"), true, 1000, {"x", "<null>"}},
        {"QZMT" + Le(3) + Le(10) + "abc", true, 3, {"abc", "<null>", "<null>"}},
        {"QZMT" + Le(2) + Record("ok") + Le(100), true, 2, {"ok", ""}},
        {"QZMT" + Le(1) + Le(60u << 20) + big, true, 1, {big}},
        // Over 64 MiB that the file cannot hold is refused; the slot count before the array
        // changes.
        {"QZMT" + Le(1) + Le(70u << 20) + big, false, 1, {"<null>"}},
        {"QZMT" + Le(0xFFFFFFFF), false, 3, {"keep"}},
        {"QZMT" + Le(0x40000000) + Record("x"), false, 3, {"keep"}},
        {"QZMT" + Le(2) + Record("ok") + Le(0xFFFFFFFF) + "abc", false, 2, {"ok", "<null>"}},
        {"QZMX" + Le(1) + Record("a"), false, 3, {"keep"}},
    };
    for (const auto& c : cases) {
        QZMText t(3);
        t.SetString(0, "keep");
        QZMFile file(Write(c.bytes).c_str(), QZMResFile::READ);
        EXPECT_EQ(t.Load(file, 2), c.loads) << c.bytes.substr(0, 12);
        EXPECT_EQ(t.size, c.size) << c.bytes.substr(0, 12);
        Slots_t slots = Slots(t);
        slots.resize(std::min(slots.size(), c.head.size()));
        EXPECT_EQ(slots, c.head) << c.bytes.substr(0, 12);
    }
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

TEST(TextTest, SlotEditingAndListing) {
    QZMText t(0);
    t.SetString(2, "hello world", 6, 3);
    EXPECT_EQ(Slots(t), (Slots_t{"<null>", "<null>", "wor"}));
    EXPECT_EQ(t.Append("x"), 0);
    EXPECT_EQ(t.Append("y"), 1);
    EXPECT_EQ(t.Append("z"), 3);
    EXPECT_EQ(t.Append(nullptr), -1);
    EXPECT_EQ(t.Append("q", 0, 0), -1);
    qzmtest::LogCapture log;
    t.PrintInfo();
    EXPECT_EQ(log.text(), "Array of 4 strings :\n[  0] x\n[  1] y\n[  2] wor\n[  3] z\n");

    // A length beyond the text pads with zero bytes.
    t.SetString(0, "ab", 0, 5);
    EXPECT_EQ(std::string(t.strings[0], 6), std::string("ab\0\0\0\0", 6));
    t.SetString(1, "gone", 0, 0);
    t.ChangeSize(2);
    EXPECT_EQ(Slots(t), (Slots_t{"ab", "<null>"}));
    t.Clear();
    EXPECT_EQ(Slots(t), (Slots_t{"<null>", "<null>"}));
    t.ChangeSize(0);
    EXPECT_EQ(t.size, 1u);
    t.SetString(0xFFFFFFFF, "no room");
    EXPECT_EQ(t.size, 1u);
}
