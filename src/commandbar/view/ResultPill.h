#pragma once

#include "support/FileURL.h"
#include "widgets/ElidedLabel.h"

#include <QMimeData>
#include <QPoint>
#include <memory>
#include <optional>

namespace torvo {

/// What a file is dragged as: its address, byte for byte.
[[nodiscard]] std::unique_ptr<QMimeData> fileMimeData(const FileURL& file);

/// A file that the last command created: its name on a green capsule, to be dragged out.
class ResultPill final : public ElidedLabel {
  public:
    explicit ResultPill(QWidget* parent = nullptr);

    void present(const FileURL& file);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    void drag();

    FileURL m_file;
    std::optional<QPoint> m_pressedAt;
};

} // namespace torvo
