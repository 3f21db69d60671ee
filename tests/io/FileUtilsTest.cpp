#include <qzm/io/FileUtils.h>

#include <qzm/io/MemFile.h>

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

// Memory stream that records the size of every read it is asked for.
class CountingFile : public QZMMemFile {
public:
    explicit CountingFile(unsigned size) : QZMMemFile(size, READ) {}
    unsigned Read(void* buf, unsigned size) override {
        reads.push_back(size);
        return QZMMemFile::Read(buf, size);
    }
    std::vector<unsigned> reads;
};

std::vector<std::string> List(const std::string& dir, const char* pattern, unsigned flags) {
    char** list = nullptr;
    unsigned count = QZMFileUtils::GetFileList(list, dir.c_str(), pattern, flags);
    std::vector<std::string> names(list, list + count);
    QZMFileUtils::FreeFileList(list, count);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(FileUtilsTest, PathPieces) {
    EXPECT_STREQ(QZMFileUtils::FileExtension("archive.tar.gz"), "gz");
    EXPECT_STREQ(QZMFileUtils::FileExtension("name."), "");
    for (const char* none : {".bashrc", "..", "README"}) // a leading dot starts no extension
        EXPECT_EQ(QZMFileUtils::FileExtension(none), nullptr) << none;
    EXPECT_STREQ(QZMFileUtils::FileName("/a/b/"), "");
    EXPECT_STREQ(QZMFileUtils::FileName("/a/b.txt"), "b.txt");
    EXPECT_STREQ(QZMFileUtils::FileName("plain"), "plain");
}

TEST(FileUtilsTest, FileOperations) {
    qzmtest::TempDir dir;
    std::string a = dir.file("a"), b = dir.file("b"), c = dir.file("c");
    qzmtest::WriteFile(a, "alpha");
    qzmtest::WriteFile(b, "beta");
    EXPECT_EQ(QZMFileUtils::FileSize(c.c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(QZMFileUtils::FileSize(a.c_str()), 5u);
    EXPECT_FALSE(QZMFileUtils::FileRename(a.c_str(), b.c_str(), false));
    EXPECT_EQ(qzmtest::ReadFile(a), "alpha");
    EXPECT_EQ(qzmtest::ReadFile(b), "beta");
    EXPECT_TRUE(QZMFileUtils::FileCopy(a.c_str(), c.c_str(), false));
    EXPECT_EQ(qzmtest::ReadFile(c), "alpha");
    EXPECT_FALSE(QZMFileUtils::FileCopy(a.c_str(), b.c_str(), false));
}

TEST(FileUtilsTest, CopyDataGoesInChunksOf4000) {
    CountingFile from(10000);
    QZMMemFile to(20000, QZMResFile::WRITE);
    EXPECT_EQ(QZMFileUtils::CopyData(&from, &to, 9000), 9000u);
    // Asking for more than is left stops at the first empty read.
    EXPECT_EQ(QZMFileUtils::CopyData(&from, &to, 5000), 1000u);
    EXPECT_EQ(from.reads, (std::vector<unsigned>{4000, 4000, 1000, 4000, 4000}));
}

TEST(FileUtilsTest, GetFileListFilters) {
    qzmtest::TempDir dir;
    for (const char* name : {"a.png", "B.PNG", ".hidden.png", "c.txt"})
        qzmtest::WriteFile(dir.file(name), "x");
    mkdir(dir.file("d.png").c_str(), 0700);
    std::unique_ptr<char[]> before(QZMFileUtils::GetCWD());

    using V = std::vector<std::string>;
    EXPECT_EQ(List(dir.path(), "*.png", 0), (V{"a.png", "d.png"}));
    EXPECT_EQ(List(dir.path(), "*.png", QZMFileUtils::LIST_NO_CASE), (V{"B.PNG", "a.png", "d.png"}));
    EXPECT_EQ(List(dir.path(), "*", QZMFileUtils::LIST_NO_DIRS), (V{"B.PNG", "a.png", "c.txt"}));
    EXPECT_EQ(List(dir.path(), ".*", QZMFileUtils::LIST_NO_FILES), (V{".", ".."}));
    EXPECT_EQ(List(dir.path(), ".*", QZMFileUtils::LIST_NO_HIDDEN), V{});
    EXPECT_EQ(List(dir.path(), ".*", QZMFileUtils::LIST_NO_DOTS), V{".hidden.png"});
    EXPECT_STREQ(before.get(), std::unique_ptr<char[]>(QZMFileUtils::GetCWD()).get());
}

TEST(FileUtilsTest, WellKnownPlaces) {
    std::unique_ptr<char[]> exe(QZMFileUtils::GetExeDir());
    ASSERT_NE(exe, nullptr);
    std::string binary = std::string(exe.get()) + "/qzm_io_tests";
    EXPECT_TRUE(QZMFileUtils::FileExist(binary.c_str())) << binary;

    // The first call decides, for the life of the process.
    const char* home = getenv("HOME");
    std::string saved = home ? home : "";
    unsetenv("HOME");
    EXPECT_STREQ(QZMFileUtils::GetUserDocDir(), "");
    setenv("HOME", "/somewhere", 1);
    EXPECT_STREQ(QZMFileUtils::GetUserAppDir(), "");
    if (home) setenv("HOME", saved.c_str(), 1);
}
