#include "commandbar/view/CompactBody.h"

#include "widgets/ShownText.h"

#include <QHBoxLayout>
#include <QPainter>
#include <algorithm>
#include <utility>

namespace torvo {

namespace {

constexpr int kHeight = 22;
constexpr int kSpacing = 8;
constexpr int kLeastGap = 4;

} // namespace

CompactBody::CompactBody(std::function<void()> open, QWidget* parent)
    : QAbstractButton(parent),
      m_icon(new LeadingIcon(this)),
      m_status(new ElidedLabel(Tone::secondary, 12, Qt::ElideMiddle, this)),
      m_shortcut(new ElidedLabel(Tone::tertiary, 10, Qt::ElideNone, this)) {
    setFixedHeight(kHeight);
    setFocusPolicy(Qt::TabFocus);
    m_shortcut->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(kSpacing);
    row->addWidget(m_icon);
    row->addWidget(m_status);
    // Room of its own, which a layout gives no spacing on both sides.
    row->addItem(new QSpacerItem(kLeastGap + kSpacing, 0, QSizePolicy::Expanding));
    row->addWidget(m_shortcut);
    QObject::connect(this, &QAbstractButton::clicked, this, std::move(open));
}

void CompactBody::present(const CommandBarState& state) {
    m_icon->present(leadingIcon(state));
    m_status->setTone(statusTone(state.statusKind));
    // A question has its command below it; here is one line for both.
    std::string text(shownStatus(state));
    std::ranges::replace(text, '\n', ' ');
    const auto status = shownLine(text);
    if (status == m_status->text())
        return;
    m_status->setText(status);
    setAccessibleName(QStringLiteral("Open the command bar, ") + status);
}

void CompactBody::showShortcut(const std::string& displayName) {
    m_shortcut->setText(QString::fromStdString(displayName));
}

void CompactBody::paintEvent(QPaintEvent*) {
    if (!hasFocus())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(toneColor(Tone::accent, palette()), 2));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 5, 5);
}

} // namespace torvo
