#include <qzm/io/File.h>

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using qzmtest::ReadFile;
using qzmtest::WriteFile;

class FileTest : public ::testing::Test {
protected:
    qzmtest::TempDir dir;
    std::string path = dir.file("f.txt");
};

TEST_F(FileTest, OpenModesAndTheirMessages) {
    WriteFile(path, "keep");
    std::string missing = dir.file("missing");
    qzmtest::LogCapture log;
    QZMFile f(path.c_str(), QZMResFile::WRITE | QZMResFile::CREATE);
    EXPECT_EQ(f.state, QZMResFile::ST_OPEN_ERROR);
    EXPECT_FALSE(f.Open(path.c_str(), QZMResFile::TRUNC));
    EXPECT_EQ(f.state, QZMResFile::ST_BAD_MODE);
    EXPECT_FALSE(f.Open(missing.c_str(), QZMResFile::READ));
    EXPECT_EQ(log.text(), "File: open error: file already exists (CREATE) " + path +
                              "\nFile: bad open mode (" + path + ")\nFile: Can not open " +
                              missing + " in mode 'r'\n");
    EXPECT_EQ(ReadFile(path), "keep");

    EXPECT_TRUE(f.Open(missing.c_str(), QZMResFile::READWRITE)); // "r+" fails, "w+" creates
    // Reopening with its own name, which Close() frees.
    ASSERT_TRUE(f.Open(f.name, QZMResFile::WRITE | QZMResFile::APPEND));
    EXPECT_TRUE(f.Write8('c'));
    EXPECT_EQ(f.Read8(), 0); // write only
    f.Close();
    EXPECT_TRUE(f.Eof());
    EXPECT_EQ(ReadFile(missing), "c");
}

TEST_F(FileTest, GetLineCountsCharactersPlusOneOrBytesConsumed) {
    WriteFile(path, "ab\r\ncdef\ng");
    QZMFile f(path.c_str(), QZMResFile::READ);
    char buf[80];
    EXPECT_EQ(f.GetLine(buf, 1), 0u); // no room for a character: nothing consumed
    EXPECT_EQ(f.GetLine(nullptr, 3), 0u);
    EXPECT_EQ(f.GetLine(buf, 80), 3u);
    EXPECT_STREQ(buf, "ab");
    // Cut to 2 characters a line: "cdef" leaves its delimiter alone; "g" ends with the file.
    for (const char* part : {"cd", "ef", "", "g"}) {
        EXPECT_EQ(f.GetLine(buf, 3), strlen(part) + 1);
        EXPECT_STREQ(buf, part);
    }
    EXPECT_EQ(f.GetLine(buf, 3), 0u);

    // Into a string, the count is of the bytes consumed.
    std::string longLine(1000, 'x');
    WriteFile(path, "ab\r\n" + longLine + "\n" + std::string("z\0y", 3));
    ASSERT_TRUE(f.Open(path.c_str(), QZMResFile::READ));
    QZMString line("old");
    EXPECT_EQ(f.GetLine(line), 4u);
    EXPECT_STREQ(line.data, "ab");
    EXPECT_EQ(f.GetLine(line), 1001u);
    EXPECT_EQ(std::string(line.data, line.length), longLine);
    EXPECT_EQ(f.GetLine(line, 2), 2u);
    EXPECT_STREQ(line.data, "z"); // a zero byte cannot enter the string
}

TEST_F(FileTest, ReadAtEndBlocksUntilSeek) {
    WriteFile(path, "abc");
    QZMFile f(path.c_str(), QZMResFile::READ);
    char buf[8];
    EXPECT_EQ(f.Read(buf, 8), 3u);
    EXPECT_EQ(f.state, QZMResFile::ST_READ_AT_END);
    EXPECT_EQ(f.Read(buf, 1), 0u);
    EXPECT_TRUE(f.Seek(-1, 2));
    EXPECT_EQ(f.Read(buf, 1), 1u);
}
