#include "commandbar/view/ResultRow.h"

#include "widgets/SmallButton.h"

#include <QHBoxLayout>
#include <utility>

namespace torvo {

namespace {

constexpr int kSpacing = 6;

} // namespace

ResultRow::ResultRow(std::function<void()> undo, std::function<void()> reveal, QWidget* parent)
    : QWidget(parent), m_more(new ElidedLabel(Tone::secondary, 11, Qt::ElideNone, this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(kSpacing);
    for (auto& pill : m_pills) {
        pill = new ResultPill(this);
        row->addWidget(pill);
    }
    m_more->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    row->addWidget(m_more);
    for (auto& [label, action] : {std::pair("Undo", std::move(undo)), std::pair("Reveal", std::move(reveal))}) {
        auto* button = new SmallButton(QString::fromUtf8(label), std::nullopt, this);
        QObject::connect(button, &QPushButton::clicked, this, action);
        row->addWidget(button);
    }
    row->addStretch(1);
}

void ResultRow::present(const std::vector<FileURL>& outputs) {
    if (outputs == m_outputs)
        return;
    m_outputs = outputs;
    for (std::size_t i = 0; i < m_pills.size(); ++i) {
        if (i < outputs.size())
            m_pills[i]->present(outputs[i]);
        else
            m_pills[i]->hide();
    }
    const auto more = moreText(outputs.size(), kMostPills);
    m_more->setText(QString::fromStdString(more));
    m_more->setVisible(!more.empty());
}

} // namespace torvo
