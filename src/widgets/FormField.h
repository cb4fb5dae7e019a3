#pragma once

#include <QLineEdit>

namespace torvo {

/// A field of a form. What it says while it is empty can be read like any other text: most palettes make it paler.
class FormField final : public QLineEdit {
  public:
    FormField() {
        setTextMargins(kTextInset, 0, kTextInset, 0);
        applyTone();
    }

  protected:
    void changeEvent(QEvent* event) override;

  private:
    static constexpr int kTextInset = 3;

    void applyTone();
};

} // namespace torvo
