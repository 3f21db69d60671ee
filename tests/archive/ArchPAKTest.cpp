#include <qzm/archive/ArchPAK.h>

#include <qzm/io/ResFile.h>

#include "tests/archive/ArchiveFixture.h"

#include <sys/stat.h>

#include <cstdlib>
#include <memory>

using namespace qzmtest;

namespace {

std::string Record(const std::string& name, uint32_t start, uint32_t size) {
    return Field(name, 56) + Le(start) + Le(size);
}

using ArchPAKTest = ArchiveOf<QZMArchPAK>;

} // namespace

TEST_F(ArchPAKTest, OpensWhatAnIndependentWriterMade) {
    std::string command = "python3 " QZM_TEST_DATA "/archive/make_pak.py " + path +
                          " maps/e1m1.bsp=level progs.dat=code sound/a.wav=noise";
    ASSERT_EQ(std::system(command.c_str()), 0);
    ASSERT_TRUE(arch.Open(path.c_str()));
    ASSERT_EQ(arch.NbFiles(), 3u);
    EXPECT_STREQ(arch.FileName(0), "maps/e1m1.bsp");
    EXPECT_EQ(arch.FileDate(1), 0u);
    EXPECT_EQ(Drain(arch.OpenFile("progs.dat")), "code");
    EXPECT_EQ(Drain(arch.OpenFile("sound/a.wav")), "noise");
}

TEST_F(ArchPAKTest, CreateAddAndNameLimits) {
    ASSERT_TRUE(arch.Create(path.c_str()));
    EXPECT_EQ(ReadFile(path), Header("PACK", 12, 0));
    ASSERT_TRUE(arch.Open(path.c_str()));

    std::string name56(56, 'm'), name60(60, 'n');
    EXPECT_EQ(arch.AddFile(Make("a", "first").c_str(), name56.c_str()), 0);
    EXPECT_EQ(arch.AddFile(Make("b", "second").c_str(), name60.c_str()), 1);
    EXPECT_TRUE(arch.UpdateFile(0, Make("c", "1st").c_str()));
    EXPECT_EQ(ReadFile(path), Header("PACK", 21, 128) + "1stsecond" + Record(name56, 12, 3) +
                                  Record(name60.substr(0, 56), 15, 6));
    ASSERT_TRUE(arch.Open(path.c_str()));
    EXPECT_EQ(arch.FileName(0), name56);
}

TEST_F(ArchPAKTest, DirectoryBeforeTheDataMovesBehindIt) {
    // dirLength 130: two records and 2 ignored bytes, then the data.
    WriteFile(path, Header("PACK", 12, 130) + Record("one", 142, 3) + Record("two", 145, 2) + "zz" +
                        "11122");
    ASSERT_TRUE(arch.Open(path.c_str()));
    ASSERT_EQ(arch.NbFiles(), 2u);
    EXPECT_EQ(Drain(arch.OpenFile("two")), "22");
    EXPECT_EQ(arch.AddFile(Make("three", "333").c_str(), nullptr), 2);
    // Past the end the file had when "two" was read.
    EXPECT_EQ(Drain(arch.OpenFile("three")), "333");
    std::string bytes = ReadFile(path);
    EXPECT_EQ(bytes.substr(0, 12), Header("PACK", 150, 192));
    EXPECT_EQ(bytes.substr(147), "333" + Record("one", 142, 3) + Record("two", 145, 2) +
                                     Record("three", 147, 3));
}

TEST_F(ArchPAKTest, CreateKeepsTheOldDirectory) {
    WriteFile(path, Header("PACK", 15, 64) + "abc" + Record("x", 12, 3));
    ASSERT_TRUE(arch.Open(path.c_str()));
    EXPECT_EQ(Drain(arch.OpenFile("x")), "abc");
    std::string other = dir.file("other.pak");
    ASSERT_TRUE(arch.Create(other.c_str()));
    EXPECT_EQ(arch.NbFiles(), 1u);
    EXPECT_EQ(arch.Name(), other);
    EXPECT_EQ(Drain(arch.OpenFile("x")), "<none>"); // read from the new, empty file
}

TEST_F(ArchPAKTest, MalformedDirectories) {
    EXPECT_FALSE(Opens("PACK"));
    EXPECT_FALSE(Opens(Header("PACK", 0xFFFFFFF0, 64)));
    EXPECT_FALSE(Opens(Header("PACK", 12, 0xFFFFFFC0))); // gigabytes of records promised by 12 bytes
    EXPECT_FALSE(Opens(Header("PACK", 12, 128) + Record("a", 0, 0)));
    EXPECT_TRUE(Opens(Header("PACK", 12, 63) + std::string(63, 'q')));

    // An end past 32 bits opens no member; one past the file gives what the file holds.
    WriteFile(path, Header("PACK", 12, 128) + Record(std::string(56, 'L'), 0xFFFFFFF0, 0x20) +
                        Record("b", 12, 1000));
    ASSERT_TRUE(arch.Open(path.c_str()));
    EXPECT_EQ(arch.FileName(0), std::string(56, 'L'));
    EXPECT_EQ(arch.OpenResFile(0), nullptr);
    std::unique_ptr<QZMResFile> cut(arch.OpenResFile(1));
    ASSERT_NE(cut, nullptr);
    std::string bytes(1000, '\0');
    EXPECT_EQ(cut->Read(bytes.data(), 1000), 128u);
    EXPECT_EQ(cut->state, QZMResFile::ST_READ_AT_END);
    EXPECT_EQ(bytes.substr(0, 56), std::string(56, 'L'));
    EXPECT_EQ(arch.AddFile(Make("c", "data").c_str(), nullptr), -1); // no room left after the furthest end
    EXPECT_FALSE(arch.RemoveFile(0));

    // Names that would leave the target directory are not extracted.
    WriteFile(path, Header("PACK", 13, 128) + "e" + Record("../up", 12, 1) + Record("a/../../b", 12, 1));
    ASSERT_TRUE(arch.Open(path.c_str()));
    mkdir(dir.file("out").c_str(), 0700);
    EXPECT_TRUE(arch.ExtractAll(dir.file("out").c_str()));
    EXPECT_FALSE(FileExists(dir.file("up")) || FileExists(dir.file("b")));
}
