#include "app/kit/TextField.h"

#include <QFontMetricsF>
#include <QLabel>

TextField::TextField(QLabel* label, View* superview) : View(label, superview), label_(label) {
    label_->setWordWrap(true);
    label_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
}

void TextField::setStringValue(const std::string& text) {
    label_->setText(QString::fromStdString(text));
    label_->setAccessibleName(label_->text()); // read out by screen readers
}

NSSize TextField::cellSizeForBounds(const NSRect& bounds) const {
    const QMargins margins = label_->contentsMargins();
    const double insetX = margins.left() + margins.right() + 2.0 * label_->margin();
    const double insetY = margins.top() + margins.bottom() + 2.0 * label_->margin();
    const QFontMetricsF metrics(label_->font());
    const QRectF text =
        metrics.boundingRect(QRectF(0, 0, bounds.size.width - insetX, 1e6),
                             Qt::TextWordWrap | Qt::AlignLeft | Qt::AlignTop, label_->text());
    return NSSize{text.width() + insetX, text.height() + insetY};
}
