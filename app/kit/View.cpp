#include "app/kit/View.h"

#include <QWidget>

#include <cmath>

View::View(QWidget* widget, View* superview) : widget_(widget), superview_(superview) {
    const QRect geometry = widget->geometry();
    const double superHeight =
        superview != nullptr ? superview->frame_.size.height : geometry.height();
    frame_ = NSRect{NSPoint{double(geometry.x()), superHeight - geometry.y() - geometry.height()},
                    NSSize{double(geometry.width()), double(geometry.height())}};
    if (superview == nullptr) {
        frame_.origin = NSPoint{};
    } else {
        superview->subviews_.push_back(this);
    }
}

void View::setFrame(const NSRect& frame) {
    const double grownBy = frame.size.height - frame_.size.height;
    frame_ = frame;
    for (View* subview : subviews_) {
        subview->frame_.origin.y += grownBy; // keeps its distance to our top
    }
    PushToWidget();
    for (View* subview : subviews_) {
        subview->PushToWidget();
    }
}

void View::PushToWidget() {
    const int width = static_cast<int>(std::lround(frame_.size.width));
    const int height = static_cast<int>(std::lround(frame_.size.height));
    if (superview_ == nullptr) {
        widget_->resize(width, height);
        return;
    }
    const double flippedY = superview_->frame_.size.height - frame_.origin.y - frame_.size.height;
    widget_->setGeometry(static_cast<int>(std::lround(frame_.origin.x)),
                         static_cast<int>(std::lround(flippedY)), std::max(width, 0),
                         std::max(height, 0));
}

void View::setHidden(bool hidden) {
    widget_->setVisible(!hidden);
}

bool View::isHidden() const {
    return widget_->isHidden();
}

template <typename Change, typename... Args> void View::Apply(Change change, Args... args) {
    NSRect changed = frame_;
    change(&changed, args...);
    setFrame(changed); // even when nothing changed
}

NSPoint View::leftBottom() {
    return NSRectLeftBottom(&frame_);
}
NSPoint View::leftTop() {
    return NSRectLeftTop(&frame_);
}
NSPoint View::rightBottom() {
    return NSRectRightBottom(&frame_);
}
NSPoint View::rightTop() {
    return NSRectRightTop(&frame_);
}
NSPoint View::center() {
    return NSRectCenter(&frame_);
}
void View::centerMoveTo(NSPoint point) {
    Apply(NSRectCenterMoveTo, static_cast<const NSPoint*>(&point));
}
float View::verticalCenter() {
    return static_cast<float>(center().y);
}
void View::verticalCenterMoveTo(float v) {
    centerMoveTo(NSPoint{center().x, v});
}
void View::verticalMove(float v) {
    Apply(NSRectVerticalMove, v);
}
float View::top() {
    return NSRectTop(&frame_);
}
void View::topMoveTo(float v) {
    Apply(NSRectTopMoveTo, v);
}
void View::topResize(float v) {
    Apply(NSRectTopResize, v);
}
void View::topResizeTo(float v) {
    Apply(NSRectTopResizeTo, v);
}
float View::bottom() {
    return NSRectBottom(&frame_);
}
void View::bottomMoveTo(float v) {
    Apply(NSRectBottomMoveTo, v);
}
void View::bottomResize(float v) {
    Apply(NSRectBottomResize, v);
}
void View::bottomResizeTo(float v) {
    Apply(NSRectBottomResizeTo, v);
}
float View::height() {
    return NSRectHeight(&frame_);
}
void View::setHeightResizingTop(float v) {
    Apply(NSRectSetHeightResizingTop, v);
}
void View::setHeightResizingBottom(float v) {
    Apply(NSRectSetHeightResizingBottom, v);
}
float View::horizontalCenter() {
    return static_cast<float>(center().x);
}
void View::horizontalCenterMoveTo(float v) {
    centerMoveTo(NSPoint{v, center().y});
}
void View::horizontalMove(float v) {
    Apply(NSRectHorizontalMove, v);
}
float View::left() {
    return NSRectLeft(&frame_);
}
void View::leftMoveTo(float v) {
    Apply(NSRectLeftMoveTo, v);
}
void View::leftResize(float v) {
    Apply(NSRectLeftResize, v);
}
void View::leftResizeTo(float v) {
    Apply(NSRectLeftResizeTo, v);
}
float View::right() {
    return NSRectRight(&frame_);
}
void View::rightMoveTo(float v) {
    Apply(NSRectRightMoveTo, v);
}
void View::rightResize(float v) {
    Apply(NSRectRightResize, v);
}
void View::rightResizeTo(float v) {
    Apply(NSRectRightResizeTo, v);
}
float View::width() {
    return NSRectWidth(&frame_);
}
void View::setWidthResizingLeft(float v) {
    Apply(NSRectSetWidthResizingLeft, v);
}
void View::setWidthResizingRight(float v) {
    Apply(NSRectSetWidthResizingRight, v);
}
