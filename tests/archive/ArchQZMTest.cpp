#include <qzm/archive/ArchQZM.h>

#include <qzm/io/ResFile.h>

#include "tests/archive/ArchiveFixture.h"

#include <memory>

using namespace qzmtest;

namespace {

std::string Record(const std::string& name, uint32_t size, uint32_t start, uint32_t date = 1000000000) {
    return Field(name, 32) + Le(size) + Le(start) + Le(date);
}

class ArchQZMTest : public ArchiveOf<QZMArchQZM> {
protected:
    // An archive of the members a (10 bytes), b (20 bytes) and c (30 bytes).
    std::string MakeThree() {
        EXPECT_TRUE(arch.Create(path.c_str()));
        for (auto [name, size] : {std::pair{"a", 10}, {"b", 20}, {"c", 30}})
            EXPECT_GE(arch.AddFile(Make(name, std::string(size, name[0])).c_str(), nullptr), 0);
        return ReadFile(path);
    }
};

} // namespace

TEST_F(ArchQZMTest, CreateAndAddWriteTheLayout) {
    ASSERT_TRUE(arch.Create(path.c_str()));
    EXPECT_EQ(ReadFile(path), Header("QZMA", 12, 0));
    EXPECT_FALSE(arch.Create(path.c_str()));

    std::string data(100, 'd');
    EXPECT_EQ(arch.AddFile(Make("src", data).c_str(), "dir/sub/file.txt"), 0);
    EXPECT_EQ(arch.AddFile(Make("src2", "xy").c_str(), std::string(40, 'n').c_str()), 1);
    EXPECT_EQ(arch.AddFile(Make("src3", "z").c_str(), "dir/"), -1);
    EXPECT_EQ(arch.AddFile(Make("empty", "").c_str(), nullptr), -1);
    std::string expected = Header("QZMA", 114, 2) + data + "xy" + Record("file.txt", 100, 12) +
                           Record(std::string(31, 'n'), 2, 112);
    EXPECT_EQ(ReadFile(path), expected);
}

TEST_F(ArchQZMTest, RemovingTheOnlyMemberLeavesTheOldHeader) {
    ASSERT_TRUE(arch.Create(path.c_str()));
    arch.AddFile(Make("one", "12345").c_str(), nullptr);
    ASSERT_TRUE(arch.RemoveFile(0));
    EXPECT_EQ(ReadFile(path), Header("QZMA", 17, 1)); // no longer opens: its one record is gone
    EXPECT_EQ(arch.NbFiles(), 0u);
}

TEST_F(ArchQZMTest, UpdateRenameAndRemoveShiftTheFollowingMembers) {
    MakeThree();
    ASSERT_TRUE(arch.UpdateFile(0, Make("new", "AAAAA", 2000000000).c_str()));
    ASSERT_TRUE(arch.RenameFile(2, "x/renamed"));
    EXPECT_FALSE(arch.RenameFile(2, "x/"));
    EXPECT_FALSE(arch.RenameFile(3, "name"));
    ASSERT_TRUE(arch.RemoveFile(1));
    EXPECT_EQ(ReadFile(path), Header("QZMA", 47, 2) + "AAAAA" + std::string(30, 'c') +
                                  Record("a", 5, 12, 2000000000) + Record("renamed", 30, 17));
    EXPECT_EQ(arch.entries[1]->index, 2); // not renumbered
    EXPECT_FALSE(FileExists(dir.file("QZMARCH.TMP")));
}

TEST_F(ArchQZMTest, MalformedHeadersAndDirectories) {
    std::string body(20, 'x');
    EXPECT_TRUE(Opens(Header("QZMA", 0xFFFFFFF0, 0)));              // count 0: empty
    EXPECT_FALSE(Opens("QZMA" + Le(12)));                         // short header
    EXPECT_FALSE(Opens(Header("QZMA", 8, 1) + Record("a", 1, 12))); // directory inside the header
    EXPECT_FALSE(Opens(Header("QZMA", 0xFFFFFFF0, 2) + body));      // offset + size wraps
    EXPECT_FALSE(Opens(Header("QZMA", 12, 0x0BA2E8BB) + Record("a", 1, 12))); // 44 x count wraps
    EXPECT_FALSE(Opens(Header("QZMA", 12, 2) + Record("a", 1, 12))); // second record missing

    // A member reaching past the end opens cut at the end and cannot be extracted whole; an
    // unterminated name is cut.
    WriteFile(path, Header("QZMA", 32, 2) + body + Record("ok", 20, 12) +
                        std::string(32, 'N') + Le(200) + Le(12) + Le(0));
    ASSERT_TRUE(arch.Open(path.c_str()));
    EXPECT_EQ(arch.FileName(1), std::string(31, 'N'));
    std::unique_ptr<QZMResFile> cut(arch.OpenResFile(1));
    ASSERT_NE(cut, nullptr);
    cut->SeekEnd();
    EXPECT_EQ(cut->GetPos(), 120 - 12);
    EXPECT_FALSE(arch.ExtractFile(1, dir.file("out").c_str()));
    EXPECT_NE(std::unique_ptr<QZMResFile>(arch.OpenResFile(0)), nullptr);
}

TEST_F(ArchQZMTest, FailedEditsKeepTheArchive) {
    std::string before = MakeThree();
    std::string big = Make("big", std::string(5000, 'B'));
    {
        FileSizeLimit full(1000);
        EXPECT_EQ(arch.AddFile(big.c_str(), nullptr), -1);
    }
    {
        FileSizeLimit full(100); // smaller than the rewritten archive
        EXPECT_FALSE(arch.RemoveFile(0));
        EXPECT_FALSE(arch.UpdateFile(0, big.c_str()));
    }
    mkdir("QZMARCH.TMP", 0700); // the temporary file cannot be written
    EXPECT_FALSE(arch.RemoveFile(1));
    EXPECT_EQ(arch.NbFiles(), 3u);

    QZMArchQZM again;
    ASSERT_TRUE(again.Open(path.c_str()));
    EXPECT_EQ(ReadFile(path).substr(0, before.size()), before);
    EXPECT_EQ(again.NbFiles(), 3u);
}
