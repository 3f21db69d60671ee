#include <qzm/archive/ArchQZM.h>

#include <qzm/io/ResFile.h>

#include "tests/archive/ArchiveFixture.h"

#include <sys/stat.h>

#include <cstdio>
#include <memory>

using namespace qzmtest;

namespace {

class ArchiveTest : public ArchiveOf<QZMArchQZM> {
protected:
    // Members in file order: b.txt (3 bytes), A.dat (1), c (2), b.txt again (4).
    void SetUp() override {
        ArchiveFixture::SetUp();
        ASSERT_TRUE(arch.Create(path.c_str()));
        Add("b.txt", "bbb", 300);
        Add("A.dat", "A", 100);
        Add("c", "cc", 200);
        Add("b.txt", "BBBB", 400);
    }
    void Add(const char* name, const std::string& bytes, time_t date) {
        ASSERT_GE(arch.AddFile(Make("src", bytes, date).c_str(), name), 0);
    }
};

} // namespace

TEST_F(ArchiveTest, FindArchiveFormatCodes) {
    EXPECT_EQ(QZMArchive::FindArchiveFormat(path.c_str()), 1);
    // The bare index: n 12-byte records and a body of b bytes, n and b in its first 6 bytes.
    const std::pair<std::string, int> heads[] = {
        {"BIFFV1  rest", 4}, {std::string(6, '\0'), 5}, {std::string("\1\0\2\0\0\0", 6) + "<14 body bytes", 5},
        {"Copyright (c) 1997 Ensemble Studios", 6}, {"rass", 7}, {"PK\3\4zip", 8}, {"", 0},
        {"plain text file", 0}, {"PACK", 2}};
    for (const auto& [bytes, format] : heads) {
        WriteFile(dir.file("f"), bytes);
        EXPECT_EQ(QZMArchive::FindArchiveFormat(dir.file("f").c_str()), format) << bytes;
    }
    EXPECT_EQ(QZMArchive::OpenArchive(dir.file("f").c_str()), nullptr); // "PACK" alone does not open
}

TEST_F(ArchiveTest, FindFileTakesTheFirstExactName) {
    EXPECT_EQ(arch.FindFile("b.txt"), 0);
    EXPECT_EQ(arch.FindFile("a.dat"), -1);
    EXPECT_EQ(arch.FindFile(nullptr), -1);
    ASSERT_TRUE(arch.RemoveFile(0));
    EXPECT_EQ(arch.FindFile("b.txt"), 2);
    ASSERT_TRUE(arch.RenameFile(0, "renamed"));
    EXPECT_EQ(arch.FindFile("A.dat"), -1);
    EXPECT_EQ(arch.FindFile("renamed"), 0);
    EXPECT_EQ(arch.TotalSize(), 7u);
}

TEST_F(ArchiveTest, OpenArchiveGivesMemberStreamsThatOutliveIt) {
    std::unique_ptr<QZMArchive> opened(QZMArchive::OpenArchive("test.arc"));
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(opened->type, 1);
    EXPECT_EQ(std::string(opened->Name()), path); // made absolute
    QZMResFile* c = opened->OpenFile("c");
    opened.reset();
    EXPECT_EQ(Drain(c), "cc");
}

TEST_F(ArchiveTest, MemberStreamsKeepTheirOwnPositionsAndTheFileTheyOpened) {
    std::unique_ptr<QZMResFile> first(arch.OpenFile("b.txt")), c(arch.OpenFile("c"));
    ASSERT_TRUE(first && c);
    EXPECT_EQ(first->Read8(), 'b');
    EXPECT_EQ(c->Read8(), 'c');
    EXPECT_EQ(first->Read16(), 'b' | 'b' << 8);
    EXPECT_TRUE(first->Eof());
    // The update writes a new file over the old: later streams read it, earlier ones the old.
    ASSERT_TRUE(arch.UpdateFile(2, Make("new", "CCC").c_str()));
    EXPECT_EQ(Drain(arch.OpenFile("c")), "CCC");
    EXPECT_EQ(c->Read8(), 'c');
    EXPECT_EQ(c->state, QZMResFile::ST_OK);

    // Another program puts a new file in the archive's place: same layout, other bytes.
    std::unique_ptr<QZMResFile> before(arch.OpenFile("c"));
    ASSERT_TRUE(before);
    std::string bytes = ReadFile(path);
    bytes.replace(bytes.find("CCC"), 3, "XYZ");
    WriteFile(dir.file("copy"), bytes);
    ASSERT_EQ(rename(dir.file("copy").c_str(), path.c_str()), 0);
    EXPECT_EQ(Drain(arch.OpenFile("c")), "XYZ");
    EXPECT_EQ(before->Read8(), 'C');
}

TEST_F(ArchiveTest, ExtractAllAndCopyFile) {
    EXPECT_FALSE(arch.ExtractAll(dir.file("out").c_str()));
    EXPECT_FALSE(FileExists(dir.file("out")));
    mkdir(dir.file("out").c_str(), 0700);
    EXPECT_TRUE(arch.ExtractAll(dir.file("out").c_str()));
    EXPECT_EQ(ReadFile(dir.file("out/A.dat")), "A");
    EXPECT_EQ(ReadFile(dir.file("out/b.txt")), "BBBB"); // the later member overwrote the first
    EXPECT_FALSE(arch.CopyFile("nothing", dir.file("x").c_str()));
}

TEST_F(ArchiveTest, SortOrders) {
    EXPECT_EQ(Order(arch, true), (Names{"b.txt3", "A.dat1", "c2", "b.txt4"}));
    arch.Sort(QZMFileProvider::SORT_SIZE | QZMFileProvider::SORT_REVERSE);
    EXPECT_EQ(Order(arch, true), (Names{"b.txt4", "b.txt3", "c2", "A.dat1"}));
    arch.Sort(QZMFileProvider::SORT_DATE);
    EXPECT_EQ(Order(arch, true), (Names{"A.dat1", "c2", "b.txt3", "b.txt4"}));
    arch.Sort(QZMFileProvider::SORT_EXT);
    EXPECT_EQ(Order(arch, true), (Names{"c2", "A.dat1", "b.txt4", "b.txt3"})); // equal keys: quicksort order
    arch.Sort(0); // renumbers only; the flags stay
    EXPECT_EQ(Order(arch, true), (Names{"b.txt3", "A.dat1", "c2", "b.txt4"}));
    EXPECT_EQ(arch.sortKey, QZMFileProvider::SORT_EXT);

    QZMFileProvider::iterator it(arch, 2);
    std::unique_ptr<QZMResFile> third(arch.OpenFile(it));
    ASSERT_NE(third, nullptr);
    EXPECT_STREQ(third->name, "c");
    EXPECT_EQ(arch.OpenFile(QZMFileProvider::iterator(arch, 4)), nullptr);
}
