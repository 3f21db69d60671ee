#include <qzm/gfx/VideoMode.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

TEST(VideoModeTest, CompareModesPutsTheLargestDeepestFirst) {
    VideoMode modes[] = {{640, 480, 16}, {640, 480, 32}, {800, 600, 16}, {640, 400, 32}};
    qsort(modes, 4, sizeof(VideoMode), compare_modes);
    const VideoMode sorted[] = {{800, 600, 16}, {640, 480, 32}, {640, 480, 16}, {640, 400, 32}};
    EXPECT_EQ(memcmp(modes, sorted, sizeof sorted), 0);
    EXPECT_EQ(compare_modes(&sorted[1], &sorted[0]), 160); // b - a
    EXPECT_EQ(compare_modes(&sorted[3], &sorted[2]), 80);  // the height decides before the bpp
    const VideoMode far[] = {{0, 0, 0}, {0xFFFFFFFF, 0, 0}};
    EXPECT_GT(compare_modes(&far[0], &far[1]), 0);
}

TEST(VideoModeTest, AnySizeLeavesNoArray) {
    // The dummy drivers of both SDL 1.2 builds take any size at every depth.
    QZMVideoMode video;
    ASSERT_NE(video.VideoInfo(), nullptr);
    VideoMode* m = reinterpret_cast<VideoMode*>(&video); // a stale value
    EXPECT_EQ(video.QueryModes(&m, 0, 0), -1);
    EXPECT_EQ(m, nullptr);
    EXPECT_EQ(video.GetModes(&m, 0, 16), -1);
    EXPECT_EQ(m, nullptr);
}
