#include <qzm/archive/Dir.h>

#include <qzm/io/ResFile.h>

#include "tests/archive/ArchiveFixture.h"

#include <sys/stat.h>

#include <filesystem>
#include <memory>

using namespace qzmtest;

namespace {

// A directory with the files b (2 bytes), .hidden (1), C (3), the directories sub and a,
// a link to sub and a dangling link.
class DirTest : public ArchiveFixture {
protected:
    void SetUp() override {
        ArchiveFixture::SetUp();
        for (auto [name, bytes] : {std::pair{"b", "bb"}, {".hidden", "h"}, {"C", "ccc"}}) Make(name, bytes);
        mkdir("sub", 0700);
        mkdir("a", 0700);
        ASSERT_EQ(symlink("sub", "linked") + symlink("nowhere", "dangling"), 0);
    }
    int Find(const QZMDir& d, const std::string& name) {
        for (unsigned i = 0; i < d.NbFiles(); i++)
            if (name == d.FileName(i)) return int(i);
        return -1;
    }
};

} // namespace

TEST_F(DirTest, ListsEntriesWithTheirAttributes) {
    LogCapture log;
    QZMDir d(dir.path().c_str());
    EXPECT_NE(log.text().find("QZMDir::GetContent: stat=-1 on dangling\n"), std::string::npos);
    EXPECT_EQ(d.NbFiles(), 8u); // ., .., b, .hidden, C, sub, a, linked
    EXPECT_EQ(d.subdirs, 5u);
    int linked = Find(d, "linked"), hidden = Find(d, ".hidden"), c = Find(d, "C");
    ASSERT_GE(linked, 0);
    EXPECT_TRUE(d.IsFileDir(linked) && d.IsFileLink(linked));
    EXPECT_TRUE(d.IsFileHidden(hidden) && d.IsFile(hidden));
    EXPECT_EQ(d.FileSize(c), 3u);
    EXPECT_TRUE(d.FileAccess(c, S_IRUSR | S_IWUSR));
    EXPECT_FALSE(d.IsEmpty());
    EXPECT_TRUE(QZMDir(dir.file("a").c_str()).IsEmpty());
}

TEST_F(DirTest, SortOrders) {
    QZMDir d(dir.path().c_str());
    d.Sort(QZMFileProvider::SORT_DIRFIRST | QZMFileProvider::SORT_REVERSE | QZMFileProvider::SORT_NAME);
    EXPECT_EQ(Order(d), (Names{"sub", "linked", "a", "..", ".", "C", "b", ".hidden"}));
    d.Sort(QZMFileProvider::SORT_NAME | QZMFileProvider::SORT_CASE);
    EXPECT_EQ(Order(d)[2], ".hidden");
    EXPECT_EQ(Order(d)[3], "C");
    d.sortFlags = QZMFileProvider::SORT_NAME | QZMFileProvider::SORT_REVERSE;
    d.Update(); // applies sortFlags
    EXPECT_EQ(Order(d).front(), "sub");
    EXPECT_EQ(Order(d).back(), ".");
}

TEST_F(DirTest, NavigationAndRelativePaths) {
    ASSERT_EQ(chdir("/"), 0); // relative names must not resolve against the process's directory
    QZMDir d(dir.path().c_str());
    const auto before = std::filesystem::current_path();
    EXPECT_TRUE(d.Open("sub"));
    EXPECT_EQ(std::string(d.Name()), dir.file("sub"));
    EXPECT_FALSE(d.Open("missing"));
    EXPECT_EQ(std::string(d.Name()), dir.file("sub"));
    d.GoUp();
    EXPECT_EQ(std::string(d.Name()), dir.path());
    WriteFile(dir.file("x.txt"), "xyz");
    d.Open(".");
    std::unique_ptr<QZMResFile> x(d.OpenFile("x.txt"));
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(x->Read8(), 'x');
    EXPECT_TRUE(d.CopyFile("x.txt", "sub/y.txt"));
    EXPECT_EQ(ReadFile(dir.file("sub/y.txt")), "xyz");
    EXPECT_EQ(std::filesystem::current_path(), before);

    QZMDir root("/tmp");
    root.GoUp();
    root.GoUp(); // nothing at the root
    EXPECT_STREQ(root.Name(), "/");
}
