#include "commandbar/view/ConfirmationRow.h"

#include "commandbar/view/BarPresentation.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

namespace torvo {

namespace {

constexpr int kRowSpacing = 6;
constexpr int kButtonSpacing = 8;

QString text(std::string_view bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

ConfirmationRow::ConfirmationRow(std::function<void()> confirm, std::function<void()> cancel, QWidget* parent)
    : QWidget(parent),
      m_preview(new PreviewList(this)),
      m_primary(new SmallButton({}, std::nullopt, this)),
      m_hint(new ElidedLabel(Tone::tertiary, 10, Qt::ElideRight, this)) {
    auto* cancelButton = new SmallButton(QStringLiteral("Cancel"), std::nullopt, this);
    QObject::connect(m_primary, &QPushButton::clicked, this, std::move(confirm));
    QObject::connect(cancelButton, &QPushButton::clicked, this, std::move(cancel));
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(kButtonSpacing);
    buttons->addWidget(m_primary);
    buttons->addWidget(cancelButton);
    buttons->addStretch(1);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(kRowSpacing);
    column->addWidget(m_preview);
    column->addLayout(buttons);
    column->addWidget(m_hint);
}

void ConfirmationRow::present(const CommandBarState& state) {
    if (!state.pending)
        return;
    const auto& rows = state.pending->rows;
    m_preview->present(rows);
    m_preview->setVisible(!rows.empty());
    const auto texts = confirmationTexts(!rows.empty(), state.pendingIsDestructive());
    m_primary->setLabel(text(texts.primary));
    m_primary->setProminent(state.statusKind == StatusKind::failure ? Tone::failure : Tone::accent);
    if (m_hint->text() != text(texts.hint))
        m_hint->setText(text(texts.hint));
}

} // namespace torvo
