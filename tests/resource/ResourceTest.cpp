#include <qzm/data/Text.h>
#include <qzm/resource/Resource.h>

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/TestSupport.h"

// A text array is a plain subclass that keeps the base's LoadName and SaveName.
TEST(ResourceTest, NamedFilesReachLoadAndSaveWithTheirFormat) {
    qzmtest::TempDir dir;
    std::string path = dir.file("t");
    auto* text = new QZMText(2);
    std::unique_ptr<QZMResource> base(text); // destroyed through the base: sanitizers check it
    text->SetString(0, "kept");
    ASSERT_TRUE(base->SaveName(path.c_str(), 0));
    EXPECT_EQ(qzmtest::ReadFile(path).substr(0, 4), "QZMT");
    EXPECT_TRUE(base->LoadName(path.c_str(), 2));
    EXPECT_FALSE(base->LoadName(path.c_str(), 3)); // an unknown code reaches Load
    EXPECT_FALSE(base->LoadName(dir.file("missing").c_str(), 0));
    EXPECT_FALSE(base->LoadName(nullptr, 0));
    EXPECT_STREQ(text->strings[0], "kept");

    // A save that refuses has already emptied the file.
    EXPECT_FALSE(QZMText(3).SaveName(path.c_str(), 0));
    EXPECT_TRUE(qzmtest::FileExists(path));
    EXPECT_EQ(qzmtest::ReadFile(path), "");
}
