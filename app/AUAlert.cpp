#include "app/AUAlert.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeySequence>
#include <QShortcut>

#include "app/SystemLog.h"
#include "ui_AlertPanel.h"

namespace {

// The panel's window: a click on its close button is a quit request, which
// the application may refuse, never a close of its own.
class PanelWindow : public QWidget {
public:
    explicit PanelWindow(AlertActions* actions) : actions_(actions) {
        auto* quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
        quit->setContext(Qt::ApplicationShortcut); // the panel is the application's only window
        QObject::connect(quit, &QShortcut::activated, [this] { actions_->terminate(nullptr); });
    }

protected:
    void closeEvent(QCloseEvent* event) override {
        event->ignore();
        actions_->terminate(nullptr);
    }

private:
    AlertActions* actions_;
};

} // namespace

std::unique_ptr<AUAlert> AUAlert::LoadFromInterfaceFile(AlertActions* actions) {
    auto* window = new PanelWindow(actions);
    Ui::AlertPanel form;
    form.setupUi(window);
    std::unique_ptr<AUAlert> alert(
        new AUAlert(window, form.messageTextField, form.defaultButton, form.alternateButton));
    const void* defaultSender = &alert->_defaultButton;
    const void* alternateSender = &alert->_alternateButton;
    QObject::connect(form.defaultButton, &QPushButton::clicked,
                     [actions, defaultSender] { actions->closeAlertPanel(defaultSender); });
    QObject::connect(form.alternateButton, &QPushButton::clicked,
                     [actions, alternateSender] { actions->closeAlertPanel(alternateSender); });
    // As on this desktop: Return presses the focused button, the default
    // one when no button has the focus; Escape declines.
    for (const QKeySequence& key : {QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter)}) {
        QObject::connect(
            new QShortcut(key, window), &QShortcut::activated, form.defaultButton,
            [button = form.defaultButton] {
                auto* focused = qobject_cast<QPushButton*>(QApplication::focusWidget());
                (focused != nullptr && focused->isVisible() ? focused : button)->click();
            });
    }
    QObject::connect(new QShortcut(QKeySequence(Qt::Key_Escape), window), &QShortcut::activated,
                     form.alternateButton, [button = form.alternateButton] {
                         if (button->isVisible()) {
                             button->click();
                         }
                     });
    form.defaultButton->setFocus(); // taken when the window first becomes active
    alert->awakeFromNib();
    return alert;
}

AUAlert::AUAlert(QWidget* window, QLabel* message, QPushButton* defaultButton,
                 QPushButton* alternateButton)
    : Panel(window), _messageTextField(message, &contentView()),
      _defaultButton(defaultButton, &contentView()),
      _alternateButton(alternateButton, &contentView()) {}

void AUAlert::awakeFromNib() {
    _buttonTop = _messageTextField.bottom() - _defaultButton.top();
    _buttonBottom = _defaultButton.bottom();
    _buttonRight = contentView().width() - _defaultButton.right();
    _buttonHorizontalSpace = _defaultButton.left() - _alternateButton.right();
    _defaultButtonMinimumWidth = _defaultButton.width();
    _alternateButtonMinimumWidth = _alternateButton.width();
    setFloatingPanel(true);
    setHidesOnDeactivate(false);
}

void AUAlert::openAlert(const std::string& message, const std::string& defaultTitle,
                        const std::string* alternateTitle) {
    _messageTextField.setStringValue(message);
    const NSSize text = _messageTextField.cellSizeForBounds(_messageTextField.bounds());
    // A 5 % allowance, deliberately: a translation whose wrapped height the
    // font metrics round short still shows its last line.
    const double textHeight = text.height * 1.05;
    const NSSize content = contentView().frame().size;
    const double height = textHeight + (content.height - _messageTextField.top()) + _buttonTop +
                          _defaultButton.height() + _buttonBottom;
    setContentSize(NSSize{content.width, height});
    if (text.width > _messageTextField.bounds().size.width) {
        NSLog("<!> cellSizeForBounds returned unexpected width [%f].", text.width);
    }
    _messageTextField.setHeightResizingBottom(static_cast<float>(textHeight));

    _defaultButton.setTitle(defaultTitle);
    _defaultButton.sizeToFit(_defaultButtonMinimumWidth);
    _defaultButton.rightMoveTo(contentView().width() - _buttonRight);
    _defaultButton.bottomMoveTo(_buttonBottom);
    if (alternateTitle != nullptr) {
        _alternateButton.setHidden(false);
        _alternateButton.setTitle(*alternateTitle);
        _alternateButton.sizeToFit(_alternateButtonMinimumWidth);
        _alternateButton.rightMoveTo(_defaultButton.left() - _buttonHorizontalSpace);
        _alternateButton.bottomMoveTo(_buttonBottom);
    } else {
        _alternateButton.setHidden(true);
    }
    center();
    makeKeyAndOrderFront(nullptr);
    window()->activateWindow();
    display();
}

void AUAlert::closeAlert() {
    orderOut(nullptr);
}
