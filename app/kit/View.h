// The view layer over Qt Widgets: each view wraps one widget and keeps its
// frame as an NSRect in its superview's non-flipped coordinates (y grows
// upwards from the superview's bottom edge). A frame change is pushed to the
// widget, rounded to whole pixels. When a view's height changes, its
// subviews keep their distance to its top edge, as a flexible bottom margin
// does.
//
// The edge methods apply the free functions of app/AUAppKitExtend.h to the
// frame: readers return what the function returns, changers apply it to a
// copy and always set the frame again.
#pragma once

#include <vector>

#include "app/AUAppKitExtend.h"

class QWidget;

class View {
public:
    // Wraps `widget`; its frame is read from the widget's geometry within
    // `superview` (none for a window's content view).
    View(QWidget* widget, View* superview);
    virtual ~View() = default;
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    // The wrapped widget.
    QWidget* widget() const { return widget_; }
    // The frame in the superview's non-flipped coordinates.
    NSRect frame() const { return frame_; }
    // Sets the frame and pushes it to the widget; subviews keep their
    // distance to the top edge when the height changes.
    void setFrame(const NSRect& frame);
    // The frame's size at the origin: the view's own coordinates.
    NSRect bounds() const { return NSRect{NSPoint{}, frame_.size}; }
    // Hides or shows the widget; the frame stays.
    void setHidden(bool hidden);
    // True while the widget is hidden.
    bool isHidden() const;

    // Corners and centre of the frame (NSRectLeftBottom ... NSRectCenter).
    NSPoint leftBottom();
    NSPoint leftTop();
    NSPoint rightBottom();
    NSPoint rightTop();
    NSPoint center();
    // Moves the frame so its centre lands on `point`.
    void centerMoveTo(NSPoint point);

    // Vertical centre and move (NSRectCenterVertical, NSRectCenterMoveToVertical,
    // NSRectVerticalMove).
    float verticalCenter();
    void verticalCenterMoveTo(float v);
    void verticalMove(float v);

    // Top edge (NSRectTop ... NSRectTopResizeTo): never below the bottom.
    float top();
    void topMoveTo(float v);
    void topResize(float v);
    void topResizeTo(float v);

    // Bottom edge (NSRectBottom ... NSRectBottomResizeTo): bottomResize is
    // unchecked, bottomResizeTo stops at the top.
    float bottom();
    void bottomMoveTo(float v);
    void bottomResize(float v);
    void bottomResizeTo(float v);

    // Height, set by moving the top or the bottom edge (negative ignored).
    float height();
    void setHeightResizingTop(float v);
    void setHeightResizingBottom(float v);

    // Horizontal centre and move.
    float horizontalCenter();
    void horizontalCenterMoveTo(float v);
    void horizontalMove(float v);

    // Left edge (NSRectLeft ... NSRectLeftResizeTo): leftResize is
    // unchecked, leftResizeTo stops at the right edge.
    float left();
    void leftMoveTo(float v);
    void leftResize(float v);
    void leftResizeTo(float v);

    // Right edge (NSRectRight ... NSRectRightResizeTo): never left of the left edge.
    float right();
    void rightMoveTo(float v);
    void rightResize(float v);
    void rightResizeTo(float v);

    // Width, set by moving the left or the right edge (negative ignored).
    float width();
    void setWidthResizingLeft(float v);
    void setWidthResizingRight(float v);

private:
    // Applies a free function of AUAppKitExtend.h to a copy of the frame
    // and sets the frame again.
    template <typename Change, typename... Args> void Apply(Change change, Args... args);
    // Puts the frame on the widget, flipped to Qt's top-left origin and rounded.
    void PushToWidget();

    QWidget* widget_;
    View* superview_;
    std::vector<View*> subviews_;
    NSRect frame_;
};
