// The clipboard of a real X server, with real programs that own it and such as misbehave: it stays the user's.
#include "linux/filemanager/ClipboardCopy.h"
#include "tests/support/Eventually.h"
#include "tests/support/Program.h"
#include "tests/support/ScriptedOwner.h"
#include "tests/support/XDesktop.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ScriptedOwner;
using Forms = ScriptedOwner::Forms;
using testing::XWindow;

constexpr const char* kText = "UTF8_STRING";
constexpr const char* kFiles = "text/uri-list";
/// More than fits into one piece.
const std::string kLongText(1'000'000, 'x');

class X11ClipboardTest : public ::testing::Test {
  protected:
    static X11Clipboard::Deadline in(std::chrono::milliseconds time) { return std::chrono::steady_clock::now() + time; }
    /// What another program reads there.
    static std::string text(const char* target = kText) {
        const auto clipboard = X11Clipboard::create();
        const auto form = clipboard->read(target, in(10s));
        return form ? form->bytes : "nothing";
    }
    std::vector<std::string> copied(const std::function<void()>& copy) { return copiedFiles(keeper, copy, in(5s)); }
    /// Whether a window of another program is still there.
    bool exists(xcb_window_t window) {
        auto* display = desktop.connection().get();
        return XcbReply<xcb_get_window_attributes_reply_t>(xcb_get_window_attributes_reply(
                   display, xcb_get_window_attributes(display, window), nullptr)) != nullptr;
    }

    testing::XDesktop desktop;
    testing::TemporaryFolder files;
    ClipboardKeeper keeper;
    ScriptedOwner fileManager{Forms{{kFiles, "file:///tmp/a\r\n"}}};
};

TEST_F(X11ClipboardTest, IsBackAfterACopy) {
    ScriptedOwner user(Forms{{kText, kLongText}, {"text/html", "<b>x</b>"}, {"refused", ""}});
    user.take();
    EXPECT_THAT(copied([&] { fileManager.take(); }), ElementsAre("/tmp/a"));
    EXPECT_FALSE(user.isOwner());
    EXPECT_TRUE(text() == kLongText);
    EXPECT_EQ(text("text/html"), "<b>x</b>");
    EXPECT_EQ(text(kFiles), "nothing") << "nothing of what was copied stays";
    // What was put back is itself saved the next time.
    EXPECT_THAT(copied([&] { fileManager.take(); }), ElementsAre("/tmp/a"));
    EXPECT_TRUE(text() == kLongText);

    ScriptedOwner picture(Forms{{"image/png", "png"}, {"image/bmp", "bmp"}, {"image/svg+xml", "svg"}});
    picture.take();
    EXPECT_THAT(copied([&] { fileManager.take(); }), ElementsAre("/tmp/a"));
    EXPECT_EQ(text("image/png"), "png");
    EXPECT_EQ(text("image/svg+xml"), "svg");
    EXPECT_EQ(text("image/bmp"), "nothing");
}

/// What cannot be saved whole is not touched at all.
TEST_F(X11ClipboardTest, IsNotTakenFromAnOwnerThatDoesNotHandOverEverything) {
    const Forms forms[] = {{{"TARGETS", std::nullopt}, {kText, "kept"}},
                           {{kText, "kept"}, {"a slow picture", std::nullopt}},
                           {{"refused", "all of it"}}};
    for (const auto& each : forms) {
        ScriptedOwner user(each);
        user.take();
        const auto began = std::chrono::steady_clock::now();
        EXPECT_THAT(copied([&] { ADD_FAILURE() << "nothing is copied"; }), IsEmpty());
        EXPECT_LT(std::chrono::steady_clock::now() - began, 2s);
        EXPECT_TRUE(user.isOwner());
    }
    ScriptedOwner user(Forms{{kText, kLongText}, {"more", "x"}});
    user.take();
    const auto clipboard = X11Clipboard::create();
    EXPECT_FALSE(clipboard->readAll(in(5s), kLongText.size()));
    EXPECT_TRUE(clipboard->readAll(in(5s), kLongText.size() + 1));
    keeper.keep({{kText, kText, 8, kLongText}});
    EXPECT_FALSE(clipboard->readAll(in(5s), kLongText.size() - 1)) << "in pieces";
    EXPECT_TRUE(clipboard->readAll(in(5s), kLongText.size())) << "the rest of the pieces is taken first";
}

/// A program ends, and takes along what is on the clipboard, when it hands something to a window that has gone.
TEST_F(X11ClipboardTest, SurvivesThatItsOwnerHangs) {
    const auto file = files.file("text", "the user's");
    const testing::BackgroundProgram user("/usr/bin/xclip", {"-quiet", "-selection", "clipboard", file.path()});
    ASSERT_TRUE(testing::eventually([&] { return text() == "the user's"; }));
    ASSERT_EQ(::kill(user.pid(), SIGSTOP), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(copied([&] { ADD_FAILURE() << "nothing is copied"; }), IsEmpty());
    ASSERT_EQ(::kill(user.pid(), SIGCONT), 0);
    EXPECT_EQ(text(), "the user's");
    EXPECT_THAT(copied([&] { fileManager.take(); }), ElementsAre("/tmp/a"));
    EXPECT_EQ(text(), "the user's");

    // Also when this program ends meanwhile.
    const testing::BackgroundProgram again("/usr/bin/xclip", {"-quiet", "-selection", "clipboard", file.path()});
    const auto owner = X11Clipboard::create();
    const auto kept = owner->owner();
    ASSERT_TRUE(testing::eventually([&] { return owner->owner() != kept && text() == "the user's"; }));
    ASSERT_EQ(::kill(again.pid(), SIGSTOP), 0);
    std::optional<ClipboardKeeper> ending(std::in_place);
    EXPECT_THAT(copiedFiles(*ending, [&] { ADD_FAILURE() << "nothing is copied"; }, in(5s)), IsEmpty());
    ending->leaveBehind();
    ending.reset();
    ASSERT_EQ(::kill(again.pid(), SIGCONT), 0);
    EXPECT_EQ(text(), "the user's");
}

TEST_F(X11ClipboardTest, IsBackAfterACopyThatComesLate) {
    ScriptedOwner user(Forms{{kText, "first"}});
    user.take();
    const XWindow window(fileManager.connection(), "Thunar", 4711);
    ASSERT_TRUE(desktop.eventually([&] { return !desktop.connection().windowClass(window.id()).empty(); }));
    ASSERT_TRUE(desktop.eventually([&] {
        const auto all = desktop.connection().stackedWindows();
        return std::ranges::find(all, window.id()) != all.end();
    }));
    EXPECT_THAT(copied([] {}), IsEmpty()) << "nothing was copied in time";
    fileManager.take();
    EXPECT_TRUE(testing::eventually([] { return text() == "first"; }));
    // What the user copies meanwhile is what the next one takes the place of.
    EXPECT_THAT(copied([] {}), IsEmpty());
    ScriptedOwner second(Forms{{kText, "second"}});
    second.take();
    EXPECT_TRUE(testing::eventually([&] { return second.asked().size() >= 2; }));
    EXPECT_TRUE(second.isOwner());
    EXPECT_TRUE(testing::eventually([&] {
        fileManager.take();
        return testing::eventually([] { return text() == "second"; }, 500ms);
    }));
    // The next question finds what is the user's, too.
    EXPECT_THAT(copied([&] { fileManager.take(); }), ElementsAre("/tmp/a"));
    EXPECT_EQ(text(), "second");
    // A program that ends leaves that to another process as well.
    EXPECT_THAT(copied([] {}), IsEmpty());
    keeper.leaveBehind();
    fileManager.take();
    EXPECT_TRUE(testing::eventually([] { return text() == "second"; }));
}

/// Late is only what nobody but this program can have asked for.
TEST_F(X11ClipboardTest, KeepsWhatTheUserCopiesAfterwards) {
    for (const bool isFileManager : {true, false}) {
        std::optional<ClipboardKeeper> own(std::in_place);
        ScriptedOwner user(Forms{{kText, "first"}});
        user.take();
        ScriptedOwner copier(Forms{{kFiles, "file:///tmp/b\r\n"}});
        XWindow window(copier.connection(), isFileManager ? "Thunar" : "Terminal", 4711);
        ASSERT_TRUE(desktop.eventually([&] {
            const auto all = desktop.connection().stackedWindows();
            return std::ranges::find(all, window.id()) != all.end();
        }));
        EXPECT_THAT(copiedFiles(*own, [] {}, in(5s)), IsEmpty());
        // The toolkit notes when a key was pressed in a window.
        if (isFileManager)
            window.setProperty("_NET_WM_USER_TIME", {X11Clipboard::create()->serverTime()}, XCB_ATOM_CARDINAL);
        copier.take();
        // What has happened is dealt with before the end.
        own.reset();
        EXPECT_TRUE(copier.isOwner()) << isFileManager;
    }
}

TEST_F(X11ClipboardTest, OutlivesTheProgramThatKeepsIt) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    keeper.keep({{kText, kText, 8, kLongText}});
    keeper.leaveBehind();
    EXPECT_TRUE(text() == kLongText);
    writeEnd.reset();
    pollfd polled{readEnd.get(), POLLIN, 0};
    EXPECT_TRUE(testing::eventually([&] { return ::poll(&polled, 1, 0) == 1; }))
        << "whoever waits for the program's end need not wait for this one's";
    const auto clipboard = X11Clipboard::create();
    const auto left = clipboard->owner();
    EXPECT_TRUE(exists(left));
    ScriptedOwner next(Forms{{kText, "next"}});
    next.take();
    EXPECT_TRUE(testing::eventually([&] { return !exists(left); })) << "the process ends with its purpose";
    EXPECT_EQ(text(), "next");
}

/// Somebody who fetches and then does not go on keeps the process at work no longer than there is a purpose.
TEST_F(X11ClipboardTest, EndsThoughARequestorDiesOrStopsFetching) {
    ClipboardKeeper impatient(50ms);
    for (auto* each : {&keeper, &impatient}) {
        each->keep({{kText, kText, 8, kLongText}});
        each->leaveBehind();
        auto requestor = X11Connection::create();
        auto* connection = requestor->get();
        const XWindow window(*requestor, "requestor", 1);
        const auto clipboard = X11Clipboard::create();
        const auto left = clipboard->owner();
        const auto atom = [&](const char* name) { return testing::atomOf(*requestor, name); };
        const auto property = atom("TO_HERE");
        xcb_convert_selection(connection, window.id(), atom("CLIPBOARD"), atom(kText), property, XCB_CURRENT_TIME);
        ASSERT_TRUE(testing::eventually([&] {
            const auto cookie = xcb_get_property(connection, 0, window.id(), property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
            const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
            return reply && reply->type == atom("INCR");
        }));
        ScriptedOwner next(Forms{{kText, "next"}});
        next.take();
        if (each == &keeper) {
            EXPECT_TRUE(exists(left)) << "it still hands over";
            xcb_destroy_window(connection, window.id());
            xcb_flush(connection);
        }
        EXPECT_TRUE(testing::eventually([&] { return !exists(left); }, 5s));
    }
}

TEST_F(X11ClipboardTest, TellsSinceWhenItIsKeptAndHandsOverSeveralFormsAtOnce) {
    const auto clipboard = X11Clipboard::create();
    const auto before = clipboard->serverTime();
    keeper.keep({{kText, kText, 8, "text"}, {"text/html", "text/html", 8, "<b>"}});
    const auto time = clipboard->read("TIMESTAMP", in(5s));
    ASSERT_TRUE(time);
    EXPECT_EQ(time->type, "INTEGER");
    ASSERT_EQ(time->bytes.size(), 4U);
    const auto stamp = *reinterpret_cast<const std::uint32_t*>(time->bytes.data());
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, clipboard->serverTime());

    auto& display = desktop.connection();
    const auto atom = [&](const char* name) { return testing::atomOf(display, name); };
    XWindow window(display, "requestor", 1);
    window.setProperty("PAIRS", {atom(kText), atom("P1"), atom("image/png"), atom("P2"), atom("text/html"), atom("P3")},
                       atom("ATOM_PAIR"));
    xcb_convert_selection(display.get(), window.id(), atom("CLIPBOARD"), atom("MULTIPLE"), atom("PAIRS"),
                          XCB_CURRENT_TIME);
    EXPECT_TRUE(desktop.eventually([&] { return display.textProperty(window.id(), "P3") == "<b>"; }));
    EXPECT_EQ(display.textProperty(window.id(), "P1"), "text");
    const auto pairs = [&]() -> std::vector<std::uint32_t> {
        const auto cookie = xcb_get_property(display.get(), 0, window.id(), atom("PAIRS"), atom("ATOM_PAIR"), 0, 6);
        const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(display.get(), cookie, nullptr));
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
        return {first, first + reply->value_len};
    };
    const std::vector<std::uint32_t> struckOut{atom(kText),   atom("P1"),        atom("image/png"),
                                               XCB_ATOM_NONE, atom("text/html"), atom("P3")};
    EXPECT_TRUE(testing::eventually([&] { return pairs() == struckOut; })) << "what is not there is struck out";
}

} // namespace
} // namespace torvo
