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

// Directories "front" and "back" and an archive, known by their resolved absolute paths.
class ResFinderTest : public ::testing::Test {
protected:
    qzmtest::TempDir tmp;
    QZMResFinder finder;
    std::string front, back, archive;

    void SetUp() override {
        char buf[PATH_MAX];
        std::string root = realpath(tmp.path().c_str(), buf) ? buf : tmp.path();
        front = root + "/front", back = root + "/back", archive = root + "/pack.qzm";
        mkdir(front.c_str(), 0755), mkdir(back.c_str(), 0755);
        qzmtest::WriteFile(front + "/both.txt", "from front");
        qzmtest::WriteFile(back + "/both.txt", "from back");
        qzmtest::WriteFile(back + "/only.txt", "only back");
        qzmtest::WriteFile(root + "/member.txt", "from archive");
        QZMArchQZM arch;
        ASSERT_TRUE(arch.Create(archive.c_str()));
        ASSERT_GE(arch.AddFile((root + "/member.txt").c_str(), "both.txt"), 0);
    }
    std::string Listing() {
        qzmtest::LogCapture log;
        finder.PrintInfo();
        return log.text();
    }
};

} // namespace

TEST_F(ResFinderTest, FrontSourcesOverrideAndBackSourcesFallBack) {
    EXPECT_EQ(Listing(), "Resource Finder sources (0):\nnone.\n");
    EXPECT_EQ(finder.FindRes("only.txt"), nullptr);
    ASSERT_TRUE(finder.AddSource(back.c_str(), false));
    ASSERT_TRUE(finder.AddSource(front.c_str(), true));
    EXPECT_EQ(qzmtest::Drain(finder.FindRes("both.txt")), "from front");
    EXPECT_EQ(qzmtest::Drain(finder.FindRes("only.txt")), "only back");
    EXPECT_EQ(qzmtest::Drain(finder.FindRes("missing.txt")), "<none>");
    EXPECT_EQ(qzmtest::Drain(finder.FindRes("")), "<none>");

    ASSERT_TRUE(finder.AddSource(archive.c_str(), true));
    EXPECT_EQ(finder.FindSource(archive.c_str()), 0);
    EXPECT_EQ(qzmtest::Drain(finder.FindRes("both.txt")), "from archive");
}

TEST_F(ResFinderTest, SourcesAreKnownByTheirProvidersName) {
    for (std::string bad : {tmp.file("nothing"), back + "/only.txt", std::string()})
        EXPECT_FALSE(finder.AddSource(bad.c_str(), false)) << bad;
    EXPECT_EQ(finder.FindSource(nullptr), -1);

    char cwd[PATH_MAX];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(tmp.path().c_str()), 0);
    EXPECT_TRUE(finder.AddSource("front", false)); // a directory's name is its absolute path
    EXPECT_TRUE(finder.AddSource("front", false));
    ASSERT_EQ(chdir(cwd), 0);
    EXPECT_EQ(finder.FindSource("front"), -1);

    ASSERT_TRUE(finder.AddSource(archive.c_str(), false));
    QZMFileProvider* first = finder.sources[2];
    EXPECT_TRUE(finder.AddSource(archive.c_str(), true));
    EXPECT_TRUE(finder.AddSource(front.c_str(), true));
    EXPECT_EQ(finder.sources.size(), 3u);
    EXPECT_EQ(finder.sources[2], first);
}

TEST_F(ResFinderTest, RemoveSourceAlwaysAnswersFalse) {
    for (const std::string& name : {front, back, archive})
        ASSERT_TRUE(finder.AddSource(name.c_str(), false));
    EXPECT_FALSE(finder.RemoveSource("unknown"));
    EXPECT_EQ(finder.sources.size(), 3u);

    std::unique_ptr<QZMFileProvider> removed(finder.sources[0]); // no longer the finder's
    EXPECT_FALSE(finder.RemoveSource(front.c_str()));
    EXPECT_EQ(Listing(), "Resource Finder sources (2):\n- " + back + "\n- " + archive + "\n");
    EXPECT_EQ(qzmtest::Drain(finder.FindRes("both.txt")), "from back");
}
