#pragma once

#include "widgets/Theme.h"

#include <QLabel>
#include <utility>
#include <vector>

namespace torvo {

/// Plain text in one of the window styles and tones. It wraps to its width, in the middle of a word where a word alone
/// is wider, and follows the palette.
class ToneLabel : public QLabel {
  public:
    explicit ToneLabel(const QString& text, TextStyle style = TextStyle::body, Tone tone = Tone::primary);

    void setTone(Tone tone);
    [[nodiscard]] Tone tone() const { return m_tone; }
    /// At most so many lines, the last one truncated at its tail; the whole text is then a tooltip. 0: no limit.
    void setMaximumLines(int count);

    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

  private:
    struct Shape {
        QSizeF size;
        bool isTruncated = false;
    };
    /// Lays the text out in that width, and draws it at `origin` when there is a painter.
    Shape layOut(qreal width, QPainter* painter = nullptr, QPointF origin = {}) const;
    /// The size of the text in that width; layouts ask for few widths again and again.
    [[nodiscard]] QSizeF measure(int width) const;
    void applyTone();

    Tone m_tone;
    int m_maximumLines = 0;
    mutable QString m_measuredText;
    mutable std::vector<std::pair<int, QSizeF>> m_measured;
};

/// A small explanation in the secondary colour.
class CaptionLabel final : public ToneLabel {
  public:
    explicit CaptionLabel(const QString& text, Tone tone = Tone::secondary)
        : ToneLabel(text, TextStyle::caption, tone) {}
};

/// What came of something, in one caption; takes no room while there is nothing to say.
class StatusCaption final : public ToneLabel {
  public:
    explicit StatusCaption(Tone tone = Tone::secondary);

    /// Shows a text, which may come from anywhere; an empty one hides the label.
    void say(std::string_view status, Tone tone);
    void say(std::string_view status) { say(status, tone()); }
};

} // namespace torvo
