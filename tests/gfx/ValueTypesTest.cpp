#include <qzm/gfx/Point.h>
#include <qzm/gfx/RGBA.h>
#include <qzm/gfx/Rect.h>
#include <qzm/gfx/Vec3.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

template <typename T>
std::string Print(const T& value, std::ios_base& (*base)(std::ios_base&) = std::dec) {
    std::ostringstream os;
    os << base << value;
    return os.str();
}

} // namespace

TEST(RectTest, IntersectionAndUnion) {
    QZMRect a = {0, 0, 10, 10};
    QZMRect touching = {10, 0, 5, 5};
    EXPECT_FALSE(a.IsIntersect(touching));
    EXPECT_TRUE(a.IsIntersect({9, 9, 1, 1}));
    EXPECT_EQ(Print(a.Union(touching)), "(0, 0) 15 x 10");
    EXPECT_EQ(Print(a.Intersection({5, 5, 10, 10})), "(5, 5) 5 x 5");
    EXPECT_EQ(Print(a.Union({-5, 20, 0, 0})), "(-5, 0) 15 x 20"); // an empty operand counts
    EXPECT_EQ(Print(a.Intersection({20, 30, 5, 5})), "(20, 30) 0 x 0");
    // The smaller edge wraps to a signed 16-bit value before the subtraction.
    QZMRect far = {30000, 0, 10000, 1};
    EXPECT_EQ(Print(far.Intersection({30000, 0, 20000, 1})), "(30000, 0) 0 x 1");
    // In place.
    a.Intersect({20, 2, 5, 5});
    EXPECT_EQ(Print(a), "(20, 2) 0 x 5");
    QZMRect b = {0, 0, 10, 10};
    b.Intersect({3, -4, 4, 100});
    EXPECT_EQ(Print(b), "(3, 0) 4 x 10");
}

TEST(ValueTypesTest, TextOutput) {
    EXPECT_EQ(Print(QZMRect{-1, 16, 255, 2}, std::hex), "(ffff, 10) ff x 2");
    EXPECT_EQ(Print(QZMPoint{-1, 8}, std::oct), "(177777, 10)");
    EXPECT_EQ(Print(QZMPoint{-7, 8}), "(-7, 8)");
    EXPECT_EQ(Print(QZMVec3{1.5f, -2, 0}), "(1.5, -2, 0)");
    QZMRGBA c = {255, 128, 0, 7};
    EXPECT_STREQ(c.WebString(false), "#FF8000");
    EXPECT_STREQ(c.WebString(true), "#FF800007");
    EXPECT_STREQ((QZMRGBA{1, 2, 0xAB, 0}.WebString(false)), "#0102AB");
}
