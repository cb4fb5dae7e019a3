#pragma once

#include <QLineEdit>

namespace torvo {

/// A field of a form. What it says while it is empty can be read like any other text: most palettes make it paler.
class FormField final : public QLineEdit {
  public:
    FormField() { applyTone(); }

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void applyTone();
};

} // namespace torvo
