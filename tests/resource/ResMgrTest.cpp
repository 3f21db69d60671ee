#include <qzm/data/Text.h>
#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/Pal.h>
#include <qzm/resource/ResMgr.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>

#include "tests/support/TestSupport.h"

namespace {

int g_alive = 0, g_loads = 0;

// Holds its file's bytes; a file starting with '!' fails to load. Keeps the stream when told.
struct Blob : QZMResource {
    std::string bytes;
    int lastFormat = -1;
    std::unique_ptr<QZMResFile> kept;

    Blob() { ++g_alive; }
    ~Blob() override { --g_alive; }
    uint32_t MemoryUsed() const override { return static_cast<uint32_t>(bytes.size()); }
    bool Load(QZMResFile& file, int format) override {
        ++g_loads, lastFormat = format;
        char buf[256];
        bytes.assign(buf, file.Read(buf, sizeof buf));
        return !bytes.empty() && bytes[0] != '!';
    }
    bool Save(QZMResFile&, int) override { return false; }
};

template <bool kKeep>
QZMResource* LoadBlob(QZMResFile* file, const char*, int format, bool& keepFile) {
    auto blob = std::make_unique<Blob>();
    if (!blob->Load(*file, format)) return nullptr;
    if ((keepFile = kKeep)) blob->kept.reset(file);
    return blob.release();
}

class ResMgrTest : public ::testing::Test {
protected:
    qzmtest::TempDir dir;
    QZMResFinder finder;
    std::unique_ptr<QZMResMgr> mgr;
    unsigned blob = 0;

    void SetUp() override {
        g_alive = g_loads = 0;
        ASSERT_TRUE(finder.AddSource(dir.path().c_str(), false));
        mgr = std::make_unique<QZMResMgr>(finder);
        blob = mgr->RegisterLoader(LoadBlob<false>);
    }
    Blob* Load(const char* name, bool share = true, int format = 0) {
        return static_cast<Blob*>(mgr->Load(blob, name, format, share));
    }
};

} // namespace

TEST_F(ResMgrTest, TableDoublesWhenFullAndStaysInByteOrder) {
    for (const char* name : {"b", "a", "Bz", "A", "c"}) dir.write(name, name), Load(name);
    EXPECT_EQ(mgr->entries[5].name, nullptr);
    qzmtest::LogCapture log;
    mgr->PrintContent();
    EXPECT_EQ(log.text(), "Resource Manager : (5 entries, 8 alloc)\n-   0 [type  7] A (1)\n"
                          "-   1 [type  7] Bz (1)\n-   2 [type  7] a (1)\n-   3 [type  7] b (1)\n"
                          "-   4 [type  7] c (1)\n");
    for (const char* name : {"a", "A", "c", "Bz", "b"}) EXPECT_TRUE(mgr->Release(name));
    EXPECT_EQ(mgr->count, 0u);
    EXPECT_EQ(mgr->alloc, 8u);
    EXPECT_EQ(g_alive, 0);
}

TEST_F(ResMgrTest, ReferencesAreCountedPerNameAndTyped) {
    dir.write("x", "data");
    Blob* first = Load("x");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Load("x", false), first); // unshared still gets the shared one
    EXPECT_EQ(mgr->Get("x"), first);
    qzmtest::LogCapture log(10); // the streams' own open failures are debug messages
    EXPECT_EQ(mgr->Load(QZMResMgr::TYPE_PAL, "x", 0, true), nullptr);
    for (const char* name : {"missing", "", static_cast<const char*>(nullptr)})
        EXPECT_EQ(Load(name), nullptr);
    EXPECT_EQ(mgr->entries[0].refCount, 3u);
    EXPECT_EQ(log.text(), ""); // mismatched types and bad names fail silently
    EXPECT_TRUE(mgr->Release("x"));
    EXPECT_TRUE(mgr->Release(first));
    EXPECT_EQ(g_alive, 1);
    EXPECT_TRUE(mgr->Release("x"));
    EXPECT_EQ(g_alive, 0);
    EXPECT_FALSE(mgr->Release("x"));
    EXPECT_EQ(g_loads, 1);

    Blob* own = Load("x", false);
    EXPECT_EQ(mgr->count, 0u);
    EXPECT_FALSE(mgr->Release(own));
    EXPECT_TRUE(mgr->Add(0, "mine", own));
    EXPECT_FALSE(mgr->Add(0, "mine", own));
    EXPECT_FALSE(mgr->Add(0, "", own));
    EXPECT_EQ(mgr->Get("mine"), own); // left at 2 references: the manager destroys it anyway
}

TEST_F(ResMgrTest, LoadersAreRegisteredAndChanged) {
    dir.write("x", "data");
    EXPECT_EQ(blob, 7u);
    EXPECT_EQ(mgr->RegisterLoader(nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(mgr->Load(8, "x", 0, true), nullptr);
    EXPECT_EQ(mgr->RegisterLoader(LoadBlob<true>), 8u);
    auto* kept = static_cast<Blob*>(mgr->Load(8, "x", 0, true));
    ASSERT_NE(kept, nullptr);
    EXPECT_TRUE(kept->kept->SeekStart()); // the manager left the stream open

    EXPECT_FALSE(mgr->ChangeLoader(9, LoadBlob<false>));
    EXPECT_FALSE(mgr->ChangeLoader(0, nullptr));
    ASSERT_TRUE(mgr->ChangeLoader(QZMResMgr::TYPE_IMAGE, LoadBlob<false>));
    dir.write("y", "data");
    auto* image = static_cast<Blob*>(mgr->Load(QZMResMgr::TYPE_IMAGE, "y", 5, true));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->lastFormat, 5);
}

TEST_F(ResMgrTest, ReloadKeepsTheObjectsAndReportsTheLastOne) {
    dir.write("a", "old");
    dir.write("b", "2");
    Blob* a = Load("a", true, 9);
    ASSERT_NE(Load("b"), nullptr);
    dir.write("a", "new");
    EXPECT_TRUE(mgr->Reload("a"));
    EXPECT_EQ(a->bytes, "new");
    EXPECT_EQ(a->lastFormat, 0);
    EXPECT_FALSE(mgr->Reload("unknown"));

    EXPECT_TRUE(mgr->ReloadType(QZMResMgr::TYPE_TEXT)); // none of that type
    EXPECT_FALSE(mgr->ReloadType(9));
    std::remove(dir.file("a").c_str());
    EXPECT_FALSE(mgr->Reload("a"));
    EXPECT_TRUE(mgr->ReloadType(blob)); // a's file is gone, but b comes last
    dir.write("a", "1");
    dir.write("b", "!");
    EXPECT_FALSE(mgr->ReloadType(blob));
    EXPECT_EQ(mgr->entries[0].refCount, 1u);
}

TEST_F(ResMgrTest, BuiltInSlotsMakeTheirClassesOrFailLikeLoaders) {
    QZMImage picture(1, 1, 24), sheet(8, 8, 8);
    picture.Rectangle(0, 0, 1, 1, 0x102030);
    sheet.Rectangle(0, 0, 8, 8, 1);
    ASSERT_TRUE(picture.SaveName(dir.file("picture.bmp").c_str(), 1));
    ASSERT_TRUE(QZMFont("tiny", 'A', 'A', &sheet, 1).SaveName(dir.file("tiny.fnt").c_str(), 0));
    dir.write("grey.pal", "JASC-PAL\n0100\n1\n9 9 9\n");
    dir.write("strings.txt", "one\ntwo\n");
    const std::pair<const char*, const std::type_info*> slots[] = {
        {"picture.bmp", &typeid(QZMImage)}, {"grey.pal", &typeid(QZMPal)},
        {"tiny.fnt", &typeid(QZMFont)}, {"strings.txt", &typeid(QZMText)}};
    for (unsigned type = 0; type < 4; ++type) {
        QZMResource* made = mgr->Load(type, slots[type].first, 0, true);
        ASSERT_NE(made, nullptr) << type;
        EXPECT_EQ(typeid(*made), *slots[type].second);
    }

    // Unreadable data, and the slots whose classes the library lacks, fail every time.
    dir.write("any", "data");
    qzmtest::LogCapture log;
    for (unsigned type : {2u, 4u, 5u, 6u, 6u}) {
        EXPECT_EQ(mgr->Load(type, "any", 0, true), nullptr);
        EXPECT_EQ(log.text(), "ResMgr: can not load any (type " + std::to_string(type) + ")\n");
    }
    EXPECT_EQ(mgr->count, 4u);
}
