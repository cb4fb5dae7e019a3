#include "tests/support/DesktopSession.h"

#include "tests/support/Eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace torvo::testing {

bool hasAllFileManagers() {
    return std::getenv("TORVO_ALL_FILE_MANAGERS") != nullptr;
}

std::vector<FileManagerKind> fileManagerKinds() {
    std::vector<FileManagerKind> kinds{{"thunar", "Thunar"}, {"pcmanfm-qt", "pcmanfm-qt"}};
    if (hasAllFileManagers())
        kinds.insert(kinds.end(), {{"dolphin", "dolphin"}, {"nautilus", "org.gnome.Nautilus"}, {"nemo", "Nemo"}});
    return kinds;
}

DesktopSession::DesktopSession() {
    const std::pair<const char*, std::string> variables[] = {
        {"HOME", m_home.path()},
        {"XDG_CONFIG_HOME", (m_home / "config").path()},
        {"XDG_DATA_HOME", (m_home / "data").path()},
        {"XDG_CACHE_HOME", (m_home / "cache").path()},
        {"XDG_RUNTIME_DIR", (m_home / "run").path()},
        {"LANG", "C.UTF-8"},
        {"NO_AT_BRIDGE", "0"},
        // Drawing with a graphics card that is not there takes a whole processor while something turns.
        {"GSK_RENDERER", "cairo"},
        {"XDG_CURRENT_DESKTOP", ""},
    };
    for (const auto& [name, value] : variables)
        m_environment.emplace_back(name, value);
    for (const char* name : {"config", "data", "cache", "run"})
        std::filesystem::create_directories((m_home / name).path());
    std::filesystem::permissions((m_home / "run").path(), std::filesystem::perms::owner_all);
    m_desktop.emplace("1280x900x24");
    m_fileManagers = std::make_unique<FileManagers>(m_bus);
    m_fileManagers->makeAccessible();
    EXPECT_TRUE(eventually([&] { return m_fileManagers->isAccessible(); }));
}

bool DesktopSession::open(const FileManagerKind& kind, const FileURL& folder) {
    m_started.clear();
    return start(kind, {folder.path()}, folder);
}

bool DesktopSession::openAnother(const FileManagerKind& kind, const FileURL& folder) {
    // The others open one by themselves.
    if (kind.program == "thunar" || kind.program == "nemo")
        return start(kind, {folder.path()}, folder);
    return start(kind, {"--new-window", folder.path()}, folder);
}

bool DesktopSession::start(const FileManagerKind& kind, std::vector<std::string> arguments, const FileURL& folder) {
    const std::string program = "/usr/bin/" + std::string(kind.program);
    EXPECT_TRUE(std::filesystem::exists(program)) << "install it: see packages.txt and ./dev test --all";
    m_started.push_back(std::make_unique<BackgroundProgram>(program, arguments));
    const bool isShown = m_desktop->eventually([&] {
        const auto active = display().activeWindow();
        if (!active || display().windowClass(*active) != kind.windowClass)
            return false;
        m_window = *active;
        return m_fileManagers->folder(*active) == folder.path();
    });
    EXPECT_TRUE(isShown) << kind.program << " shows " << m_fileManagers->frontFolder().value_or("nothing");
    return isShown;
}

void DesktopSession::close() {
    m_started.clear();
    EXPECT_TRUE(m_desktop->eventually([&] { return m_fileManagers->processes().empty(); }));
}

bool DesktopSession::clickBesideTheItems() {
    const auto frame = m_fileManagers->frame(m_window);
    if (frame)
        XDesktop::input({"mousemove", std::to_string(static_cast<int>(frame->right()) - 60),
                         std::to_string(static_cast<int>(frame->y + frame->height) - 90), "click", "1"});
    return frame.has_value();
}

bool DesktopSession::selectsAll(std::size_t count) {
    return eventually(
        [&] {
            if (!clickBesideTheItems())
                return false;
            press("ctrl+a");
            return eventually([&] { return m_fileManagers->selection().size() == count; },
                              std::chrono::milliseconds(500));
        },
        std::chrono::seconds(60));
}

std::vector<std::string> DesktopSession::selectedNames() {
    std::vector<std::string> names;
    for (const auto& path : m_fileManagers->selection())
        names.emplace_back(FileURL(path).lastPathComponent());
    std::ranges::sort(names);
    return names;
}

bool DesktopSession::selectionBecomes(std::vector<std::string> names) {
    std::ranges::sort(names);
    std::vector<std::string> last;
    const bool became = eventually([&] { return (last = selectedNames()) == names; });
    EXPECT_EQ(last, names);
    return became;
}

} // namespace torvo::testing
