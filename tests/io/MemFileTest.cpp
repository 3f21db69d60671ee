#include <qzm/io/MemFile.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>

TEST(MemFileTest, OpenUsesTheCallersBlockOrItsOwn) {
    EXPECT_FALSE(QZMMemFile(0, QZMResFile::READ).Open(0, QZMResFile::READ));
    unsigned char block[4] = {1, 2, 3, 4};
    {
        QZMMemFile f(4, QZMResFile::READ, block);
        ASSERT_TRUE(f.Open(4, QZMResFile::READWRITE | QZMResFile::TRUNC, block, false, "blk"));
        EXPECT_EQ(block[3], 0);
    } // not freed: ASan would report the bad free

    // Reopening over its own block, which Close() would free, keeps it alive and owned.
    QZMMemFile own(8, QZMResFile::WRITE);
    own.Write32(0x04030201);
    ASSERT_TRUE(own.Open(own.size, QZMResFile::READ, own.data, false, own.name));
    EXPECT_EQ(own.Read32(), 0x04030201u);
}

TEST(MemFileTest, SeekAndTransfersStopAtTheEnd) {
    QZMMemFile f(10, QZMResFile::READWRITE);
    EXPECT_FALSE(f.Seek(10, 0));
    EXPECT_EQ(f.state, QZMResFile::ST_SEEK_ERROR);
    EXPECT_TRUE(f.Seek(-1, 2));
    EXPECT_FALSE(f.Seek(INT_MIN, 1));
    EXPECT_FALSE(f.Seek(INT_MAX, 1));
    EXPECT_EQ(f.GetPos(), 9);

    unsigned char buf[16];
    f.Seek(8, 0);
    // 8 + 0xFFFFFFFF wraps in 32 bits; the count must still be cut to 2.
    EXPECT_EQ(f.Read(buf, 0xFFFFFFFF), 2u);
    EXPECT_EQ(f.state, QZMResFile::ST_READ_AT_END);
    EXPECT_TRUE(f.Eof());
    f.Seek(9, 0);
    EXPECT_EQ(f.Write(buf, 0xFFFFFFFF), 1u);
    f.SeekEnd();
    EXPECT_EQ(f.GetPos(), 10);
}

TEST(MemFileTest, GetLineLeavesTheDelimiter) {
    // An exactly sized heap block: a scan past it shows under ASan.
    const char text[] = {'a', 'b', '\r', '\n', 'c', 'd'};
    std::unique_ptr<unsigned char[]> block(new unsigned char[sizeof text]);
    memcpy(block.get(), text, sizeof text);
    QZMMemFile f(sizeof text, QZMResFile::READ, block.get());
    char buf[80];
    EXPECT_EQ(f.GetLine(buf, 80), 3u);
    EXPECT_STREQ(buf, "ab");
    EXPECT_EQ(f.GetLine(buf, 80), 1u);
    EXPECT_EQ(f.GetPos(), 3);
    f.Read8();
    EXPECT_EQ(f.GetLine(buf, 80), 2u); // the block's last byte is never part of a line
    EXPECT_STREQ(buf, "c");

    QZMString line;
    f.SeekStart();
    EXPECT_EQ(f.GetLine(line), 2u);
    EXPECT_STREQ(line.data, "ab");
    EXPECT_EQ(f.GetLine(line), 0u);
}

// Megabyte transfers take the streaming copy: every byte arrives, whatever the alignment of
// either side, including the tail behind the last whole 64-byte block.
TEST(MemFileTest, LargeTransfersCopyEveryByte) {
    const unsigned size = (1u << 20) + 77;
    std::unique_ptr<unsigned char[]> source(new unsigned char[size + 3]);
    for (unsigned i = 0; i < size + 3; ++i) source[i] = static_cast<unsigned char>(i * 131 + 7);
    for (unsigned shift : {0u, 1u, 3u}) {
        QZMMemFile f(size, QZMResFile::READWRITE, source.get() + shift, false, "big");
        std::unique_ptr<unsigned char[]> out(new unsigned char[size + 16]);
        ASSERT_EQ(f.Read(out.get() + 5 + shift, size), size);
        EXPECT_EQ(std::memcmp(out.get() + 5 + shift, source.get() + shift, size), 0);
        ASSERT_TRUE(f.Seek(0, 0));
        std::memset(out.get(), 0x5A, size);
        ASSERT_EQ(f.Write(out.get(), size), size);
        EXPECT_EQ(source[shift + size - 1], 0x5A);
    }
}
