#include "tests/support/BarJourney.h"

#include "linux/SettingsFile.h"
#include "tests/support/Eventually.h"
#include "tests/support/Program.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <utility>

namespace torvo::testing {

namespace {

/// The one whose selection can be read without a key press of its own.
constexpr FileManagerKind kFileManager{"pcmanfm-qt", "pcmanfm-qt"};
/// From the corner of the bar, in each of its forms: inside of its border, outside of its content.
constexpr int kBesideContent = 12;
constexpr int kBelowCorner = 20;

constexpr std::array<std::string_view, 9> kMenu{"Attach to Finder Windows",
                                                "Show Command Bar",
                                                "Ideas…",
                                                "About Torvo",
                                                "Activity Log…",
                                                "Setup & Permissions…",
                                                "Settings…",
                                                "Check for Updates…",
                                                "Quit Torvo"};

} // namespace

BarJourney::BarJourney() {
    model.advertise({"tiny"});
    SettingsFile settings(SettingsFile::defaultLocation());
    EXPECT_TRUE(settings.set("llm.baseURL", model.url()));
    EXPECT_TRUE(settings.set("llm.model", "tiny"));
}

void BarJourney::launch(RunningBar::FirstLaunch firstLaunch) {
    EXPECT_TRUE(std::exchange(m_isOpen, true) || session.open(kFileManager, files.url()));
    bar.emplace(session, firstLaunch);
    screen.emplace(bar->pid());
}

bool BarJourney::start() {
    launch();
    return session.desktop().eventually([&] { return bar->isShown(); });
}

void BarJourney::picture(const std::string& name) const {
    EXPECT_EQ(run({"black", (files / name).path(), "40", "30"}, {.program = "/usr/bin/vips"}).status, 0);
}

bool BarJourney::select(const std::vector<std::string>& names) {
    std::vector<std::string> paths;
    std::ranges::transform(names, std::back_inserter(paths), [&](const auto& name) { return (files / name).path(); });
    session.activate(session.window());
    session.fileManagers().select(paths);
    return session.selectionBecomes(names);
}

bool BarJourney::dismiss() const {
    DesktopSession::press("Escape");
    return screen->awaitsEnd("Command");
}

bool BarJourney::opensMenu() {
    const auto isOpen = [&] {
        session.display().dispatch();
        return bar->isKey() && bar->hasPopup();
    };
    // The bar may go and come once more while the window manager makes up its mind about who has the keyboard: then it
    // is the desktop that was clicked, whose menu has to go.
    return session.desktop().eventually([&] {
        const auto place = bar->frame();
        if (!place)
            return false;
        // Two clicks at one place may be a double click, which opens no menu.
        m_isLower = !m_isLower;
        XDesktop::input({"mousemove", std::to_string(static_cast<int>(place->x) + kBesideContent),
                         std::to_string(static_cast<int>(place->y) + kBelowCorner * (m_isLower ? 2 : 1)), "click",
                         "3"});
        if (eventually(isOpen, std::chrono::seconds(4)))
            return true;
        DesktopSession::press("Escape");
        return false;
    });
}

bool BarJourney::choose(std::string_view item) {
    const auto index = std::ranges::find(kMenu, item) - kMenu.begin();
    if (index == std::ssize(kMenu) || !opensMenu())
        return false;
    // Qt lists no popups among a program's windows: the item cannot be looked for by its name.
    std::vector<std::string> keys{"key"};
    keys.insert(keys.end(), static_cast<std::size_t>(index) + 1, "Down");
    keys.emplace_back("Return");
    XDesktop::input(keys);
    return session.desktop().eventually([&] { return !bar->hasPopup(); });
}

bool BarJourney::open(std::string_view item, std::string_view window) {
    return choose(item) && session.desktop().eventually([&] {
        const auto shown = bar->window(window);
        return shown && session.display().activeWindow() == shown && !bar->isShown();
    });
}

bool BarJourney::goesBackFrom(std::string_view window) {
    if (!session.desktop().eventually([&] { return !bar->window(window); }))
        return false;
    session.activate(session.window());
    return session.desktop().eventually([&] { return bar->isShown(); });
}

bool BarJourney::close(std::string_view window) {
    session.press("alt+F4");
    return goesBackFrom(window);
}

void BarJourney::modelPlans(std::string_view command, std::string_view explanation, std::string_view preview,
                            bool isDestructive) {
    model.reply(nlohmann::json{{"kind", "run"},
                               {"runnable", true},
                               {"command", command},
                               {"explanation", explanation},
                               {"preview", preview},
                               {"destructive", isDestructive}}
                    .dump());
}

std::vector<std::string> BarJourney::questions() const {
    std::vector<std::string> texts;
    for (const auto& request : model.requests())
        if (request.method == "POST")
            texts.push_back(nlohmann::json::parse(request.body)["messages"].back()["content"]);
    return texts;
}

bool BarJourney::logs(std::string_view outcome, std::size_t count) {
    return session.desktop().eventually([&] { return logged(outcome) >= count; });
}

} // namespace torvo::testing
