// The question panel: a message above a default and an alternate button,
// laid out once in AlertPanel.ui and re-fitted each time it opens so that a
// message of any length and button titles of any width fit. The width stays
// as designed; the height follows the text; the buttons keep their designed
// distances to the bottom and right edges and grow to the left.
#pragma once

#include <memory>

#include "app/WindowSystem.h"
#include "app/kit/Button.h"
#include "app/kit/Panel.h"
#include "app/kit/TextField.h"

class QLabel;
class QPushButton;
class QWidget;

class AUAlert : public Panel, public AlertPanel {
public:
    // Builds the panel from AlertPanel.ui; its buttons and quit requests go
    // to `actions`. Needs a QApplication.
    static std::unique_ptr<AUAlert> LoadFromInterfaceFile(AlertActions* actions);

    // Measures the designed margins and minimum widths; called once on load.
    void awakeFromNib();

    // Fits the panel to `message` and the titles, then shows it centred.
    void openAlert(const std::string& message, const std::string& defaultTitle,
                   const std::string* alternateTitle) override;
    void setTitle(const std::string& title) override { Panel::setTitle(title); }
    // Hides the panel.
    void closeAlert() override;
    const void* defaultButton() const override { return &_defaultButton; }

    // The controls as views, for the layout and its tests.
    TextField& messageTextField() { return _messageTextField; }
    Button& defaultButtonView() { return _defaultButton; }
    Button& alternateButtonView() { return _alternateButton; }

private:
    AUAlert(QWidget* window, QLabel* message, QPushButton* defaultButton,
            QPushButton* alternateButton);

    TextField _messageTextField;
    Button _defaultButton;
    Button _alternateButton;
    // The designed distances and minimum widths, measured by awakeFromNib.
    float _buttonTop = 0;
    float _buttonBottom = 0;
    float _buttonRight = 0;
    float _buttonHorizontalSpace = 0;
    float _defaultButtonMinimumWidth = 0;
    float _alternateButtonMinimumWidth = 0;
};
