#include "app/kit/Button.h"

#include <QPushButton>

Button::Button(QPushButton* button, View* superview) : View(button, superview), button_(button) {}

void Button::setTitle(const std::string& title) {
    button_->setText(QString::fromStdString(title));
    button_->setAccessibleName(button_->text()); // read out by screen readers
}

std::string Button::title() const {
    return button_->text().toStdString();
}

void Button::sizeToFit() {
    NSRect fitted = frame();
    fitted.size.width = button_->sizeHint().width();
    setFrame(fitted);
}

void Button::sizeToFit(float minimumWidth) {
    sizeToFit();
    leftResize(12.0f);
    if (width() < minimumWidth) {
        setWidthResizingLeft(minimumWidth);
    }
}
