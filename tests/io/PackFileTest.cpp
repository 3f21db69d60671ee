#include <qzm/io/PackFile.h>

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tuple>
#include <vector>

// A 200-byte file holding the bytes 0 to 199.
class PackFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string bytes;
        for (int i = 0; i < 200; i++) bytes += char(i);
        qzmtest::WriteFile(path, bytes);
    }
    qzmtest::TempDir dir;
    std::string path = dir.file("pack.bin");
};

TEST_F(PackFileTest, TransfersStopAtTheRangeEnd) {
    QZMPackFile f(path.c_str(), 100, 110, QZMResFile::READWRITE);
    unsigned char buf[16];
    EXPECT_EQ(f.Read(buf, 16), 10u);
    EXPECT_EQ(buf[9], 109);
    EXPECT_EQ(f.state, QZMResFile::ST_READ_AT_END);
    EXPECT_TRUE(f.Eof());
    f.Seek(5, 0);
    // 105 + 0xFFFFFFFF wraps in 32 bits; the count must still be cut to 5.
    EXPECT_EQ(f.Read(buf, 0xFFFFFFFF), 5u);
    f.Seek(8, 0);
    EXPECT_EQ(f.Write("xyz", 3), 2u);
    EXPECT_EQ(f.state, QZMResFile::ST_WRITE_AT_END);
    f.SeekEnd();
    EXPECT_EQ(f.GetPos(), 10);
    EXPECT_EQ(f.Read8(), 0);
    f.Close();
    EXPECT_EQ(qzmtest::ReadFile(path).substr(107, 4), std::string("\x6bxy\x6e"));
}

TEST_F(PackFileTest, SeekRules) {
    QZMPackFile f(path.c_str(), 100, 110, QZMResFile::READ);
    f.Read8();
    EXPECT_TRUE(f.Seek(-3, 2)); // checked only: the position stays
    EXPECT_EQ(f.GetPos(), 1);
    EXPECT_TRUE(f.Seek(4, 1));
    EXPECT_EQ(f.Read8(), 105);
    EXPECT_FALSE(f.Seek(-7, 1));
    for (int whence : {0, 1, 2}) EXPECT_FALSE(f.Seek(INT_MIN, whence));
    EXPECT_FALSE(f.Seek(INT_MAX, 1));
    EXPECT_EQ(f.GetPos(), 6);
    // Bounded by the absolute end: 50 lands beyond the range, where reads meet the end.
    EXPECT_TRUE(f.Seek(50, 0));
    EXPECT_EQ(f.Read8(), 0);
}

TEST_F(PackFileTest, OpenClampsOrRefusesTheRange) {
    qzmtest::LogCapture log;
    QZMPackFile f(path.c_str(), 150, 0xFFFFFFFF, QZMResFile::READ);
    EXPECT_EQ(f.end, 200u);
    EXPECT_FALSE(f.Open(path.c_str(), 0xFFFFFF00, 0xFFFFFFFF, QZMResFile::READ));
    EXPECT_FALSE(f.Open(path.c_str(), 20, 20, QZMResFile::READ));
    EXPECT_FALSE(f.Open(path.c_str(), 0, 10, QZMResFile::APPEND));
    std::string missing = dir.file("missing");
    EXPECT_FALSE(f.Open(missing.c_str(), 0, 10, QZMResFile::WRITE));
    EXPECT_FALSE(qzmtest::FileExists(missing));
    EXPECT_EQ(log.text(), "PackFile: invalid offset (start=-256, end=200) " + path +
                              "\nPackFile: invalid offset (start=20, end=20) " + path +
                              "\nPackFile: bad open mode (" + path + ")\nPackFile: Can not open " +
                              missing + " in mode 'r+'\n");
    // Reopening with its own names, which Close() frees.
    ASSERT_TRUE(f.Open(path.c_str(), 0, 10, QZMResFile::READ, "a"));
    ASSERT_TRUE(f.Open(f.fileName, 0, 10, QZMResFile::READ, f.name));
    EXPECT_STREQ(f.name, "a");
}

TEST_F(PackFileTest, GetLineCountsTheDelimiter) {
    qzmtest::WriteFile(path, "--ab\ncd\r\nef--");
    QZMPackFile f(path.c_str(), 2, 11, QZMResFile::READ);
    char buf[80];
    QZMString line;
    // Each line read into a buffer (consumed + 1, less a dropped "\r"), then again into a string
    // (consumed); the last ends with the range, before the file's "--".
    for (auto [text, inBuffer, inString] : {std::tuple{"ab", 4u, 3u}, {"cd", 4u, 4u}, {"ef", 3u, 2u}}) {
        int at = f.GetPos();
        EXPECT_EQ(f.GetLine(buf, 80), inBuffer);
        EXPECT_STREQ(buf, text);
        ASSERT_TRUE(f.Seek(at, 0));
        EXPECT_EQ(f.GetLine(line), inString);
        EXPECT_STREQ(line.data, text);
    }
    EXPECT_EQ(f.GetLine(buf, 80), 0u);
    EXPECT_EQ(f.GetLine(line), 0u);
    f.SeekStart();
    EXPECT_EQ(f.GetLine(line, 1), 1u); // the caller's limit holds inside the range
    EXPECT_STREQ(line.data, "a");
}

TEST_F(PackFileTest, ReadsOfEverySizeDeliverTheRange) {
    std::string bytes;
    for (int i = 0; i < 20000; i++) bytes += char(i * 7 % 251);
    qzmtest::WriteFile(path, bytes);
    const std::string range = bytes.substr(100, 19000);
    // Small reads go through the stream's window, long ones straight in; patterns mix them
    // across the window's edges.
    const std::vector<unsigned> patterns[] = {{1}, {3, 8191}, {8192}, {5000, 1, 9000}, {19000}};
    for (const auto& chunks : patterns) {
        QZMPackFile f(path.c_str(), 100, 19100, QZMResFile::READ);
        std::string got, chunk(19000, '\0');
        for (size_t k = 0; f.state == QZMResFile::ST_OK && !f.Eof(); k++)
            got.append(chunk.data(), f.Read(chunk.data(), chunks[k % chunks.size()]));
        EXPECT_EQ(got, range) << chunks[0];
        ASSERT_TRUE(f.Seek(-2, 1));
        EXPECT_EQ(f.Read16(), uint8_t(range[18998]) | uint8_t(range[18999]) << 8);
    }
    // A write replaces what the window holds.
    QZMPackFile f(path.c_str(), 100, 19100, QZMResFile::READWRITE);
    EXPECT_EQ(f.Read8(), uint8_t(range[0]));
    ASSERT_TRUE(f.SeekStart());
    EXPECT_EQ(f.Write("xyz", 3), 3u);
    ASSERT_TRUE(f.Seek(1, 0));
    EXPECT_EQ(f.Read16(), 'y' | 'z' << 8);
}
