#include "commandbar/view/PreviewList.h"

#include "commandbar/view/BarPresentation.h"
#include "widgets/ShownText.h"
#include "widgets/Symbol.h"

#include <QAbstractListModel>
#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

namespace torvo {

namespace {

constexpr int kGreatestHeight = 140;
constexpr int kFontSize = 11;
constexpr int kSpacing = 6;
constexpr int kPadding = 2;
constexpr int kArrowSize = 9;
/// How strongly the row that the keyboard is at stands out.
constexpr double kCurrent = 0.15;

enum Role { fromRole = Qt::UserRole, toRole };

class RowDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return {0, option.fontMetrics.height() + 2 * kPadding};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const auto name = [&](const QString& text, const QRect& place) {
            painter->drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                              option.fontMetrics.elidedText(text, Qt::ElideMiddle, place.width()));
        };
        const QRect row = option.rect;
        if (option.state & QStyle::State_HasFocus)
            painter->fillRect(row, faded(toneColor(Tone::accent, option.palette), kCurrent));
        painter->setFont(option.font);
        painter->setPen(toneColor(Tone::primary, option.palette));
        const auto to = index.data(toRole);
        if (to.isNull()) {
            name(index.data(fromRole).toString(), row);
            return;
        }
        // The two names share what the arrow leaves free.
        const int width = (row.width() - kArrowSize - 2 * kSpacing) / 2;
        name(index.data(fromRole).toString(), {row.left(), row.top(), width, row.height()});
        drawSymbol(
            *painter, Symbol::arrowRight,
            QRectF(row.left() + width + kSpacing, row.center().y() - kArrowSize / 2.0 + 0.5, kArrowSize, kArrowSize),
            toneColor(Tone::tertiary, option.palette));
        name(to.toString(), {row.right() + 1 - width, row.top(), width, row.height()});
    }
};

/// A list that is as high as its rows, up to a limit.
class RowsView final : public QListView {
  public:
    using QListView::QListView;

    [[nodiscard]] QSize sizeHint() const override {
        const int rows = model() != nullptr ? model()->rowCount() : 0;
        return {200, std::min(rows == 0 ? 0 : rows * sizeHintForRow(0), kGreatestHeight)};
    }
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, sizeHint().height()}; }

  protected:
    /// Keys that move are its own; all others are the bar's.
    void keyPressEvent(QKeyEvent* event) override {
        constexpr std::array kOwn{Qt::Key_Up,       Qt::Key_Down, Qt::Key_PageUp,
                                  Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End};
        if (std::ranges::find(kOwn, event->key()) != kOwn.end())
            QListView::keyPressEvent(event);
        else
            event->ignore();
    }
    void paintEvent(QPaintEvent* event) override {
        QListView::paintEvent(event);
        if (!hasFocus())
            return;
        QPainter painter(viewport());
        painter.setPen(toneColor(Tone::accent, palette()));
        painter.drawRect(viewport()->rect().adjusted(0, 0, -1, -1));
    }
};

/// A name in its own direction, whatever stands around it (Unicode Standard Annex 9: FSI and PDI).
QString isolated(const QString& name) {
    return QChar(0x2068) + name + QChar(0x2069);
}

} // namespace

class PreviewList::Rows final : public QAbstractListModel {
  public:
    using QAbstractListModel::QAbstractListModel;

    [[nodiscard]] bool present(const std::vector<PreviewRow>& rows) {
        const auto shown = std::min(rows.size(), kMostPreviewRows);
        if (rows.size() == m_count &&
            std::ranges::equal(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(shown), m_rows.begin(),
                               m_rows.end()))
            return false;
        beginResetModel();
        m_count = rows.size();
        m_rows.assign(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(shown));
        endResetModel();
        return true;
    }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        if (!index.isValid())
            return {};
        const auto& row = m_rows[static_cast<std::size_t>(index.row())];
        const auto from = [&] { return shownLine(lastPathComponent(row.from)); };
        const auto to = [&] { return row.to ? QVariant(shownLine(lastPathComponent(*row.to))) : QVariant(); };
        switch (role) {
        case fromRole:
            return from();
        case toRole:
            return to();
        case Qt::ToolTipRole:
            return plainToolTip(row.to ? isolated(from()) + QStringLiteral(" → ") + isolated(to().toString()) : from(),
                                Qt::LeftToRight);
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return row.to ? from() + QStringLiteral(" → ") + to().toString() : from();
        default:
            return {};
        }
    }

  private:
    std::vector<PreviewRow> m_rows;
    std::size_t m_count = 0;
};

PreviewList::PreviewList(QWidget* parent)
    : QWidget(parent),
      m_rows(new Rows(this)),
      m_list(new RowsView(this)),
      m_more(new ElidedLabel(Tone::secondary, 10, Qt::ElideRight, this)) {
    m_list->setFont(systemFont(kFontSize));
    m_list->setModel(m_rows);
    m_list->setItemDelegate(new RowDelegate(m_list));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setUniformItemSizes(true);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setFocusPolicy(Qt::TabFocus);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->setAccessibleName(QStringLiteral("Preview"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(kSpacing);
    column->addWidget(m_list);
    column->addWidget(m_more);
}

void PreviewList::present(const std::vector<PreviewRow>& rows) {
    if (!m_rows->present(rows))
        return;
    m_list->scrollToTop();
    m_list->updateGeometry();
    const auto more = moreText(rows.size(), kMostPreviewRows);
    m_more->setText(QString::fromStdString(more));
    m_more->setVisible(!more.empty());
}

} // namespace torvo
