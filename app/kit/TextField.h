// A wrapping, non-editable text field as a view.
#pragma once

#include <string>

#include "app/kit/View.h"

class QLabel;

class TextField : public View {
public:
    // Wraps `label` inside `superview`.
    TextField(QLabel* label, View* superview);

    // The text shown, wrapped to the field's width; the frame stays.
    void setStringValue(const std::string& text);

    // The size the text needs when wrapped to the width of `bounds`,
    // including the field's own insets.
    NSSize cellSizeForBounds(const NSRect& bounds) const;

private:
    QLabel* label_;
};
