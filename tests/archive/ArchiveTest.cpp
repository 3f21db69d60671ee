#include <qzm/archive/ArchQZM.h>

#include <qzm/io/ResFile.h>

#include "tests/archive/ArchiveFixture.h"

#include <sys/stat.h>

#include <memory>
#include <vector>

using namespace qzmtest;

namespace {

class ArchiveTest : public ArchiveFixture {
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
    std::vector<std::string> Order() const {
        std::vector<std::string> names;
        for (QZMFileProvider::iterator it(arch); !it.AtEnd(); it.Next())
            names.push_back(arch.FileName(unsigned(it.Index())) + std::to_string(arch.FileSize(it.Index())));
        return names;
    }

    QZMArchQZM arch;
    std::string path = dir.file("base.qzm");
};

using V = std::vector<std::string>;

} // namespace

TEST_F(ArchiveTest, FindArchiveFormatCodes) {
    auto code = [&](const std::string& bytes) {
        WriteFile(dir.file("f"), bytes);
        return QZMArchive::FindArchiveFormat(dir.file("f").c_str());
    };
    EXPECT_EQ(QZMArchive::FindArchiveFormat(path.c_str()), 1);
    EXPECT_EQ(code("PACK"), 2);
    EXPECT_EQ(QZMArchive::OpenArchive(dir.file("f").c_str()), nullptr);
    EXPECT_EQ(code("BIFFV1  rest"), 4);
    EXPECT_EQ(code(std::string("\0\0\0\0\0\0", 6)), 5);
    EXPECT_EQ(code(std::string("\1\0\2\0\0\0", 6) + std::string(14, 'x')), 5);
    EXPECT_EQ(code("Copyright (c) 1997 Ensemble Studios"), 6);
    EXPECT_EQ(code("rass"), 7);
    EXPECT_EQ(code("PK\3\4zip"), 8);
    EXPECT_EQ(code(""), 0);
    EXPECT_EQ(code("plain text file"), 0);

    std::unique_ptr<QZMArchive> opened(QZMArchive::OpenArchive("base.qzm"));
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(opened->type, 1);
    EXPECT_EQ(std::string(opened->Name()), path); // made absolute
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

TEST_F(ArchiveTest, MemberStreamsOutliveTheArchive) {
    std::unique_ptr<QZMArchive> opened(QZMArchive::OpenArchive(path.c_str()));
    ASSERT_NE(opened, nullptr);
    std::unique_ptr<QZMResFile> c(opened->OpenFile("c"));
    opened.reset();
    ASSERT_NE(c, nullptr);
    char bytes[8] = {};
    EXPECT_EQ(c->Read(bytes, sizeof bytes), 2u);
    EXPECT_STREQ(bytes, "cc");
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
    EXPECT_EQ(Order(), (V{"b.txt3", "A.dat1", "c2", "b.txt4"}));
    arch.Sort(QZMFileProvider::SORT_NAME);
    EXPECT_EQ(Order()[3], "c2");
    arch.Sort(QZMFileProvider::SORT_SIZE | QZMFileProvider::SORT_REVERSE);
    EXPECT_EQ(Order(), (V{"b.txt4", "b.txt3", "c2", "A.dat1"}));
    arch.Sort(QZMFileProvider::SORT_DATE);
    EXPECT_EQ(Order(), (V{"A.dat1", "c2", "b.txt3", "b.txt4"}));
    arch.Sort(QZMFileProvider::SORT_EXT);
    EXPECT_EQ(Order(), (V{"c2", "A.dat1", "b.txt4", "b.txt3"})); // equal keys: quicksort order
    arch.Sort(0); // renumbers only; the flags stay
    EXPECT_EQ(Order(), (V{"b.txt3", "A.dat1", "c2", "b.txt4"}));
    EXPECT_EQ(arch.sortKey, QZMFileProvider::SORT_EXT);

    QZMFileProvider::iterator it(arch, 2);
    std::unique_ptr<QZMResFile> third(arch.OpenFile(it));
    ASSERT_NE(third, nullptr);
    EXPECT_STREQ(third->name, "c");
    EXPECT_EQ(arch.OpenFile(QZMFileProvider::iterator(arch, 4)), nullptr);
}
