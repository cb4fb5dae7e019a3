#include "screenshots/WindowPictures.h"

#include "app/bar/UpdateWindow.h"
#include "planning/RulesStore.h"
#include "tests/support/qt/SettingsDesk.h"
#include "widgets/SectionBox.h"
#include "windows/IdeasGalleryView.h"
#include "windows/OnboardingView.h"
#include "windows/OperationLogView.h"
#include "windows/OrdinaryWindow.h"
#include "windows/SettingsView.h"

#include <QApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <chrono>

namespace torvo::screenshots {

namespace {

using testing::SettingsDesk;

/// Runs a command that a model planned, and takes it as confirmed.
void run(SettingsDesk& desk, const std::vector<std::string>& names, const char* text, const char* command,
         const char* explanation, const char* preview = "") {
    desk.bar.now += std::chrono::minutes(7);
    desk.bar.select(names);
    desk.bar.modelAnswers(command, explanation, preview);
    desk.bar.enter(text);
    (void)desk.bar.settles();
    desk.bar.service->confirmPending();
    (void)desk.bar.settles();
}

void workForAWhile(SettingsDesk& desk) {
    for (const auto* name : {"IMG_2041.jpg", "IMG_2042.jpg", "IMG_2043.jpg", "report.txt"})
        desk.bar.files.file(name, "text");
    run(desk, {"report.txt"}, "a copy for Ann", "cp report.txt 'report for Ann.txt'", "Copied the report for Ann");
    run(desk, {"IMG_2041.jpg", "IMG_2042.jpg", "IMG_2043.jpg"}, "number them",
        "n=1; for f in \"$@\"; do mv -n -- \"$f\" \"${f:h}/Lisbon $n.jpg\"; n=$((n+1)); done", "Numbered the pictures",
        "n=1; for f in \"$@\"; do printf '%s\\t%s\\n' \"$f\" \"${f:h}/Lisbon $n.jpg\"; n=$((n+1)); done");
    run(desk, {"report.txt"}, "a folder for the trip", "cp report.txt backup.txt", "Made a backup of the report");
    desk.bar.service->undo(desk.bar.state().operations.front().id);
    (void)desk.bar.settles();
    run(desk, {"report.txt"}, "how long",
        "wc report.txt > 'The number of lines, words and letters of a report with a long name.txt'",
        "Counted the lines, the words and the letters of the report into a file whose name is longer than its row");
}

/// Makes a scrolling window so high that all can be seen.
void showWhole(QWidget& window) {
    const auto* bar = window.findChild<QScrollArea*>()->verticalScrollBar();
    while (bar->maximum() > 0) {
        window.setFixedHeight(window.height() + bar->maximum());
        QApplication::processEvents();
    }
    QApplication::processEvents();
}

} // namespace

void showWindows(const TakeWindow& take) {
    SettingsDesk desk;
    for (const auto* tool : {"sips", "zip", "magick", "ffmpeg", "exiftool", "ollama"})
        desk.installTool(tool);
    RulesStore rules(desk.bar.defaults);
    (void)rules.add("web", "resize to 1600 px and convert to jpg");
    (void)rules.add("tidy", "move all screenshots into a folder named Screenshots");
    workForAWhile(desk);
    desk.bar.server.advertise({kRecommendedModel});
    desk.environment.refresh();

    const auto show = [&](const WindowFrame& frame, const std::string& name, QWidget* content) {
        OrdinaryWindow window(frame, [&] { return content; });
        window.present();
        (void)desk.bar.dispatcher->runUntil([&] { return !desk.modelSetup.isWorking(); });
        // The server's port is another one each time.
        for (auto* field : content->findChildren<QLineEdit*>()) {
            const QSignalBlocker quiet(field);
            if (field->text().startsWith("http"))
                field->setText("http://127.0.0.1:11434");
        }
        // No control is marked as the one with the keyboard.
        if (auto* focused = QApplication::focusWidget())
            focused->clearFocus();
        QApplication::processEvents();
        take(name, *window.window());
        if (name == "settings") {
            showWhole(*window.window());
            take("settings-whole", *window.window());
        }
    };
    show(kSettingsWindow, "settings", new SettingsView(desk.settings()));
    show(kSetupWindow, "setup", new OnboardingView(desk.onboarding(), [] {}));
    show(kActivityWindow, "activity", new OperationLogView(*desk.bar.service));
    show(kIdeasWindow, "ideas", new IdeasGalleryView([](std::string_view) {}));

    FeedUpdater updater({"", "1.0", desk.bar.support / "updates.json"}, desk.bar.session, desk.bar.diskQueue,
                        *desk.bar.dispatcher);
    const UpdateWindow updates(updater, desk.bar.finder.workspace, "1.0");
    updater.checkForUpdates();
    for (auto* window : QApplication::topLevelWidgets()) {
        if (window->windowTitle() == QStringLiteral("Torvo Updates"))
            take("updates", *window);
    }
}

} // namespace torvo::screenshots
