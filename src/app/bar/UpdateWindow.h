#pragma once

#include "linux/FeedUpdater.h"
#include "platform/Workspace.h"
#include "support/Observable.h"

#include <QString>
#include <QWidget>
#include <memory>
#include <string>

class QLabel;
class QPushButton;

namespace torvo {

/// What the window says about a state of the search.
struct UpdateText {
    QString title;
    QString detail;
    /// Where to get the newer version; empty when there is none to get.
    std::string address;
};
[[nodiscard]] UpdateText updateText(const UpdateState::Any& state, std::string_view version);

/// The updater's own window: comes up when the user asked, or when a newer version was found.
class UpdateWindow {
  public:
    /// All must outlive the window.
    UpdateWindow(FeedUpdater& updater, Workspace& workspace, std::string version);

  private:
    void make();
    void show();

    FeedUpdater& m_updater;
    Workspace& m_workspace;
    std::string m_version;
    /// Made when it is first needed.
    std::unique_ptr<QWidget> m_window;
    QLabel* m_title = nullptr;
    QLabel* m_detail = nullptr;
    QPushButton* m_download = nullptr;
    Subscription m_changes;
};

} // namespace torvo
