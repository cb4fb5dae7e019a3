// An afternoon with the bar in a minute: commands, keys, clicks, drops and windows in any order. Whatever comes of
// them, the bar must not grow, complain, leave a program behind or lose a file.
#include "linux/ProcessTable.h"
#include "tests/support/BarJourney.h"
#include "tests/support/Eventually.h"
#include "tests/support/Memory.h"
#include "tests/support/Program.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <set>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using testing::Control;
using testing::XDesktop;

constexpr std::array kNames{"one.png", "two.png", "three.png", "note.txt", "list.txt", "täglich {1}.md"};
/// What may come of it: nothing that opens other programs or asks for passwords.
constexpr std::array kCommands{"jpg", "zip", "select all png", "select all", "select images", "list", "jpg 50%", "a"};
constexpr std::array kKeys{"Up", "Down", "Left", "Tab", "shift+Tab", "ctrl+a", "BackSpace", "space", "p", "e", "Home"};
constexpr std::array kWindows{std::pair{"Settings…", "Torvo Settings"}, std::pair{"Activity Log…", "Torvo Activity"},
                              std::pair{"Setup & Permissions…", "Torvo Setup"}, std::pair{"Ideas…", "Torvo Ideas"}};
/// The buttons of these windows that leave the shortcut, the model's address and other programs alone.
const std::set<std::string> kButtons{"Undo", "Re-run", "Clear", "Re-check", "Test Connection", "Refresh"};

constexpr auto kSoon = 3s;
/// How many steps there are between two looks at the bar.
constexpr unsigned kRest = 50;
constexpr std::size_t kMayGrow = 5'000'000;
/// Connections and threads come and go; one that each command left behind would be many more.
constexpr std::size_t kMayOpen = 10;

/// Has all folders of the test be in one of its own: letters that reach the file manager may lead it out of its folder.
struct Enclosure {
    testing::TemporaryFolder enclosure;
    testing::ScopedVariable place{"TMPDIR", enclosure.path()};
};

class RandomUseJourneyTest : private Enclosure, public testing::BarJourney {
  protected:
    template <typename Choices>
    [[nodiscard]] const auto& pick(const Choices& choices) {
        return choices[m_random() % std::size(choices)];
    }

    /// One of the things that a user does, at random.
    void step() {
        takeOver();
        comesHome();
        const auto deed = m_random() % 100;
        if (deed < 22)
            asks();
        else if (deed < 36)
            asksTheModel();
        else if (deed < 62)
            answers();
        else if (deed < 72)
            keys();
        else if (deed < 80)
            (void)did("left", [&] {
                session.press("Escape");
                return true;
            });
        else if (deed < 88)
            selects();
        else if (deed < 92)
            sends();
        else if (deed < 95)
            moves();
        else if (deed < 97)
            goesElsewhere();
        else
            looksInto(pick(kWindows));
    }

    /// Has the bar have nothing to do, and the folder be as it was; what must hold then.
    void rest() {
        ASSERT_TRUE(session.desktop().eventually([&] {
            takeOver();
            session.display().activate(session.window());
            return testing::eventually([&] { return session.display().activeWindow() == session.window(); }, 300ms);
        }));
        // Of the file manager, whose filter may have got letters that were meant for the bar.
        session.press("Escape");
        comesHome();
        const auto isIdle = [&] {
            const bool isWorking = !process_table::children(bar->pid()).empty();
            // What goes on after the bar was left ends with the next command that is cancelled.
            if (isWorking && isCalled())
                (void)enters("zip");
            if (bar->isKey())
                session.press("Escape");
            return !isWorking && !bar->isKey();
        };
        ASSERT_TRUE(session.desktop().eventually(isIdle)) << "goes on after all was cancelled: " << whatGoesOn();
        EXPECT_EQ(bar->complaints(), "");
        checkFiles();
        fill();
    }

    void begin(unsigned seed) {
        m_random.seed(seed);
        fill();
    }

    /// The windows, so that none of them is new afterwards.
    void looksIntoEach() {
        for (const auto& each : kWindows)
            looksInto(each);
    }

    /// Goes to another program, unless chance did already: it comes to that rarely.
    [[nodiscard]] bool wentElsewhere() {
        return session.desktop().eventually([&] {
            if (done("went elsewhere") == 0) {
                takeOver();
                goesElsewhere();
            }
            return done("went elsewhere") > 0;
        });
    }

    [[nodiscard]] int done(const std::string& deed) { return m_done[deed]; }

  private:
    template <typename Deed>
    bool did(const std::string& name, const Deed& deed) {
        const bool isDone = deed();
        m_done[name] += isDone ? 1 : 0;
        return isDone;
    }
    [[nodiscard]] std::string trash() const { return (session.home() / "data/Trash/files").path(); }
    [[nodiscard]] static std::vector<std::filesystem::path> listing(const std::string& folder) {
        std::error_code failure;
        const std::filesystem::directory_iterator entries(folder, failure);
        return {std::filesystem::begin(entries), std::filesystem::end(entries)};
    }

    [[nodiscard]] std::string whatGoesOn() {
        std::string text = bar->isKey() ? "the bar keeps the keyboard; " : "";
        for (const auto pid : process_table::children(bar->pid()))
            text += testing::readFile(FileURL("/proc/" + std::to_string(pid) + "/cmdline")) + "; ";
        return text;
    }
    [[nodiscard]] static std::string content(const std::filesystem::path& entry) {
        return std::filesystem::is_regular_file(entry) ? testing::readFile(FileURL(entry.string())) : "";
    }

    /// The files in the folder at the beginning.
    void fill() {
        m_originals.clear();
        for (const auto& folder : {files.path(), trash()})
            for (const auto& entry : listing(folder))
                std::filesystem::remove_all(entry);
        for (const std::string name : kNames) {
            if (name.ends_with(".png"))
                picture(name);
            else
                (void)files.file(name, "content of " + name);
            m_originals.insert(testing::readFile(files / name));
        }
    }

    /// Renamed, moved back or thrown away: what was there at the beginning still is.
    void checkFiles() {
        std::multiset<std::string> found;
        for (const auto& folder : {files.path(), trash()})
            for (const auto& entry : listing(folder))
                found.insert(content(entry));
        for (const auto& content : m_originals)
            EXPECT_GE(found.count(content), m_originals.count(content)) << "lost: " << content.substr(0, 40);
    }

    /// Whether the keyboard is where keys do what they should: with the bar or with the folder's window.
    [[nodiscard]] bool hasFront() {
        const auto front = session.display().activeWindow();
        return front && (front == bar->bar() || front == session.window());
    }
    /// Goes on from windows that came unasked: a question of the file manager, one of the bar's that was opened.
    void takeOver() {
        if (hasFront() && !bar->hasPopup())
            return;
        (void)session.desktop().eventually([&] {
            const auto front = session.display().activeWindow();
            if (bar->hasPopup())
                session.press("Escape");
            else if (front && front != bar->bar() && front != session.window())
                xcb_ewmh_request_close_window(session.display().hints(), session.display().screenNumber(), *front,
                                              XCB_CURRENT_TIME, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
            session.display().activate(session.window());
            return testing::eventually([&] { return hasFront() && !bar->hasPopup(); }, 300ms);
        });
    }

    /// Has the file manager show the folder again; what is done elsewhere would be done to other files.
    void comesHome() {
        const auto isHome = [&] { return session.fileManagers().folder(session.window()) == files.path(); };
        if (isHome())
            return;
        ASSERT_TRUE(session.desktop().eventually([&] {
            takeOver();
            session.activate(session.window());
            session.press("Escape");
            session.press("ctrl+l");
            session.press("ctrl+a");
            session.type(files.path());
            session.press("Return");
            return testing::eventually(isHome, 1s);
        }));
    }

    [[nodiscard]] bool isCalled() {
        if (!bar->isKey())
            session.press("super+shift+space");
        return testing::eventually([&] { return bar->isKey(); }, kSoon);
    }
    void asks() {
        (void)did("asked", [&] { return isCalled() && enters(pick(kCommands)); });
    }
    [[nodiscard]] bool enters(const std::string& text) {
        session.press("ctrl+a");
        XDesktop::input({"type", "--delay", "1", text});
        session.press("Return");
        return true;
    }
    void asksTheModel() {
        switch (m_random() % 6) {
        case 0:
            modelPlans(R"(ls -l "$@")", "List");
            break;
        case 1:
            modelPlans(R"(for f in "$@"; do mv -n "$f" "$f.new"; done)", "Rename",
                       R"(for f in "$@"; do printf '%s\t%s\n' "$f" "$f.new"; done)");
            break;
        case 2:
            modelPlans(R"(sort "$1" > "made $RANDOM")", "Write it", "", true);
            break;
        case 3:
            modelPlans("(sleep 5 & wait) & wait", "Take long");
            break;
        case 4:
            modelPlans("print -u2 no such luck; exit 3", "Try");
            break;
        default:
            model.queue(testing::ScriptedReply::status(500, "overloaded"));
        }
        (void)did("asked the model", [&] { return isCalled() && enters("please do it"); });
    }
    /// Presses whatever the bar has on offer.
    void answers() {
        auto controls = screen->shown("Torvo");
        std::erase_if(controls, [](const Control& each) {
            return each.node.role != AccessibleRole::pushButton || !each.has(AccessibleState::sensitive);
        });
        (void)did("answered", [&] { return !controls.empty() && screen->press(pick(controls)); });
    }
    void keys() {
        std::vector<std::string> pressed{"key"};
        for (auto i = 1 + m_random() % 5; i-- > 0;)
            pressed.emplace_back(pick(kKeys));
        (void)did("pressed keys", [&] {
            if (!isCalled())
                return false;
            XDesktop::input(pressed);
            return true;
        });
    }
    void selects() {
        std::vector<std::string> paths;
        for (const auto& entry : listing(files.path()))
            if (m_random() % 2 == 0)
                paths.push_back(entry.string());
        (void)did("selected", [&] {
            session.fileManagers().select(paths);
            return true;
        });
    }
    void sends() {
        const std::array<std::vector<std::string>, 3> messages{
            {{"toggle"}, {"prefill", "select all"}, {"drop", (files / kNames[0]).path()}}};
        const auto sent = testing::run(pick(messages), {.program = TORVO_BIN_DIR "/torvo"});
        // The shortcut does nothing while another window is in front, and so does what stands for it. What is to be
        // dropped may have gone meanwhile.
        const bool mayFail = sent.errors.ends_with("the bar shows under it\n") || !(files / kNames[0]).exists();
        EXPECT_TRUE(sent.status == 0 || mayFail) << sent.errors;
    }
    void moves() {
        const auto window = std::to_string(session.window());
        const auto some = [&](unsigned most) { return std::to_string(m_random() % most); };
        XDesktop::input({"windowmove", window, some(600), some(400)});
        XDesktop::input({"windowsize", window, std::to_string(500 + m_random() % 300), "400"});
    }
    void goesElsewhere() {
        const testing::XWindow editor(session.display(), "Editor", 4711);
        session.display().activate(editor.id());
        // A window that the file manager opens just now may take the front.
        (void)did("went elsewhere", [&] {
            return testing::eventually(
                [&] { return session.display().activeWindow() == editor.id() && !bar->isShown(); }, kSoon);
        });
    }
    void looksInto(const std::pair<const char*, const char*>& entry) {
        const auto& [item, title] = entry;
        (void)did(title, [&] {
            if (!isCalled() || !choose(item) ||
                !testing::eventually([&] { return bar->window(title).has_value(); }, kSoon))
                return false;
            for (int i = 0; i < 4; ++i)
                if (auto controls = screen->shown(title); !controls.empty())
                    changes(pick(controls));
            takeOver();
            return true;
        });
    }
    void changes(const Control& control) {
        const auto role = control.node.role;
        if (control.has(AccessibleState::sensitive) &&
            (role == AccessibleRole::checkBox ||
             (role == AccessibleRole::pushButton && kButtons.contains(control.name))))
            (void)screen->press(control);
    }

    std::mt19937 m_random;
    std::multiset<std::string> m_originals;
    std::map<std::string, int> m_done;
};

TEST_F(RandomUseJourneyTest, LeavesTheBarAsItWas) {
    const auto number = [](const char* name, unsigned otherwise) {
        const char* text = std::getenv(name);
        return text != nullptr ? static_cast<unsigned>(std::atoi(text)) : otherwise;
    };
    const auto steps = number("TORVO_USE_STEPS", 200);
    const auto seed = number("TORVO_USE_SEED", 20261124);
    SCOPED_TRACE("TORVO_USE_SEED=" + std::to_string(seed));
    begin(seed);
    ASSERT_TRUE(start());
    looksIntoEach();
    // What is made at its first use is not growth.
    const auto atHome = std::max(2 * kRest, steps / 10 / kRest * kRest);
    std::optional<testing::Footprint> before;
    for (unsigned i = 1; i <= steps && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        step();
        if (i % kRest == 0)
            rest();
        if (i == atHome)
            before = testing::footprint(bar->pid());
    }
    if (HasFailure() || !before)
        return;
    const auto after = testing::footprint(bar->pid());
    RecordProperty("bytes_before", std::to_string(before->memory));
    RecordProperty("bytes_after", std::to_string(after.memory));
    EXPECT_LE(after.memory, before->memory + kMayGrow);
    EXPECT_LE(after.descriptors, before->descriptors + kMayOpen);
    EXPECT_LE(after.threads, before->threads + kMayOpen);
    EXPECT_TRUE(wentElsewhere());
    for (const char* deed : {"asked", "asked the model", "answered", "pressed keys"})
        EXPECT_GT(done(deed), 0) << deed;
    for (const char* outcome : {"completed", "selected", "cancelled-at-confirm"})
        EXPECT_GT(logged(outcome), 0U) << outcome;
    EXPECT_EQ(bar->quit(), 0);
}

} // namespace
} // namespace torvo
