#include "app/kit/Panel.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <cmath>

Panel::Panel(QWidget* window)
    : window_(window), contentView_(std::make_unique<View>(window, nullptr)) {}

void Panel::setContentSize(NSSize size) {
    // Fixed, so the panel is not resizable by hand; set first, as it bounds resizing.
    window_->setFixedSize(static_cast<int>(std::lround(size.width)),
                          static_cast<int>(std::lround(size.height)));
    NSRect frame = contentView_->frame();
    frame.size = size;
    contentView_->setFrame(frame);
}

void Panel::setTitle(const std::string& title) {
    window_->setWindowTitle(QString::fromStdString(title));
}

void Panel::setFloatingPanel(bool floating) {
    window_->setWindowFlag(Qt::WindowStaysOnTopHint, floating);
}

void Panel::setHidesOnDeactivate(bool /*hides*/) {
    // Qt windows never hide when the application is deactivated.
}

void Panel::center() {
    const QScreen* screen =
        window_->screen() != nullptr ? window_->screen() : QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return;
    }
    QRect frame = window_->frameGeometry();
    frame.moveCenter(screen->availableGeometry().center());
    window_->move(frame.topLeft());
}

void Panel::makeKeyAndOrderFront(const void* /*sender*/) {
    window_->show();
    window_->raise();
    window_->activateWindow();
}

void Panel::orderOut(const void* /*sender*/) {
    window_->hide();
}

void Panel::display() {
    window_->repaint();
}
