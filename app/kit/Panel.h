// A floating window with a content view, as a panel.
#pragma once

#include <memory>
#include <string>

#include "app/kit/View.h"

class Panel {
public:
    // Wraps `window`, whose geometry becomes the content view's frame.
    explicit Panel(QWidget* window);
    virtual ~Panel() = default;

    View& contentView() { return *contentView_; }
    QWidget* window() const { return window_; }

    // Changes the content size; the views inside keep their distance to the top.
    void setContentSize(NSSize size);
    // The title in the window's frame.
    void setTitle(const std::string& title);
    void setFloatingPanel(bool floating);
    void setHidesOnDeactivate(bool hides);
    void center();
    void makeKeyAndOrderFront(const void* sender);
    void orderOut(const void* sender);
    void display();

private:
    QWidget* window_;
    std::unique_ptr<View> contentView_;
};
