#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>
#include <optional>

namespace torvo {

/// Progress as a ring that fills, or one that turns while the end is not known.
class ProgressRing final : public QProgressBar {
  public:
    explicit ProgressRing(QWidget* parent = nullptr);

    /// The share that is done, 0 to 1; absent while it is not known.
    void setShare(std::optional<double> share);
    [[nodiscard]] std::optional<double> share() const { return m_share; }
    [[nodiscard]] bool isTurning() const { return m_timer.isActive(); }

    [[nodiscard]] QSize sizeHint() const override { return {16, 16}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

  private:
    void turnWhileSeen();

    std::optional<double> m_share;
    QBasicTimer m_timer;
    QElapsedTimer m_turning;
};

} // namespace torvo
