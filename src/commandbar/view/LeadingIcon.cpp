#include "commandbar/view/LeadingIcon.h"

#include "widgets/ProgressRing.h"

#include <QPainter>

namespace torvo {

namespace {

constexpr int kSize = 16;

} // namespace

LeadingIcon::LeadingIcon(QWidget* parent) : QWidget(parent), m_content(SymbolIcon{}), m_ring(new ProgressRing(this)) {
    setFixedSize(kSize, kSize);
    m_ring->hide();
}

void LeadingIcon::present(const LeadingIconContent& content) {
    if (content == m_content)
        return;
    m_content = content;
    const auto* running = std::get_if<RunningIcon>(&m_content);
    if (running != nullptr)
        m_ring->setShare(running->share);
    m_ring->setVisible(running != nullptr);
    update();
}

void LeadingIcon::paintEvent(QPaintEvent*) {
    if (const auto* icon = std::get_if<SymbolIcon>(&m_content)) {
        QPainter painter(this);
        drawSymbol(painter, icon->symbol, rect(), toneColor(icon->tone, palette()));
    }
}

} // namespace torvo
