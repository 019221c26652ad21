// A wrapping, non-editable text field as a view.
#pragma once

#include <string>

#include "app/kit/View.h"

class QLabel;

class TextField : public View {
public:
    TextField(QLabel* label, View* superview);

    void setStringValue(const std::string& text);

    // The size the text needs when wrapped to the width of `bounds`,
    // including the field's own insets.
    NSSize cellSizeForBounds(const NSRect& bounds) const;

private:
    QLabel* label_;
};
