#include <qzm/archive/ArchQZM.h>
#include <qzm/archive/FileProvider.h>
#include <qzm/resource/ResFinder.h>

#include <gtest/gtest.h>

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "tests/support/TestSupport.h"

namespace {

std::string Slurp(QZMResFile* file) {
    std::unique_ptr<QZMResFile> owned(file);
    if (!file) return "<none>";
    char buf[64];
    return std::string(buf, file->Read(buf, sizeof buf));
}

// The finder knows a directory by its resolved absolute path.
std::string Resolved(const std::string& path) {
    char buf[PATH_MAX];
    return realpath(path.c_str(), buf) ? buf : path;
}

class ResFinderTest : public ::testing::Test {
protected:
    qzmtest::TempDir tmp;
    std::string front, back, archive;

    void SetUp() override {
        mkdir(tmp.file("front").c_str(), 0755);
        mkdir(tmp.file("back").c_str(), 0755);
        front = Resolved(tmp.file("front"));
        back = Resolved(tmp.file("back"));
        qzmtest::WriteFile(front + "/both.txt", "from front");
        qzmtest::WriteFile(back + "/both.txt", "from back");
        qzmtest::WriteFile(back + "/only.txt", "only back");
        archive = Resolved(tmp.path()) + "/pack.qzm";
        qzmtest::WriteFile(tmp.file("member.txt"), "from archive");
        QZMArchQZM arch;
        ASSERT_TRUE(arch.Create(archive.c_str()));
        ASSERT_GE(arch.AddFile(tmp.file("member.txt").c_str(), "both.txt"), 0);
    }
};

} // namespace

TEST_F(ResFinderTest, FrontSourcesOverrideAndBackSourcesFallBack) {
    QZMResFinder finder;
    ASSERT_TRUE(finder.AddSource(back.c_str(), false));
    ASSERT_TRUE(finder.AddSource(front.c_str(), true));
    EXPECT_EQ(Slurp(finder.FindRes("both.txt")), "from front");
    EXPECT_EQ(Slurp(finder.FindRes("only.txt")), "only back");
    EXPECT_EQ(Slurp(finder.FindRes("missing.txt")), "<none>");
    EXPECT_EQ(Slurp(finder.FindRes("")), "<none>");

    ASSERT_TRUE(finder.AddSource(archive.c_str(), true));
    EXPECT_EQ(finder.FindSource(archive.c_str()), 0);
    EXPECT_EQ(Slurp(finder.FindRes("both.txt")), "from archive");
}

TEST_F(ResFinderTest, SourcesAreKnownByTheirProvidersName) {
    char cwd[PATH_MAX];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(tmp.path().c_str()), 0);
    QZMResFinder finder;
    EXPECT_TRUE(finder.AddSource("front", false)); // a directory's name is its absolute path
    EXPECT_TRUE(finder.AddSource("front", false));
    ASSERT_EQ(chdir(cwd), 0);
    EXPECT_EQ(finder.FindSource("front"), -1);

    ASSERT_TRUE(finder.AddSource(archive.c_str(), false));
    QZMFileProvider* first = finder.sources[0];
    EXPECT_TRUE(finder.AddSource(archive.c_str(), true));
    EXPECT_TRUE(finder.AddSource(front.c_str(), true));
    ASSERT_EQ(finder.sources.size(), 3u);
    EXPECT_EQ(finder.sources[0], first);
    EXPECT_EQ(finder.FindSource(archive.c_str()), 2);
}

TEST_F(ResFinderTest, OnlyDirectoriesAndArchivesAreSources) {
    QZMResFinder finder;
    EXPECT_FALSE(finder.AddSource(tmp.file("nothing").c_str(), false));
    EXPECT_FALSE(finder.AddSource((back + "/only.txt").c_str(), false));
    EXPECT_FALSE(finder.AddSource("", false));
    EXPECT_TRUE(finder.sources.empty());
    EXPECT_EQ(finder.FindRes("only.txt"), nullptr);
    EXPECT_EQ(finder.FindSource(nullptr), -1);

    qzmtest::LogCapture log;
    finder.PrintInfo();
    EXPECT_EQ(log.text(), "Resource Finder sources (0):\nnone.\n");
}

TEST_F(ResFinderTest, RemoveSourceAlwaysAnswersFalse) {
    QZMResFinder finder;
    ASSERT_TRUE(finder.AddSource(front.c_str(), false));
    ASSERT_TRUE(finder.AddSource(back.c_str(), false));
    ASSERT_TRUE(finder.AddSource(archive.c_str(), false));
    EXPECT_FALSE(finder.RemoveSource("unknown"));
    EXPECT_EQ(finder.sources.size(), 3u);

    std::unique_ptr<QZMFileProvider> removed(finder.sources[0]); // no longer the finder's
    EXPECT_FALSE(finder.RemoveSource(front.c_str()));
    qzmtest::LogCapture log;
    finder.PrintInfo();
    EXPECT_EQ(log.text(), "Resource Finder sources (2):\n- " + back + "\n- " + archive + "\n");
    EXPECT_EQ(Slurp(finder.FindRes("both.txt")), "from back");
}
