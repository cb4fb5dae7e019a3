#pragma once

#include "assistance/IdeasCatalog.h"
#include "widgets/AdaptiveGrid.h"

#include <QWidget>
#include <functional>
#include <string_view>

namespace torvo {

/// Example commands to pick from, in groups.
class IdeasGalleryView final : public QWidget {
  public:
    /// `onPick` takes the command text of the idea that was clicked; it may destroy the view.
    explicit IdeasGalleryView(std::function<void(std::string_view input)> onPick, const AdaptiveColumns& columns = {});

  private:
    [[nodiscard]] QWidget* makeGroup(const IdeaGroup& group, const AdaptiveColumns& columns);

    std::function<void(std::string_view input)> m_onPick;
};

} // namespace torvo
