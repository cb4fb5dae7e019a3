#include "planning/RulesStore.h"
#include "tests/support/qt/Controls.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/SettingsDesk.h"
#include "windows/IdeasGalleryView.h"
#include "windows/OperationLogView.h"
#include "windows/OrdinaryWindow.h"
#include "windows/SettingsView.h"

#include <gmock/gmock.h>

#include <set>

namespace torvo::testing {

namespace {

/// Whether the eye, which reads row by row, meets `one` before `other`.
bool isReadBefore(const QWidget& window, const QWidget& one, const QWidget& other) {
    const QRect first(one.mapTo(&window, QPoint()), one.size());
    const QRect second(other.mapTo(&window, QPoint()), other.size());
    return first.center().y() < second.top() || (first.left() < second.left() && first.top() <= second.bottom());
}

} // namespace

TEST(WindowsTest, EveryControlIsNamedApartFromTheOthersAndTabFollowsTheEye) {
    const OffscreenApplication application;
    SettingsDesk desk;
    // Rules and operations that come and go while the windows are open.
    RulesStore rules(desk.bar.defaults);
    ASSERT_TRUE(rules.add("first", "zip"));
    desk.bar.files.file("a.txt", "text");
    OrdinaryWindow settings(kSettingsWindow, [&] { return new SettingsView(desk.settings()); });
    OrdinaryWindow setup(kSetupWindow, [&] { return new OnboardingView(desk.onboarding(), [] {}); });
    OrdinaryWindow activity(kActivityWindow, [&] { return new OperationLogView(*desk.bar.service); });
    OrdinaryWindow ideas(kIdeasWindow, [&] { return new IdeasGalleryView([](std::string_view) {}); });
    for (auto* window : {&settings, &setup, &activity, &ideas})
        window->present();
    for (const auto* trigger : {"second", "third"}) {
        type(*settings.window(), "trigger", trigger);
        type(*settings.window(), "expands to…", "zip");
        click(*settings.window(), "Add");
    }
    click(*settings.window(), "Remove first");
    for (const std::string name : {"b", "c"}) {
        desk.bar.now += std::chrono::hours(1);
        desk.bar.select({"a.txt"});
        desk.bar.modelAnswers("cp a.txt " + name, "Copy it");
        desk.bar.enter("copy");
        ASSERT_TRUE(desk.bar.settles());
        desk.bar.service->confirmPending();
        ASSERT_TRUE(desk.bar.settlesAs("Copy it"));
    }
    QApplication::processEvents();

    struct Case {
        const OrdinaryWindow& shown;
        std::size_t leastStops;
    };
    for (const auto& [shown, leastStops] : {Case{settings, 25}, Case{setup, 7}, Case{activity, 5}, Case{ideas, 23}}) {
        auto& window = *shown.window();
        const auto title = window.windowTitle().toStdString();
        const auto stops = tabStops(window);
        EXPECT_GE(stops.size(), leastStops) << title;
        std::set<std::pair<QString, QString>> names;
        for (std::size_t index = 0; index < stops.size(); ++index) {
            const auto name = nameOf(*stops[index]);
            EXPECT_FALSE(name.isEmpty()) << title << " " << index;
            EXPECT_TRUE(names.emplace(name, stops[index]->accessibleDescription()).second)
                << title << ": two are called " << name.toStdString();
            if (index == 0)
                continue;
            EXPECT_TRUE(isReadBefore(window, *stops[index - 1], *stops[index]))
                << title << ": " << nameOf(*stops[index - 1]).toStdString() << " before " << name.toStdString();
        }
        for (const auto* label : window.findChildren<QLabel*>())
            EXPECT_TRUE(label->textFormat() == Qt::PlainText || label->text() == howToUseText("⌘⇧Space"))
                << label->text().toStdString();
    }
}

TEST(WindowsTest, PickedIdeaIsHandedOverByAGalleryThatMayGo) {
    const OffscreenApplication application;
    std::string picked;
    std::unique_ptr<IdeasGalleryView> view;
    view = std::make_unique<IdeasGalleryView>([&](std::string_view input) {
        picked = input;
        view.release()->deleteLater();
    });
    std::size_t ideas = 0;
    for (const auto& group : IdeasCatalog::groups()) {
        EXPECT_TRUE(shows(*view, QString::fromUtf8(group.name.data(), static_cast<qsizetype>(group.name.size()))));
        ideas += group.ideas.size();
    }
    EXPECT_EQ(tabStops(*view).size(), ideas);
    auto* button = control<QAbstractButton>(*view, "Spaces → dashes");
    EXPECT_EQ(button->toolTip(), "replace spaces with dashes in the names");
    button->click();
    EXPECT_EQ(picked, "replace spaces with dashes in the names");
}

TEST(WindowsTest, WindowIsMadeOnceKeptWhenClosedAndCannotBeResized) {
    const OffscreenApplication application;
    int made = 0;
    OrdinaryWindow window(kActivityWindow, [&] {
        ++made;
        return new QWidget;
    });
    EXPECT_EQ(made, 0);
    window.close();
    window.present();
    auto* first = window.window();
    EXPECT_EQ(first->windowTitle(), "Torvo Activity");
    EXPECT_EQ(first->minimumSize(), kActivityWindow.size);
    EXPECT_EQ(first->maximumSize(), kActivityWindow.size);
    first->move(11, 12);
    window.close();
    EXPECT_FALSE(first->isVisible());
    window.present();
    EXPECT_TRUE(first->isVisible());
    EXPECT_EQ(window.window(), first);
    EXPECT_EQ(first->pos(), QPoint(11, 12)) << "it stays where the user left it";
    EXPECT_EQ(made, 1);
}

} // namespace torvo::testing
