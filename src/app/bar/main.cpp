#include "app/Services.h"
#include "app/bar/AppDelegate.h"
#include "app/bar/BarApplication.h"
#include "desktop/URLEvent.h"
#include "linux/RemoteControl.h"
#include "support/Text.h"
#include "widgets/AccessibleWindow.h"
#include "widgets/WindowStyle.h"

#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <malloc.h>
#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr std::string_view kHelp = R"(Torvo's command bar.

usage: torvo-bar [URL...]
       torvo-bar --help | --version

Runs in the background: the bar docks to the front window of the file manager, and
the shortcut (Super-Shift-Space, to be changed in Settings) gives it the keyboard.
A second start hands its addresses, such as torvo:?files=/path, to the first one.
See also torvo --help: toggle, drop and prefill reach the running bar.
)";

/// What a session sends at log-out, and a terminal for Ctrl-C, ends the program as "Quit Torvo" does.
class EndingSignals {
  public:
    EndingSignals() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
            return;
        writeEnd = ends[1];
        m_notifier.emplace(ends[0], QSocketNotifier::Read);
        QObject::connect(&*m_notifier, &QSocketNotifier::activated, &QApplication::quit);
        for (const int each : {SIGTERM, SIGINT, SIGHUP})
            std::signal(each, [](int /*signal*/) { (void)!::write(writeEnd, "", 1); });
    }

  private:
    static inline volatile int writeEnd = -1;
    std::optional<QSocketNotifier> m_notifier;
};

/// When the display goes away, the toolkit ends the program by exit(3), from wherever it is.
class EndingDisplay {
  public:
    explicit EndingDisplay(torvo::AppDelegate& delegate) {
        current = &delegate;
        (void)std::atexit([] {
            if (current != nullptr)
                current->endWithoutDisplay();
        });
    }
    ~EndingDisplay() { current = nullptr; }
    EndingDisplay(const EndingDisplay&) = delete;
    EndingDisplay& operator=(const EndingDisplay&) = delete;

  private:
    static inline torvo::AppDelegate* current = nullptr;
};

/// The addresses among the arguments; or what the program exits with, once it has said what there was to say.
std::expected<std::vector<std::string>, int> addressesIn(const std::vector<std::string>& arguments) {
    std::vector<std::string> addresses;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const auto& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            std::fwrite(kHelp.data(), 1, kHelp.size(), stdout);
            return std::unexpected(EXIT_SUCCESS);
        }
        if (argument == "--version") {
            std::printf("torvo-bar %s\n", TORVO_VERSION);
            return std::unexpected(EXIT_SUCCESS);
        }
        // A session manager that starts again what ran at log-out adds "-session" and its own name for the program.
        if (argument == "-session") {
            ++i;
            continue;
        }
        const auto shown = torvo::printableLine(argument);
        if (argument.starts_with('-')) {
            std::fprintf(stderr, "torvo-bar: “%s” is no option; see torvo-bar --help\n", shown.c_str());
            return std::unexpected(2);
        }
        if (!torvo::filesOfURL(argument)) {
            std::fprintf(stderr, "torvo-bar: “%s” is no torvo: address; for a file there is torvo drop FILE\n",
                         shown.c_str());
            return std::unexpected(2);
        }
        addresses.push_back(argument);
    }
    return addresses;
}

int handOver(const std::vector<std::string>& addresses) {
    const auto done = addresses.empty() ? torvo::RemoteBar::toggle() : torvo::RemoteBar::openURLs(addresses);
    if (!done) {
        std::fprintf(stderr, "torvo-bar: %s\n", done.error().description.c_str());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char** values) {
    const auto addresses = addressesIn({values + 1, values + count});
    if (!addresses)
        return addresses.error();
    auto display = torvo::X11Connection::create();
    if (display == nullptr) {
        std::fputs("torvo-bar: there is no X11 desktop here; start it in a session with $DISPLAY set\n", stderr);
        return EXIT_FAILURE;
    }
    // One place for what all threads take: after hours with large folders, places of their own held five times as much
    // free memory as was in use.
    ::mallopt(M_ARENA_MAX, 1);
    torvo::addToolsToSearchPath();
    // Places on the screen are asked of the X server, whatever else there is.
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    // The fonts' configuration takes as long to read as the toolkit takes to start, and is the same for every thread.
    std::jthread fonts([] { (void)FcInit(); });
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName("Torvo");
    QApplication::setDesktopFileName("torvo");
    int qtCount = 1;
    torvo::BarApplication application(qtCount, values);
    QApplication::setStyle(new torvo::WindowStyle);
    if (const char* file = std::getenv("TORVO_WATCH_TURNS"))
        application.watchTurns(file);
    torvo::makeWindowsAccessible();
    const EndingSignals endingSignals;
    // Whoever asks for a font before that is done reads it once more.
    fonts.join();
    torvo::AppDelegate delegate(std::move(display));
    const EndingDisplay endingDisplay(delegate);
    const auto openAll = [&](const std::vector<std::string>& given) {
        for (const auto& address : given)
            delegate.handleURLEvent(address);
    };
    // Another bar that runs already gets what this one was started for.
    const auto remote = torvo::RemoteControl::start(
        delegate.dispatcher(), {.toggle = [&] { delegate.commandBar().toggle(); },
                                .drop = [&](const auto& files) { delegate.commandBar().handleDrop(files); },
                                .prefill = [&](const auto& text) { delegate.commandBar().prefill(text); },
                                .openURLs = openAll,
                                .isShown = [&] { return delegate.isBarShown(); }});
    if (!remote && remote.error().isNameTaken)
        return handOver(*addresses);
    if (!remote)
        std::fprintf(stderr, "torvo-bar: torvo toggle and the like will not reach it: %s\n",
                     remote.error().description.c_str());
    delegate.applicationDidFinishLaunching();
    openAll(*addresses);
    return QApplication::exec();
}
