#pragma once

#include "assistance/Suggestion.h"
#include "commandbar/view/ChipButton.h"
#include "widgets/ScrollingRow.h"

#include <functional>
#include <string>
#include <vector>

namespace torvo {

/// The suggestions, and the clipboard where it holds something, as chips in a row that scrolls sideways.
class ChipsRow final : public QWidget {
  public:
    /// `submit` takes the command of the chip that was clicked.
    ChipsRow(std::function<void()> useClipboard, std::function<void(std::string input)> submit,
             QWidget* parent = nullptr);

    void present(const std::vector<Suggestion>& chips, bool clipboardAvailable);

  private:
    ChipButton& chip(std::size_t index);

    std::function<void(std::string input)> m_submit;
    std::vector<Suggestion> m_suggestions;
    /// The command of the chip that went down last.
    std::string m_pressed;
    ScrollingRow* m_row;
    ChipButton* m_clipboard;
    /// Kept for the next suggestions; those beyond the present ones are hidden.
    std::vector<ChipButton*> m_chips;
};

} // namespace torvo
