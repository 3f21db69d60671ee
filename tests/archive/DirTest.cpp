#include <qzm/archive/Dir.h>

#include <qzm/io/ResFile.h>

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

using namespace qzmtest;

namespace {

// A directory with the files b (2 bytes), .hidden (1), C (3), the directories sub and a,
// a link to sub and a dangling link.
class DirTest : public ::testing::Test {
protected:
    void SetUp() override {
        WriteFile(dir.file("b"), "bb");
        WriteFile(dir.file(".hidden"), "h");
        WriteFile(dir.file("C"), "ccc");
        mkdir(dir.file("sub").c_str(), 0700);
        mkdir(dir.file("a").c_str(), 0700);
        ASSERT_EQ(symlink("sub", dir.file("linked").c_str()), 0);
        ASSERT_EQ(symlink("nowhere", dir.file("dangling").c_str()), 0);
    }
    int Find(const QZMDir& d, const std::string& name) {
        for (unsigned i = 0; i < d.NbFiles(); i++)
            if (name == d.FileName(i)) return int(i);
        return -1;
    }
    std::vector<std::string> Order(const QZMDir& d) {
        std::vector<std::string> names;
        for (QZMFileProvider::iterator it(d); !it.AtEnd(); it.Next()) names.push_back(d.FileName(it.Index()));
        return names;
    }

    TempDir dir;
};

using V = std::vector<std::string>;

} // namespace

TEST_F(DirTest, ListsEntriesWithTheirAttributes) {
    LogCapture log;
    QZMDir d(dir.path().c_str());
    EXPECT_NE(log.text().find("QZMDir::GetContent: stat=-1 on dangling\n"), std::string::npos);
    EXPECT_EQ(d.NbFiles(), 8u); // ., .., b, .hidden, C, sub, a, linked
    EXPECT_EQ(d.subdirs, 5u);
    EXPECT_EQ(Find(d, "dangling"), -1);
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
    EXPECT_EQ(Order(d), (V{"sub", "linked", "a", "..", ".", "C", "b", ".hidden"}));
    d.Sort(QZMFileProvider::SORT_NAME | QZMFileProvider::SORT_CASE);
    EXPECT_EQ(Order(d)[2], ".hidden");
    EXPECT_EQ(Order(d)[3], "C");
    d.sortFlags = QZMFileProvider::SORT_NAME | QZMFileProvider::SORT_REVERSE;
    d.Update(); // applies sortFlags
    EXPECT_EQ(Order(d).front(), "sub");
    EXPECT_EQ(Order(d).back(), ".");
}

TEST_F(DirTest, NavigationAndRelativePaths) {
    QZMDir d(dir.path().c_str());
    char before[4096];
    ASSERT_NE(getcwd(before, sizeof before), nullptr);
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

    char after[4096];
    ASSERT_NE(getcwd(after, sizeof after), nullptr);
    EXPECT_STREQ(before, after);

    QZMDir root("/tmp");
    root.GoUp();
    root.GoUp(); // nothing at the root
    EXPECT_STREQ(root.Name(), "/");
}
