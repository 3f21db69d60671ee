#include <qzm/io/MemFile.h>

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <string>

TEST(ResFileTest, TypedHelpersUseFixedByteOrders) {
    QZMMemFile f(24, QZMResFile::READWRITE);
    EXPECT_TRUE(f.WriteBE16(0x1234) && f.Write16(0x1234) && f.Write32(0x01020304) &&
                f.WriteBE32(0x01020304) && f.WriteFl(1.5f) && f.WriteDbl(-1.5));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(f.data), 24),
              std::string("\x12\x34\x34\x12\x04\x03\x02\x01\x01\x02\x03\x04"
                          "\x00\x00\xC0\x3F\x00\x00\x00\x00\x00\x00\xF8\xBF", 24));
    f.SeekStart();
    EXPECT_EQ(f.ReadBE16(), 0x1234);
    EXPECT_EQ(f.Read16(), 0x1234);
    EXPECT_EQ(f.Read32(), 0x01020304u);
    EXPECT_EQ(f.ReadBE32(), 0x01020304u);
    EXPECT_EQ(f.ReadFl(), 1.5f);
    EXPECT_EQ(f.ReadDbl(), -1.5);
}

TEST(ResFileTest, ShortTransferGivesZeroAndBlocksUntilSeek) {
    unsigned char raw[] = {1, 2, 3, 4, 5, 6, 7};
    QZMMemFile f(sizeof raw, QZMResFile::READWRITE, raw);
    f.Seek(4, 0);
    EXPECT_EQ(f.Read32(), 0u);
    EXPECT_EQ(f.state, QZMResFile::ST_READ_AT_END);
    EXPECT_EQ(f.Read8(), 0); // bytes remain, but the short read blocks
    f.Seek(5, 0);
    EXPECT_FALSE(f.Write32(0));
    EXPECT_EQ(f.state, QZMResFile::ST_WRITE_AT_END);
    EXPECT_TRUE(f.SeekStart());
    EXPECT_EQ(f.Read8(), 1);
}

TEST(ResFileTest, WriteStrAndClose) {
    QZMMemFile f(8, QZMResFile::WRITE);
    EXPECT_EQ(f.WriteStr(QZMString("abcdef"), 3), 3u);
    EXPECT_EQ(f.WriteStr(QZMString("ab"), 10), 2u);
    EXPECT_EQ(f.WriteStr(QZMString()), 0u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(f.data), 6), std::string("abcab\0", 6));
    f.Close();
    f.Close();
    EXPECT_TRUE(f.Eof());
    qzmtest::LogCapture log;
    f.PrintInfo();
    EXPECT_NE(log.text().find("Mode  : 0 (error)\nState : 16 (file closed)\n"), std::string::npos);
}
