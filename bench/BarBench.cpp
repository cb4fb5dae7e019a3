// The bar as the user meets it: how soon it is painted after a start, a summons and a key press, beside a window of
// bare xcb that does the same, and what its memory costs beside the smallest window of its toolkit. A file manager
// (with few files) is in front, as it is when the bar is used.
#include "Ratio.h"
#include "linux/SettingsFile.h"
#include "tests/support/Eventually.h"
#include "tests/support/RunningBar.h"

#include <fmt/format.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <thread>

using namespace torvo;
using namespace torvo::bench;

namespace {

constexpr double kStartGoal = 8;
constexpr double kSummonGoal = 1.6;
constexpr double kKeyGoal = 6;
constexpr double kMemoryGoal = 1.5;

/// More of them than a blinking caret has, fewer than a letter.
constexpr std::size_t kCaretPixels = 40;

constexpr xcb_keysym_t kSuper = 0xFFEB;
constexpr xcb_keysym_t kShift = 0xFFE1;
constexpr xcb_keysym_t kEscape = 0xFF1B;

/// The pixels of a window, row after row; none of one that is not on the screen.
using Picture = std::vector<std::uint32_t>;
/// All of a window, and its left end: what the bar shows there does not wait for the file manager's answer.
constexpr std::uint16_t kWhole = 0xFFFF;
constexpr std::uint16_t kLeftEnd = 32;

/// What a user would do and see, without a program between.
class Hands {
  public:
    explicit Hands(X11Connection& display) : m_display(display), m_symbols(xcb_key_symbols_alloc(display.get())) {}
    ~Hands() { xcb_key_symbols_free(m_symbols); }
    Hands(const Hands&) = delete;
    Hands& operator=(const Hands&) = delete;

    /// Presses keys one after the other and releases them in the opposite order.
    void press(const std::vector<xcb_keysym_t>& keys) {
        for (const auto key : keys)
            fake(XCB_KEY_PRESS, key);
        for (auto key = keys.rbegin(); key != keys.rend(); ++key)
            fake(XCB_KEY_RELEASE, *key);
        xcb_flush(m_display.get());
    }

    /// What a window shows, in its first columns.
    [[nodiscard]] Picture look(xcb_window_t window, std::uint16_t columns = kWhole) {
        const XcbReply<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(m_display.get(), xcb_get_geometry(m_display.get(), window), nullptr));
        if (!size)
            return {};
        const XcbReply<xcb_get_image_reply_t> image(
            xcb_get_image_reply(m_display.get(),
                                xcb_get_image(m_display.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                              std::min(size->width, columns), size->height, ~0U),
                                nullptr));
        if (!image)
            return {};
        Picture picture(static_cast<std::size_t>(xcb_get_image_data_length(image.get())) / sizeof(std::uint32_t));
        std::memcpy(picture.data(), xcb_get_image_data(image.get()), picture.size() * sizeof(std::uint32_t));
        return picture;
    }

  private:
    void fake(std::uint8_t type, xcb_keysym_t symbol) {
        const XcbReply<xcb_keycode_t> key(xcb_key_symbols_get_keycode(m_symbols, symbol));
        xcb_test_fake_input(m_display.get(), type, *key, XCB_CURRENT_TIME, m_display.root(), 0, 0, 0);
    }

    X11Connection& m_display;
    xcb_key_symbols_t* m_symbols;
};

std::size_t differences(const Picture& one, const Picture& other) {
    if (one.size() != other.size())
        return std::max(one.size(), other.size());
    std::size_t count = 0;
    for (std::size_t i = 0; i < one.size(); ++i)
        count += one[i] != other[i] ? 1U : 0U;
    return count;
}

bool isSame(const Picture& one, const Picture& other) {
    return !one.empty() && differences(one, other) <= kCaretPixels;
}

/// Seconds until the condition holds, asked without pause. What never comes to hold ends the program.
double secondsUntil(const std::function<bool()>& condition, const char* what) {
    return secondsOf([&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!condition()) {
            if (std::chrono::steady_clock::now() < end)
                continue;
            fmt::print(stderr, "BarBench: {} in vain\n", what);
            std::exit(EXIT_FAILURE);
        }
    });
}

/// One of the two programs that are compared.
struct Subject {
    std::string program;
    std::string title;
};

/// A subject that runs, with its window.
class Running {
  public:
    Running(testing::DesktopSession& session, const Subject& subject)
        : m_session(session), m_title(subject.title), m_program(subject.program, {}) {}

    [[nodiscard]] std::int32_t pid() const { return m_program.pid(); }
    [[nodiscard]] std::optional<xcb_window_t> window() const {
        auto& display = m_session.display();
        for (const auto window : display.stackedWindows())
            if (display.pid(window).value_or(pid()) == pid() &&
                (display.textProperty(window, "_NET_WM_NAME") == m_title ||
                 display.textProperty(window, "WM_NAME") == m_title))
                return window;
        return std::nullopt;
    }

  private:
    testing::DesktopSession& m_session;
    std::string m_title;
    testing::BackgroundProgram m_program;
};

/// What the window shows once nothing changes any more.
Picture settled(Hands& hands, xcb_window_t window, std::uint16_t columns = kWhole) {
    Picture last;
    for (int same = 0; same < 5;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        auto next = hands.look(window, columns);
        same = isSame(next, last) ? same + 1 : 0;
        last = std::move(next);
    }
    return last;
}

double timeToStart(testing::DesktopSession& session, Hands& hands, const Subject& subject, const Picture& wanted) {
    std::optional<Running> running;
    return secondsUntil(
        [&] {
            if (!running)
                running.emplace(session, subject);
            const auto window = running->window();
            return window && isSame(hands.look(*window, kLeftEnd), wanted);
        },
        "waited for the start");
}

double timeToSummon(testing::DesktopSession& session, Hands& hands, xcb_window_t window, const Picture& wanted) {
    hands.press({kEscape});
    (void)secondsUntil(
        [&] { return hands.look(window).empty() && session.display().activeWindow() == session.window(); },
        "pressed Escape");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    hands.press({kSuper, kShift, ' '});
    // One that is painted before it has the keyboard loses what is typed at once.
    return secondsUntil(
        [&] { return isSame(hands.look(window), wanted) && session.display().activeWindow() == window; },
        "called the window");
}

double timeToType(Hands& hands, xcb_window_t window) {
    const auto before = settled(hands, window);
    hands.press({'w'});
    return secondsUntil([&] { return differences(hands.look(window), before) > kCaretPixels; }, "typed");
}

double proportionalMemory(std::int32_t pid) {
    std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
    for (std::string word; rollup >> word;) {
        double kibibytes = 0;
        if (word == "Pss:" && rollup >> kibibytes)
            return kibibytes / 1024;
    }
    return 0;
}

Comparison inTurn(const std::function<double()>& floor, const std::function<double()>& work, int rounds) {
    std::vector<double> floors;
    std::vector<double> works;
    for (int i = 0; i < rounds; ++i) {
        floors.push_back(floor());
        works.push_back(work());
    }
    return {median(std::move(floors)), median(std::move(works))};
}

template <typename Condition>
bool comes(testing::DesktopSession& session, Condition condition) {
    return session.desktop().eventually(condition);
}

} // namespace

int main() {
    const testing::TemporaryFolder files;
    for (const char* name : {"a.png", "b.png", "c.png"})
        (void)files.file(name, "x");
    testing::DesktopSession session;
    SettingsFile settings(SettingsFile::defaultLocation());
    (void)settings.set("onboardingShown", true);
    if (!session.open({"pcmanfm-qt", "pcmanfm-qt"}, files.url()) || !session.selectsAll(3))
        return EXIT_FAILURE;
    Hands hands(session.display());
    const Subject floor{TORVO_FLOORS_DIR "/XcbWindow", "Floor"};
    const Subject bar{TORVO_BIN_DIR "/torvo-bar", "Torvo"};

    const auto painted = [&](const Subject& subject) {
        const Running first(session, subject);
        std::optional<xcb_window_t> window;
        (void)comes(session, [&] { return (window = first.window()).has_value(); });
        return settled(hands, *window, kLeftEnd);
    };
    const auto floorPainted = painted(floor);
    const auto barPainted = painted(bar);
    const auto start = [&](const Subject& subject, const Picture& wanted) {
        return [&] { return timeToStart(session, hands, subject, wanted); };
    };
    reportRatio("bar: start to painted", inTurn(start(floor, floorPainted), start(bar, barPainted), 9), kStartGoal);

    // A bar that is not docked is hidden by Esc, as the other window is.
    (void)settings.set("autoAttach", false);
    std::optional<Running> running(std::in_place, session, floor);
    const auto windowOf = [&] {
        std::optional<xcb_window_t> window;
        (void)comes(session, [&] { return (window = running->window()).has_value(); });
        return *window;
    };
    const auto measure = [&](const std::function<void()>& show) {
        show();
        const auto window = windowOf();
        const auto full = settled(hands, window);
        std::vector<double> summons;
        std::vector<double> keys;
        for (int i = 0; i < 15; ++i)
            summons.push_back(timeToSummon(session, hands, window, full));
        for (int i = 0; i < 15; ++i)
            keys.push_back(timeToType(hands, window));
        return std::pair(median(std::move(summons)), median(std::move(keys)));
    };
    const auto least = measure([] {});
    running.emplace(session, bar);
    const auto summoned = measure([&] {
        (void)testing::eventually([&] {
            hands.press({kSuper, kShift, ' '});
            return running->window().has_value();
        });
    });
    reportRatio("bar: summons to painted", Comparison{least.first, summoned.first}, kSummonGoal);
    reportRatio("bar: key press to painted", Comparison{least.second, summoned.second}, kKeyGoal);

    const double barMemory = proportionalMemory(running->pid());
    running.emplace(session, Subject{TORVO_FLOORS_DIR "/QtPanel", "Floor"});
    (void)settled(hands, windowOf());
    const double leastMemory = proportionalMemory(running->pid());
    char text[96];
    std::snprintf(text, sizeof text, "floor %.1f MiB  work %.1f MiB  ratio %6.2f", leastMemory, barMemory,
                  barMemory / leastMemory);
    printGoal("bar: memory while idle", text, barMemory / leastMemory, kMemoryGoal);
}
