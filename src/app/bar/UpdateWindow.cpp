#include "app/bar/UpdateWindow.h"

#include "support/Overloaded.h"
#include "widgets/ApplicationIcon.h"
#include "widgets/Buttons.h"
#include "widgets/ShownText.h"
#include "widgets/Theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace torvo {

UpdateText updateText(const UpdateState::Any& state, std::string_view version) {
    const auto current = QStringLiteral("You have version %1.").arg(shownParagraph(version));
    return std::visit(
        Overloaded{
            [&](const UpdateState::NoFeed&) {
                return UpdateText{QStringLiteral("This copy does not look for updates"),
                                  current + QStringLiteral(" It was built without the address of a release feed; your "
                                                           "system's package manager may have a newer one."),
                                  ""};
            },
            [&](const UpdateState::NotChecked&) { return UpdateText{QStringLiteral("Not checked yet"), current, ""}; },
            [&](const UpdateState::Checking&) {
                return UpdateText{QStringLiteral("Checking for updates…"), current, ""};
            },
            [&](const UpdateState::UpToDate&) {
                return UpdateText{QStringLiteral("Torvo is up to date"), current, ""};
            },
            [&](const UpdateState::Newer& newer) {
                return UpdateText{QStringLiteral("Torvo %1 is available").arg(shownParagraph(newer.release.version)),
                                  newer.release.notes.empty() ? current
                                                              : current + "\n\n" + shownParagraph(newer.release.notes),
                                  newer.release.url};
            },
            [&](const UpdateState::Failed& failed) {
                return UpdateText{QStringLiteral("The check did not work"),
                                  shownParagraph(failed.reason) + "\n" + current, ""};
            }},
        state);
}

UpdateWindow::UpdateWindow(FeedUpdater& updater, Workspace& workspace, std::string version)
    : m_updater(updater), m_workspace(workspace), m_version(std::move(version)), m_changes(updater.onChange([this] {
          if (m_window != nullptr || m_updater.isAskedFor() ||
              std::holds_alternative<UpdateState::Newer>(m_updater.state()))
              show();
      })) {}

void UpdateWindow::make() {
    m_window = std::make_unique<QWidget>();
    m_window->setWindowTitle(QStringLiteral("Torvo Updates"));
    m_window->setWindowIcon(applicationIcon());
    auto* column = new QVBoxLayout(m_window.get());
    column->setContentsMargins(20, 20, 20, 16);
    m_title = new QLabel;
    m_detail = new QLabel;
    for (auto* label : {m_title, m_detail}) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        column->addWidget(label);
    }
    m_title->setFont(styleFont(TextStyle::headline));
    column->addStretch();
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    m_download = makeButton(QStringLiteral("Download…"));
    auto* close = makeButton(QStringLiteral("Close"));
    buttons->addWidget(m_download);
    buttons->addWidget(close);
    column->addLayout(buttons);
    QObject::connect(close, &QPushButton::clicked, m_window.get(), &QWidget::close);
    QObject::connect(m_download, &QPushButton::clicked, m_window.get(), [this] {
        m_workspace.open(updateText(m_updater.state(), m_version).address);
        m_window->close();
    });
    m_window->resize(400, 180);
}

void UpdateWindow::show() {
    const bool isNew = m_window == nullptr;
    if (isNew)
        make();
    const auto text = updateText(m_updater.state(), m_version);
    m_title->setText(text.title);
    m_detail->setText(text.detail);
    m_download->setVisible(!text.address.empty());
    if (isNew || m_updater.isAskedFor() || !text.address.empty()) {
        m_window->show();
        m_window->raise();
        m_window->activateWindow();
    }
}

} // namespace torvo
