#include "app/AUAppKitExtend.h"

#include <gtest/gtest.h>

#include <iterator>
#include <tuple>

namespace {

NSRect Rect(double x, double y, double w, double h) {
    return NSRect{NSPoint{x, y}, NSSize{w, h}};
}

TEST(RectGeometry, ReadersOfTheDocumentedRect) {
    NSRect r = Rect(10, 20, 100, 50);
    EXPECT_EQ(NSRectTop(&r), 70.0f);
    EXPECT_EQ(NSRectRight(&r), 110.0f);
    EXPECT_EQ(NSRectBottom(&r), 20.0f);
    EXPECT_EQ(NSRectCenter(&r).x, 60.0);
    EXPECT_EQ(NSRectCenterVertical(&r), 45.0f);
    EXPECT_EQ(NSRectRightBottom(&r).x, 110.0);
    NSRect fine = Rect(0, 0.1, 0, 0);
    EXPECT_EQ(NSRectBottom(&fine), 0.1f); // readers round to float
    EXPECT_EQ(NSRectTop(nullptr), 0.0f);
    EXPECT_EQ(NSRectLeftBottom(nullptr).y, 0.0);
}

// Each changer on (10, 20, 100, 50), with the one-sided clamps.
TEST(RectGeometry, ChangersMoveOneEdgeAndClampOnlyTopAndRight) {
    const struct {
        void (*change)(NSRect*, float);
        float v;
        double x, y, w, h;
    } cases[] = {
        {NSRectTopMoveTo, 100, 10, 50, 100, 50},
        {NSRectTopResize, -80, 10, 20, 100, 0},
        {NSRectTopResize, 5, 10, 20, 100, 55},
        {NSRectTopResizeTo, 5, 10, 20, 100, 0},
        {NSRectTopResizeTo, 90, 10, 20, 100, 70},
        {NSRectBottomMoveTo, 0, 10, 0, 100, 50},
        {NSRectBottomResize, -80, 10, 100, 100, -30},
        {NSRectBottomResizeTo, 200, 10, 70, 100, 0},
        {NSRectBottomResizeTo, 0, 10, 0, 100, 70},
        {NSRectSetHeightResizingTop, 10, 10, 20, 100, 10},
        {NSRectSetHeightResizingBottom, -1, 10, 20, 100, 50},
        {NSRectSetHeightResizingBottom, 0, 10, 70, 100, 0},
        {NSRectCenterMoveToVertical, 0, 10, -25, 100, 50},
        {NSRectVerticalMove, -5, 10, 15, 100, 50},
        {NSRectHorizontalMove, 5, 15, 20, 100, 50},
        {NSRectLeftMoveTo, 0, 0, 20, 100, 50},
        {NSRectLeftResize, -150, 160, 20, -50, 50},
        {NSRectLeftResizeTo, 500, 110, 20, 0, 50},
        {NSRectLeftResizeTo, 0, 0, 20, 110, 50},
        {NSRectRightMoveTo, 200, 100, 20, 100, 50},
        {NSRectRightResize, -150, 10, 20, 0, 50},
        {NSRectRightResizeTo, 0, 10, 20, 0, 50},
        {NSRectRightResizeTo, 60, 10, 20, 50, 50},
        {NSRectSetWidthResizingLeft, 120, -10, 20, 120, 50},
        {NSRectSetWidthResizingLeft, -1, 10, 20, 100, 50},
        {NSRectSetWidthResizingRight, 0, 10, 20, 0, 50},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        NSRect r = Rect(10, 20, 100, 50);
        cases[i].change(&r, cases[i].v);
        const NSRect expected = Rect(cases[i].x, cases[i].y, cases[i].w, cases[i].h);
        EXPECT_EQ(std::tie(r.origin.x, r.origin.y, r.size.width, r.size.height),
                  std::tie(expected.origin.x, expected.origin.y, expected.size.width,
                           expected.size.height))
            << "case " << i;
        cases[i].change(nullptr, cases[i].v); // null rectangles are ignored
    }
    NSRect r = Rect(10, 20, 100, 50);
    const NSPoint origin{0, 0};
    NSRectCenterMoveTo(&r, &origin);
    EXPECT_EQ(r.origin.x, -50.0);
    EXPECT_EQ(r.origin.y, -25.0);
}

TEST(RectGeometry, DistancesAreComputedInFloat) {
    // 0.1 is not a float: moving the top to 0.1 moves by the float distance.
    NSRect r = Rect(0, 1e8, 0, 0.5);
    NSRectTopMoveTo(&r, 0);
    EXPECT_EQ(r.origin.y, 1e8 + static_cast<double>(0.0f - static_cast<float>(1e8 + 0.5)));
    EXPECT_NE(r.origin.y, -0.5);
    NSRect s = Rect(0.1, 0, 1, 1);
    NSRectRightMoveTo(&s, 3);
    EXPECT_EQ(s.origin.x, 0.1 + static_cast<double>(3.0f - static_cast<float>(1.1)));
}

} // namespace
