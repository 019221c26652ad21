// A floating window with a content view, as a panel: the top-level widget
// of the alert, whose geometry the content view's frame holds.
#pragma once

#include <memory>
#include <string>

#include "app/kit/View.h"

class Panel {
public:
    // Wraps `window`, whose geometry becomes the content view's frame.
    explicit Panel(QWidget* window);
    virtual ~Panel() = default;

    // The view of the whole window area, in which the controls sit.
    View& contentView() { return *contentView_; }
    // The top-level widget.
    QWidget* window() const { return window_; }

    // Changes the content size; the views inside keep their distance to the top.
    void setContentSize(NSSize size);
    // The title in the window's frame.
    void setTitle(const std::string& title);
    // Keeps the window above others while `floating`.
    void setFloatingPanel(bool floating);
    // Accepted and ignored: Qt windows never hide when the app is deactivated.
    void setHidesOnDeactivate(bool hides);
    // Centres the window on its screen.
    void center();
    // Shows the window in front, with the keyboard focus.
    void makeKeyAndOrderFront(const void* sender);
    // Hides the window.
    void orderOut(const void* sender);
    // Repaints the window at once.
    void display();

private:
    QWidget* window_; // owned by whoever made the panel
    std::unique_ptr<View> contentView_;
};
