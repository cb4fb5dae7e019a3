// The real program and the bar's end of the remote control, on a real bus.
#include "linux/RemoteControl.h"
#include "tests/support/Eventually.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/Program.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <string_view>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Arguments = std::vector<std::string>;
using Kind = RemoteBar::Failure::Kind;

class RemoteCommandTest : public ::testing::Test {
  protected:
    /// Runs a program to its end while the bar takes orders.
    [[nodiscard]] testing::Ran run(const Arguments& arguments, const testing::RunSettings& settings) {
        return dispatcher.answering([&] { return testing::run(arguments, settings); });
    }
    [[nodiscard]] testing::Ran torvo(const Arguments& arguments, const std::string& input = "") {
        return run(
            arguments,
            {.program = TORVO_BIN_DIR "/torvo", .folder = work.path(), .input = home.file("input", input).path()});
    }

    testing::PrivateBus bus;
    testing::TemporaryFolder work;
    testing::TemporaryFolder home;
    testing::ManualDispatcher dispatcher;
    std::vector<std::string> done;
    bool isShown = true;
    RemoteControlActions actions{.toggle = [this] { done.emplace_back("toggle"); },
                                 .drop =
                                     [this](const std::vector<FileURL>& files) {
                                         for (const auto& file : files)
                                             done.push_back(file.path());
                                     },
                                 .prefill = [this](const std::string& text) { done.push_back(text); },
                                 .openURLs =
                                     [this](const std::vector<std::string>& addresses) {
                                         done.insert(done.end(), addresses.begin(), addresses.end());
                                     },
                                 .isShown = [this] { return isShown; }};
};

TEST_F(RemoteCommandTest, ReachesTheRunningBar) {
    const auto first = work.file("a b.png").path();
    const auto second = work.file("\xFF\n.png").path();
    const auto control = RemoteControl::start(dispatcher, actions);
    ASSERT_TRUE(control.has_value());
    struct Row {
        Arguments arguments;
        std::string input;
        std::vector<std::string> done;
    };
    const Row rows[] = {
        {{"toggle"}, "", {"toggle"}},
        {{"drop", "a b.png", second}, "", {first, second}},
        {{"drop", "./x/../a b.png", "--files-from", "-", "-0"}, "\xFF\n.png", {first, second}},
        {{"prefill", "rename “these”"}, "", {"rename “these”"}},
        {{"prefill", "[jpg]"}, "", {"[jpg]"}},
        {{"prefill", ""}, "", {""}},
    };
    (void)work.folder("x");
    for (const auto& row : rows) {
        done.clear();
        const auto ran = torvo(row.arguments, row.input);
        EXPECT_EQ(ran.status, 0) << ran.errors;
        EXPECT_EQ(ran.output + ran.errors, "");
        EXPECT_EQ(done, row.done) << row.arguments.front();
    }
}

TEST_F(RemoteCommandTest, SaysWhenTheBarIsNotShown) {
    (void)work.file("a.png");
    const auto control = RemoteControl::start(dispatcher, actions);
    ASSERT_TRUE(control.has_value());
    isShown = false;
    const std::pair<Arguments, std::string> rows[] = {
        {{"toggle"}, "bring a window of a file manager to the front"},
        {{"drop", "a.png"}, "open a window of a file manager"},
        {{"prefill", "jpg"}, "open a window of a file manager"},
    };
    for (const auto& [arguments, advice] : rows) {
        const auto ran = torvo(arguments);
        EXPECT_EQ(ran.status, 1);
        EXPECT_EQ(ran.errors, "torvo: " + advice + " first: the bar shows under it\n");
    }
    EXPECT_EQ(done.size(), 3U) << "they were asked for all the same";
}

TEST_F(RemoteCommandTest, SaysInOneLineWhatIsWrong) {
    (void)work.file("a.png");
    struct Row {
        Arguments arguments;
        int status;
        const char* error;
    };
    const testing::ScopedVariable noDisplay("DISPLAY", std::nullopt);
    constexpr const char* noDesktop =
        "torvo: Torvo is not running, and there is no X11 desktop here to start torvo-bar on\n";
    const Row rows[] = {
        {{"toggle"}, 1, noDesktop},
        {{"drop", "a.png"}, 1, noDesktop},
        {{"prefill", "jpg"}, 1, noDesktop},
        {{"drop"}, 2, "torvo: which files? See torvo drop --help\n"},
        {{"drop", ""}, 2, "torvo: “” names no file\n"},
        {{"drop", "/missing\x1B.png"}, 2, "torvo: there is no /missing\uFFFD.png\n"},
        {{"prefill", "\xFF"}, 2, "torvo: the text must be UTF-8\n"},
    };
    const auto check = [&](const Row& row) {
        const auto ran = torvo(row.arguments);
        EXPECT_EQ(ran.status, row.status);
        EXPECT_EQ(ran.output, "");
        EXPECT_EQ(ran.errors, row.error);
    };
    for (const auto& row : rows)
        check(row);
    EXPECT_EQ(torvo({"toggle", "x"}).status, 2);
    EXPECT_EQ(torvo({"prefill"}).status, 2);
    EXPECT_THAT(torvo({"drop", "--help"}).output, HasSubstr("torvo drop [OPTIONS]"));
    const testing::ScopedVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    EXPECT_THAT(torvo({"toggle"}).errors, ::testing::StartsWith("torvo: there is no session bus: "));
}

TEST_F(RemoteCommandTest, SaysSoWhereTheBarIsNotInstalled) {
    const testing::XDesktop desktop;
    const auto alone = work / "torvo";
    std::filesystem::copy_file(TORVO_BIN_DIR "/torvo", alone.path());
    const auto ran = run({"toggle"}, {.program = alone.path()});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, HasSubstr((work / "torvo-bar").path()));
}

/// What the program's own end cannot be asked for.
TEST_F(RemoteCommandTest, HandsOverAddressesAndThousandsOfFiles) {
    EXPECT_EQ(RemoteBar::toggle().error().kind, Kind::notRunning);
    EXPECT_FALSE(RemoteBar::waitUntilRunning(std::chrono::milliseconds(1)));
    const auto control = RemoteControl::start(dispatcher, actions);
    ASSERT_TRUE(control.has_value());
    EXPECT_TRUE(RemoteBar::waitUntilRunning(std::chrono::seconds(10)));
    EXPECT_TRUE(dispatcher.answering([] { return RemoteBar::openURLs({"torvo:?files=/a", "torvo:?files=/\xFF ü"}); }));
    EXPECT_THAT(done, ElementsAre("torvo:?files=/a", "torvo:?files=/%FF %C3%BC"));
    done.clear();
    const std::vector<FileURL> many(10000, FileURL("/some/folder/with/a/name.png"));
    EXPECT_TRUE(dispatcher.answering([&] { return RemoteBar::drop(many); })) << "they are one call";
    EXPECT_EQ(done.size(), many.size());
}

TEST_F(RemoteCommandTest, RefusesWhatIsNoAbsolutePath) {
    const auto control = RemoteControl::start(dispatcher, actions);
    ASSERT_TRUE(control.has_value());
    const auto connection = DBusConnection::session();
    ASSERT_TRUE(connection.has_value());
    const auto call = [&](const char* arguments) {
        return dispatcher.answering([&] {
            return (*connection)
                ->call({"org.torvo.Torvo", "/org/torvo/Torvo", "org.torvo.Torvo", "Drop"},
                       g_variant_new_parsed(arguments), "(b)", std::chrono::seconds(10));
        });
    };
    for (const char* arguments : {"([b'/a', b'b'],)", "([b''],)", "([@ay []],)", "([[byte 0x2f, 0x00, 0x61]],)"})
        EXPECT_THAT(call(arguments).error(), HasSubstr("absolute")) << arguments;
    EXPECT_FALSE(call("('/a',)").has_value()) << "a text is no list of paths";
    EXPECT_TRUE(call("([[byte 0x2f, 0x61]],)").has_value()) << "a NUL byte at the end is not needed";
    EXPECT_THAT(done, ElementsAre("/a"));
}

TEST_F(RemoteCommandTest, IsOnlyOneAtATimeAndSilentOnceItIsGone) {
    auto first = RemoteControl::start(dispatcher, actions);
    ASSERT_TRUE(first.has_value());
    const auto second = RemoteControl::start(dispatcher, actions);
    ASSERT_FALSE(second.has_value());
    EXPECT_TRUE(second.error().isNameTaken);
    EXPECT_TRUE(dispatcher.answering([] { return RemoteBar::toggle(); })) << "the first one still answers";
    done.clear();
    // An order that comes while it goes is not carried out, and that is told.
    auto late = std::async(std::launch::async, [] { return RemoteBar::toggle(); });
    EXPECT_TRUE(testing::eventually([&] { return dispatcher.isPending(); }));
    first->reset();
    dispatcher.runPending();
    EXPECT_EQ(late.get().error().kind, Kind::unreachable);
    EXPECT_THAT(done, IsEmpty());
    EXPECT_EQ(RemoteBar::toggle().error().kind, Kind::notRunning);
    EXPECT_TRUE(RemoteControl::start(dispatcher, actions).has_value()) << "the name is free again";

    const testing::ScopedVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const auto without = RemoteControl::start(dispatcher, actions);
    ASSERT_FALSE(without.has_value());
    EXPECT_FALSE(without.error().isNameTaken);
    EXPECT_EQ(RemoteBar::toggle().error().kind, Kind::unreachable);
}

/// What the element <command> of Thunar's file says.
std::string thunarCommand(const std::string& text) {
    std::string command;
    const auto read = [](GMarkupParseContext* context, const char* content, gsize size, gpointer result, GError**) {
        if (std::string_view(g_markup_parse_context_get_element(context)) == "command")
            static_cast<std::string*>(result)->assign(content, size);
    };
    const GMarkupParser parser{nullptr, nullptr, read, nullptr, nullptr};
    auto* context = g_markup_parse_context_new(&parser, G_MARKUP_TREAT_CDATA_AS_TEXT, &command, nullptr);
    EXPECT_TRUE(g_markup_parse_context_parse(context, text.data(), static_cast<gssize>(text.size()), nullptr));
    EXPECT_TRUE(g_markup_parse_context_end_parse(context, nullptr));
    g_markup_parse_context_free(context);
    return command;
}

/// What the key Exec says in a group of a file.
std::string execOf(const std::string& file, const char* group) {
    const GLibPointer<GKeyFile> keys(g_key_file_new());
    EXPECT_TRUE(g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, nullptr)) << file;
    const GLibPointer<char> exec(g_key_file_get_string(keys.get(), group, "Exec", nullptr));
    return exec == nullptr ? "" : exec.get();
}

TEST_F(RemoteCommandTest, IsWhatTheMenusOfFileManagersCall) {
    const std::string folder = TORVO_PACKAGING_DIR "/file-managers";
    const auto control = RemoteControl::start(dispatcher, actions);
    ASSERT_TRUE(control.has_value());
    const auto odd = work.file("-a \xFF'.png").path();
    const auto plain = work.file("b.png").path();
    const testing::ScopedVariable path("PATH", std::string(TORVO_BIN_DIR) + ":" + std::getenv("PATH"));
    const std::string commands[] = {
        thunarCommand(testing::readFile(FileURL(folder + "/thunar/uca.xml"))),
        execOf(folder + "/pcmanfm-qt/torvo.desktop", "X-Action-Profile drop"),
        execOf(folder + "/dolphin/torvo.desktop", "Desktop Action drop"),
        execOf(folder + "/nemo/torvo.nemo_action", "Nemo Action"),
        folder + "/nautilus/Torvo %F",
    };
    for (auto command : commands) {
        // The file manager puts the names in the place of %F; Nautilus gives them without the folder.
        const auto place = command.find("%F");
        ASSERT_NE(place, std::string::npos) << command;
        command.replace(place, 2, "\"$@\"");
        const bool isNautilus = command.starts_with(folder);
        done.clear();
        const auto ran = run({"-c", command, "menu", isNautilus ? "-a \xFF'.png" : odd, plain},
                             {.program = "/bin/sh", .folder = work.path()});
        EXPECT_EQ(ran.status, 0) << command << ran.errors;
        EXPECT_THAT(done, ElementsAre(odd, plain)) << command;
    }
    const auto checked =
        testing::run({TORVO_PACKAGING_DIR "/torvo.desktop"}, {.program = "/usr/bin/desktop-file-validate"});
    EXPECT_EQ(checked.output + checked.errors, "");
}

} // namespace
} // namespace torvo
