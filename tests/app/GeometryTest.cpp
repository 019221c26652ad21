#include "app/AUAppKitExtend.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

NSRect Rect(double x, double y, double w, double h) {
    return NSRect{NSPoint{x, y}, NSSize{w, h}};
}

void ExpectRect(const NSRect& r, double x, double y, double w, double h, const char* what) {
    EXPECT_DOUBLE_EQ(r.origin.x, x) << what;
    EXPECT_DOUBLE_EQ(r.origin.y, y) << what;
    EXPECT_DOUBLE_EQ(r.size.width, w) << what;
    EXPECT_DOUBLE_EQ(r.size.height, h) << what;
}

TEST(RectGeometry, ReadersOfTheDocumentedRect) {
    NSRect r = Rect(10, 20, 100, 50);
    EXPECT_EQ(NSRectTop(&r), 70.0f);
    EXPECT_EQ(NSRectRight(&r), 110.0f);
    EXPECT_EQ(NSRectBottom(&r), 20.0f);
    EXPECT_EQ(NSRectLeft(&r), 10.0f);
    EXPECT_EQ(NSRectCenter(&r).x, 60.0);
    EXPECT_EQ(NSRectCenter(&r).y, 45.0);
    EXPECT_EQ(NSRectCenterVertical(&r), 45.0f);
    EXPECT_EQ(NSRectLeftTop(&r).y, 70.0);
    EXPECT_EQ(NSRectRightBottom(&r).x, 110.0);
    EXPECT_EQ(NSRectRightTop(&r).x, 110.0);
    // Readers round to float.
    NSRect fine = Rect(0, 0.1, 0, 0);
    EXPECT_EQ(NSRectBottom(&fine), 0.1f);
    EXPECT_NE(static_cast<double>(NSRectBottom(&fine)), 0.1);
}

// Each changer on (10, 20, 100, 50), with the one-sided clamps.
TEST(RectGeometry, ChangersMoveOneEdgeAndClampOnlyTopAndRight) {
    struct Case {
        const char* what;
        std::function<void(NSRect*)> change;
        double x, y, w, h;
    };
    const Case cases[] = {
        {"topMoveTo 100", [](NSRect* r) { NSRectTopMoveTo(r, 100); }, 10, 50, 100, 50},
        {"topResize -80", [](NSRect* r) { NSRectTopResize(r, -80); }, 10, 20, 100, 0},
        {"topResize 5", [](NSRect* r) { NSRectTopResize(r, 5); }, 10, 20, 100, 55},
        {"topResizeTo below y", [](NSRect* r) { NSRectTopResizeTo(r, 5); }, 10, 20, 100, 0},
        {"topResizeTo 90", [](NSRect* r) { NSRectTopResizeTo(r, 90); }, 10, 20, 100, 70},
        {"bottomMoveTo 0", [](NSRect* r) { NSRectBottomMoveTo(r, 0); }, 10, 0, 100, 50},
        {"bottomResize -80", [](NSRect* r) { NSRectBottomResize(r, -80); }, 10, 100, 100, -30},
        {"bottomResizeTo above top", [](NSRect* r) { NSRectBottomResizeTo(r, 200); }, 10, 70, 100,
         0},
        {"bottomResizeTo 0", [](NSRect* r) { NSRectBottomResizeTo(r, 0); }, 10, 0, 100, 70},
        {"heightResizingTop 10", [](NSRect* r) { NSRectSetHeightResizingTop(r, 10); }, 10, 20, 100,
         10},
        {"heightResizingBottom -1", [](NSRect* r) { NSRectSetHeightResizingBottom(r, -1); }, 10, 20,
         100, 50},
        {"heightResizingBottom 0", [](NSRect* r) { NSRectSetHeightResizingBottom(r, 0); }, 10, 70,
         100, 0},
        {"centerMoveToVertical 0", [](NSRect* r) { NSRectCenterMoveToVertical(r, 0); }, 10, -25,
         100, 50},
        {"verticalMove -5", [](NSRect* r) { NSRectVerticalMove(r, -5); }, 10, 15, 100, 50},
        {"horizontalMove 5", [](NSRect* r) { NSRectHorizontalMove(r, 5); }, 15, 20, 100, 50},
        {"leftMoveTo 0", [](NSRect* r) { NSRectLeftMoveTo(r, 0); }, 0, 20, 100, 50},
        {"leftResize -150", [](NSRect* r) { NSRectLeftResize(r, -150); }, 160, 20, -50, 50},
        {"leftResizeTo right of right", [](NSRect* r) { NSRectLeftResizeTo(r, 500); }, 110, 20, 0,
         50},
        {"leftResizeTo 0", [](NSRect* r) { NSRectLeftResizeTo(r, 0); }, 0, 20, 110, 50},
        {"rightMoveTo 200", [](NSRect* r) { NSRectRightMoveTo(r, 200); }, 100, 20, 100, 50},
        {"rightResize -150", [](NSRect* r) { NSRectRightResize(r, -150); }, 10, 20, 0, 50},
        {"rightResizeTo left of x", [](NSRect* r) { NSRectRightResizeTo(r, 0); }, 10, 20, 0, 50},
        {"rightResizeTo 60", [](NSRect* r) { NSRectRightResizeTo(r, 60); }, 10, 20, 50, 50},
        {"widthResizingLeft 120", [](NSRect* r) { NSRectSetWidthResizingLeft(r, 120); }, -10, 20,
         120, 50},
        {"widthResizingLeft -1", [](NSRect* r) { NSRectSetWidthResizingLeft(r, -1); }, 10, 20, 100,
         50},
        {"widthResizingRight 0", [](NSRect* r) { NSRectSetWidthResizingRight(r, 0); }, 10, 20, 0,
         50},
        {"centerMoveTo (0,0)",
         [](NSRect* r) {
             const NSPoint p{0, 0};
             NSRectCenterMoveTo(r, &p);
         },
         -50, -25, 100, 50},
    };
    for (const Case& c : cases) {
        NSRect r = Rect(10, 20, 100, 50);
        c.change(&r);
        ExpectRect(r, c.x, c.y, c.w, c.h, c.what);
        c.change(nullptr); // null rectangles are ignored
    }
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
    EXPECT_EQ(NSRectTop(nullptr), 0.0f);
    EXPECT_EQ(NSRectCenter(nullptr).x, 0.0);
    EXPECT_EQ(NSRectLeftBottom(nullptr).y, 0.0);
}

} // namespace
