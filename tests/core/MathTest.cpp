#include <qzm/core/Math.h>

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

TEST(MathTest, EqualBoundsAreStrictAndAngleBoundsLopsided) {
    EXPECT_FALSE(QZM::Equalf(1.0f, 1.5f, 0.5f));
    EXPECT_TRUE(QZM::Equalf(1.0f, 1.4f, 0.5f));
    EXPECT_FALSE(QZM::Equalf(NAN, 1.0f, 10.0f));
    EXPECT_FALSE(QZM::Equald(-1.0, -1.5, 0.5));

    for (auto [in, out] : {std::pair{360.f, 360.f}, {720.f, 360.f}, {-360.f, 0.f},
                            {-90.f, 270.f}, {725.f, 5.f}})
        EXPECT_EQ(QZM::Angle2PI(in), out) << in;
    EXPECT_TRUE(std::isnan(QZM::Angle2PI(NAN)));
    // Where a step of 360 no longer moves the float the call must still return.
    float far = QZM::Angle2PI(-1e20f);
    EXPECT_TRUE(far >= 0 && far <= 360);
    EXPECT_TRUE(std::isnan(QZM::Angle2PI(INFINITY)));
}

TEST(MathTest, AngleDiffCorrectsOnce) {
    // Both bounds stay; 600 is corrected once only.
    for (auto [from, to, d] : {std::tuple{350.f, 10.f, 20.f}, {10.f, 350.f, -20.f}, {0.f, 180.f, 180.f},
                               {0.f, -180.f, -180.f}, {0.f, 600.f, 240.f}})
        EXPECT_EQ(QZM::AngleDiff(from, to), d) << from << " " << to;
}

TEST(MathTest, VectorAngleQuadrants) {
    // From (2, 3): the four quadrants, then the axes (two equal points give 90).
    const float r3 = std::sqrt(3.0f);
    for (auto [dx, dy, a] : {std::tuple{r3, 1.f, 30.f}, {-1.f, 1.f, 135.f}, {-1.f, -1.f, 225.f},
                             {r3, -1.f, 330.f}, {0.f, 0.f, 90.f}, {0.f, -5.f, 270.f}, {-5.f, 0.f, 180.f}})
        EXPECT_NEAR(QZM::VectorAngle(2, 3, 2 + dx, 3 + dy), a, 1e-3) << dx << " " << dy;
}
