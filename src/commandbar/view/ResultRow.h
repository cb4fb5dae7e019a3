#pragma once

#include "commandbar/view/BarPresentation.h"
#include "commandbar/view/ResultPill.h"

#include <QWidget>
#include <array>
#include <functional>
#include <vector>

namespace torvo {

/// The files that the last command created, and what can be done with them.
class ResultRow final : public QWidget {
  public:
    ResultRow(std::function<void()> undo, std::function<void()> reveal, QWidget* parent = nullptr);

    void present(const std::vector<FileURL>& outputs);

  private:
    std::vector<FileURL> m_outputs;
    std::array<ResultPill*, kMostPills> m_pills{};
    ElidedLabel* m_more;
};

} // namespace torvo
