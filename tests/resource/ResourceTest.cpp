#include <qzm/io/MemFile.h>
#include <qzm/resource/Resource.h>

#include <gtest/gtest.h>

#include "tests/support/TestSupport.h"

namespace {

// Records what reaches it; saves its payload only when allowed to.
class Probe : public QZMResource {
public:
    std::string payload;
    bool canSave = true;
    int lastFormat = -1;
    int seenState = -1;

    uint32_t MemoryUsed() const override { return static_cast<uint32_t>(payload.size()); }
    bool Load(QZMResFile& file, int format) override {
        lastFormat = format;
        seenState = file.state;
        if (file.state != QZMResFile::ST_OK) return false;
        char buf[64] = {};
        unsigned n = file.Read(buf, sizeof buf - 1);
        payload.assign(buf, n);
        return n > 0;
    }
    bool Save(QZMResFile& file, int format) override {
        lastFormat = format;
        seenState = file.state;
        if (!canSave || file.state != QZMResFile::ST_OK) return false;
        return file.Write(payload.data(), static_cast<unsigned>(payload.size())) == payload.size();
    }
};

} // namespace

TEST(ResourceTest, NamedFilesRoundTripAndPassTheFormat) {
    qzmtest::TempDir dir;
    std::string path = dir.file("probe.bin");
    Probe out;
    out.payload = "hello";
    ASSERT_TRUE(out.SaveName(path.c_str(), 7));
    EXPECT_EQ(out.lastFormat, 7);
    EXPECT_EQ(qzmtest::ReadFile(path), "hello");

    Probe in;
    QZMResource& base = in; // through the virtual slots, as the resource manager calls it
    ASSERT_TRUE(base.LoadName(path.c_str(), 3));
    EXPECT_EQ(in.payload, "hello");
    EXPECT_EQ(in.lastFormat, 3);
}

TEST(ResourceTest, LoadNameOfMissingFileHandsLoadAFailedStream) {
    qzmtest::TempDir dir;
    Probe in;
    in.payload = "kept";
    EXPECT_FALSE(in.LoadName(dir.file("missing").c_str(), 0));
    EXPECT_EQ(in.seenState, QZMResFile::ST_OPEN_ERROR);
    EXPECT_EQ(in.payload, "kept");
    EXPECT_FALSE(in.LoadName(nullptr, 0));
}

TEST(ResourceTest, SaveNameEmptiesTheFileEvenWhenSaveRefuses) {
    qzmtest::TempDir dir;
    std::string path = dir.file("old.bin");
    qzmtest::WriteFile(path, "previous content");
    Probe out;
    out.canSave = false;
    EXPECT_FALSE(out.SaveName(path.c_str(), 0));
    EXPECT_TRUE(qzmtest::FileExists(path));
    EXPECT_EQ(qzmtest::ReadFile(path), "");
}

TEST(ResourceTest, DeletedThroughTheBase) {
    QZMResource* res = new Probe;
    delete res; // the sanitizers report a non-virtual destructor here
}
