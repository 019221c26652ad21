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

    QWidget* widget() const { return widget_; }
    NSRect frame() const { return frame_; }
    void setFrame(const NSRect& frame);
    NSRect bounds() const { return NSRect{NSPoint{}, frame_.size}; }
    void setHidden(bool hidden);
    bool isHidden() const;

    NSPoint leftBottom();
    NSPoint leftTop();
    NSPoint rightBottom();
    NSPoint rightTop();
    NSPoint center();
    void centerMoveTo(NSPoint point);
    float verticalCenter();
    void verticalCenterMoveTo(float v);
    void verticalMove(float v);
    float top();
    void topMoveTo(float v);
    void topResize(float v);
    void topResizeTo(float v);
    float bottom();
    void bottomMoveTo(float v);
    void bottomResize(float v);
    void bottomResizeTo(float v);
    float height();
    void setHeightResizingTop(float v);
    void setHeightResizingBottom(float v);
    float horizontalCenter();
    void horizontalCenterMoveTo(float v);
    void horizontalMove(float v);
    float left();
    void leftMoveTo(float v);
    void leftResize(float v);
    void leftResizeTo(float v);
    float right();
    void rightMoveTo(float v);
    void rightResize(float v);
    void rightResizeTo(float v);
    float width();
    void setWidthResizingLeft(float v);
    void setWidthResizingRight(float v);

private:
    template <typename Change, typename... Args> void Apply(Change change, Args... args);
    void PushToWidget();

    QWidget* widget_;
    View* superview_;
    std::vector<View*> subviews_;
    NSRect frame_;
};
