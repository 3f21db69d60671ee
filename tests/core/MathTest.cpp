#include <qzm/core/Math.h>

#include <gtest/gtest.h>

#include <cmath>

TEST(MathTest, EqualBoundsAreStrictAndAngleBoundsLopsided) {
    EXPECT_FALSE(QZM::Equalf(1.0f, 1.5f, 0.5f));
    EXPECT_TRUE(QZM::Equalf(1.0f, 1.4f, 0.5f));
    EXPECT_FALSE(QZM::Equalf(NAN, 1.0f, 10.0f));
    EXPECT_FALSE(QZM::Equald(-1.0, -1.5, 0.5));

    EXPECT_EQ(QZM::Angle2PI(360), 360);
    EXPECT_EQ(QZM::Angle2PI(720), 360);
    EXPECT_EQ(QZM::Angle2PI(-360), 0);
    EXPECT_EQ(QZM::Angle2PI(-90), 270);
    EXPECT_EQ(QZM::Angle2PI(725), 5);
    EXPECT_TRUE(std::isnan(QZM::Angle2PI(NAN)));
    // Where a step of 360 no longer moves the float the call must still return.
    float far = QZM::Angle2PI(-1e20f);
    EXPECT_TRUE(far >= 0 && far <= 360);
    EXPECT_TRUE(std::isnan(QZM::Angle2PI(INFINITY)));
}

TEST(MathTest, AngleDiffCorrectsOnce) {
    EXPECT_EQ(QZM::AngleDiff(350, 10), 20);
    EXPECT_EQ(QZM::AngleDiff(10, 350), -20);
    EXPECT_EQ(QZM::AngleDiff(0, 180), 180);
    EXPECT_EQ(QZM::AngleDiff(0, -180), -180);
    EXPECT_EQ(QZM::AngleDiff(0, 600), 240);
}

TEST(MathTest, VectorAngleQuadrants) {
    EXPECT_NEAR(QZM::VectorAngle(0, 0, 1, 1), 45, 1e-4);
    EXPECT_NEAR(QZM::VectorAngle(0, 0, -1, 1), 135, 1e-4);
    EXPECT_NEAR(QZM::VectorAngle(0, 0, -1, -1), 225, 1e-4);
    EXPECT_NEAR(QZM::VectorAngle(2, 3, 2 + std::sqrt(3.0f), 4), 30, 1e-3);
    EXPECT_EQ(QZM::VectorAngle(0, 0, 0, 0), 90);
    EXPECT_EQ(QZM::VectorAngle(0, 0, 0, -5), 270);
    EXPECT_EQ(QZM::VectorAngle(0, 0, -5, 0), 180);
}
