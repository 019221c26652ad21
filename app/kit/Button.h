// A push button as a view.
#pragma once

#include <string>

#include "app/kit/View.h"

class QPushButton;

class Button : public View {
public:
    // Wraps `button` inside `superview`.
    Button(QPushButton* button, View* superview);

    // The text on the button; the size stays until sizeToFit.
    void setTitle(const std::string& title);
    std::string title() const;

    // Fits the width to the title; the left edge stays.
    void sizeToFit();

    // Fits to the title, widens by 12 points to the left, and then to at
    // least `minimumWidth`, again to the left: the right edge never moves.
    void sizeToFit(float minimumWidth);

private:
    QPushButton* button_;
};
