#pragma once

#include "commandbar/view/BarPresentation.h"

#include <QWidget>

namespace torvo {

class ProgressRing;

/// The 16 × 16 picture at the head of the bar: the kind of the status, or the progress of what runs.
class LeadingIcon final : public QWidget {
  public:
    explicit LeadingIcon(QWidget* parent = nullptr);

    void present(const LeadingIconContent& content);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    LeadingIconContent m_content;
    ProgressRing* m_ring;
};

} // namespace torvo
