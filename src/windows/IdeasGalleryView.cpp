#include "windows/IdeasGalleryView.h"

#include "widgets/Buttons.h"
#include "widgets/SectionBox.h"
#include "widgets/ShownText.h"
#include "widgets/TabOrder.h"
#include "widgets/ToneLabel.h"

#include <QVBoxLayout>
#include <algorithm>

namespace torvo {

namespace {

constexpr int kPadding = 16;
constexpr int kItemSpacing = 10;
constexpr int kGroupSpacing = 6;
constexpr int kGroupPadding = 2;
constexpr int kLabelSize = 12;

/// Columns that suit all groups, so that the groups line up.
AdaptiveColumns commonColumns(AdaptiveColumns columns) {
    for (const auto& group : IdeasCatalog::groups()) {
        for (const auto& idea : group.ideas) {
            LeadingButton button(shownParagraph(idea.title));
            button.setFont(systemFont(kLabelSize));
            columns.minimumWidth = std::max(columns.minimumWidth, button.sizeHint().width());
        }
    }
    return columns;
}

} // namespace

IdeasGalleryView::IdeasGalleryView(std::function<void(std::string_view input)> onPick, const AdaptiveColumns& columns)
    : m_onPick(std::move(onPick)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kPadding, kPadding, 0, 0);
    column->setSpacing(kItemSpacing);
    auto* heading = new QVBoxLayout;
    heading->setContentsMargins(0, 0, kPadding, 0);
    heading->setSpacing(kItemSpacing);
    heading->addWidget(new ToneLabel("Ideas", TextStyle::title3));
    heading->addWidget(
        new CaptionLabel("Click one to drop it into the bar — review it and press Enter to run. Most work "
                         "on your current Finder selection."));
    column->addLayout(heading);
    const auto shared = commonColumns(columns);
    auto* groups = new ScrollColumn(kItemSpacing, {0, 0, kPadding, kPadding});
    for (const auto& group : IdeasCatalog::groups())
        groups->column().addWidget(makeGroup(group, shared));
    groups->column().addStretch();
    column->addWidget(groups, 1);
    orderTabs(*this);
}

QWidget* IdeasGalleryView::makeGroup(const IdeaGroup& group, const AdaptiveColumns& columns) {
    auto* box = new QWidget;
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, kGroupPadding, 0, kGroupPadding);
    column->setSpacing(kGroupSpacing);
    column->addWidget(new ToneLabel(shownParagraph(group.name), TextStyle::headline));
    auto* grid = new AdaptiveGrid(columns);
    for (const auto& idea : group.ideas) {
        auto* button = new LeadingButton(shownParagraph(idea.title));
        button->setFont(systemFont(kLabelSize));
        button->setToolTip(shownParagraph(idea.input));
        button->setAccessibleDescription(shownParagraph(idea.input));
        connect(button, &QPushButton::clicked, this, [this, input = idea.input] {
            const auto pick = m_onPick;
            pick(input);
        });
        grid->addWidget(button);
    }
    column->addLayout(grid);
    return box;
}

} // namespace torvo
