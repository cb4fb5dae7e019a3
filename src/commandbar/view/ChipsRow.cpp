#include "commandbar/view/ChipsRow.h"

#include "widgets/ShownText.h"

#include <QVBoxLayout>
#include <utility>

namespace torvo {

namespace {

constexpr int kSpacing = 6;
constexpr int kBottomPadding = 1;

} // namespace

ChipsRow::ChipsRow(std::function<void()> useClipboard, std::function<void(std::string input)> submit, QWidget* parent)
    : QWidget(parent),
      m_submit(std::move(submit)),
      m_row(new ScrollingRow(kSpacing, kBottomPadding, this)),
      m_clipboard(new ChipButton(QStringLiteral("Use clipboard"), Symbol::clipboard)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(m_row);
    m_row->addWidget(m_clipboard);
    m_clipboard->hide();
    QObject::connect(m_clipboard, &QPushButton::clicked, this, std::move(useClipboard));
}

ChipButton& ChipsRow::chip(std::size_t index) {
    while (m_chips.size() <= index) {
        const auto number = m_chips.size();
        auto* chip = new ChipButton({});
        // The suggestions may change while a chip is down: what was pressed counts, as long as it is on offer there.
        const auto input = [this, number] {
            return number < m_suggestions.size() ? std::string(m_suggestions[number].input) : std::string();
        };
        QObject::connect(chip, &QPushButton::pressed, this, [this, input] { m_pressed = input(); });
        QObject::connect(chip, &QPushButton::clicked, this, [this, input] {
            if (!m_pressed.empty() && m_pressed == input())
                m_submit(std::exchange(m_pressed, {}));
        });
        m_row->addWidget(chip);
        m_chips.push_back(chip);
    }
    return *m_chips[index];
}

void ChipsRow::present(const std::vector<Suggestion>& chips, bool clipboardAvailable) {
    if (chips == m_suggestions && clipboardAvailable != m_clipboard->isHidden())
        return;
    m_clipboard->setVisible(clipboardAvailable);
    m_suggestions = chips;
    for (std::size_t i = 0; i < chips.size(); ++i) {
        chip(i).setLabel(shownLine(chips[i].title));
        // A click runs the whole command, of which the title may be the beginning.
        explain(chip(i), chips[i].input == chips[i].title ? QString() : shownParagraph(chips[i].input));
        chip(i).setVisible(true);
    }
    for (std::size_t i = chips.size(); i < m_chips.size(); ++i)
        m_chips[i]->hide();
    m_row->settle();
    m_row->scrollToStart();
}

} // namespace torvo
