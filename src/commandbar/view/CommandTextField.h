#pragma once

#include <QLineEdit>
#include <functional>
#include <string>

namespace torvo {

/// The bar's single-line text field. It has no frame, and answers the keys that mean something to the bar itself.
class CommandTextField final : public QLineEdit {
  public:
    struct Actions {
        /// Return, with the text as it stands.
        std::function<void(std::string text)> onSubmit;
        std::function<void()> onCancel;
        /// The user edited the text.
        std::function<void(std::string text)> onChange;
        std::function<void()> onMoveUp;
        std::function<void()> onMoveDown;
    };

    explicit CommandTextField(Actions actions, QWidget* parent = nullptr);

    /// Shows a text from outside; leaves the caret alone when it is shown already.
    void showText(const std::string& text);
    /// A number other than the last one (the first is 0) gives the field the keyboard on the next turn of the main
    /// loop, with the caret at the end of the text.
    void setFocusTrigger(int trigger);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void applyColors();

    Actions m_actions;
    int m_lastFocusTrigger = 0;
};

} // namespace torvo
