// Random walks: thousands of keys, clicks, drops, answers and moments in any order, with promises that hold after each.
#include "model/CommandSafety.h"
#include "tests/support/Bar.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <map>
#include <random>
#include <set>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using testing::ManualDispatcher;

/// Every command is worked on, and the file manager answers, at a moment of the walk's choosing: until then work beside
/// the main thread is held.
class Walk {
  public:
    explicit Walk(unsigned seed) : m_random(seed), m_bar(ManualDispatcher::Detached::held) {
        m_bar.desktopQueue.isHeld = true;
        reset();
        m_bar.service->setAutoAttachEnabled(true);
    }

    void step() {
        // A question is answered with yes every other time.
        const auto action = pick(28);
        if (state().awaitingConfirm() && m_bar.window.isVisible() && pick(2) == 0)
            confirm();
        else
            perform(action);
        m_bar.dispatcher->runPending();
        check();
    }

    [[nodiscard]] int runs() const { return m_runs; }
    [[nodiscard]] int undone() const { return m_undone; }
    [[nodiscard]] int confirmations() const { return m_confirmations; }
    [[nodiscard]] bool isBroken() const { return ::testing::Test::HasFailure(); }

  private:
    std::size_t pick(std::size_t count) { return m_random() % count; }
    CommandBarService& service() { return *m_bar.service; }
    const CommandBarState& state() { return m_bar.state(); }

    /// The folder as it was at the beginning.
    void reset() {
        for (const auto& name : m_bar.names())
            std::filesystem::remove_all((m_bar / name).path());
        for (const char* name : {"a.txt", "b.txt", "c.txt"})
            (void)m_bar.files.file(name, std::string("content of ") + name);
        m_bar.select({"a.txt", "b.txt"});
        m_wasThere = true;
    }

    void type() {
        constexpr std::array typed{"",   "zip",      "select all txt", "deselect", "jpg",
                                   "  ", "make one", "rename these",   "delete",   "list them"};
        service().inputChanged(typed.at(pick(typed.size())));
    }

    /// What the model would say to any of these.
    void answerModel() {
        constexpr const char* rename = R"(for f in "$@"; do mv -n -- "$f" "${f:h}/x-${f:t}"; done)";
        constexpr const char* preview =
            R"sh(for f in "$@"; do printf '%s\t%s\n' "$f" "$(dirname "$f")/x-$(basename "$f")"; done)sh";
        switch (pick(5)) {
        case 0:
            return m_bar.modelAnswers(rename, "Rename", preview);
        case 1:
            return m_bar.modelAnswers("rm -f c.txt", "Delete");
        case 2:
            return m_bar.modelAnswers("print -n", "Nothing");
        case 3:
            return m_bar.modelAnswers("ls *.txt", "List", "", "select");
        default:
            return m_bar.server.reply("no plan at all");
        }
    }

    std::tuple<std::string, StatusKind, bool, bool, std::size_t, std::size_t> shown() {
        const auto& now = state();
        return {now.status,
                now.statusKind,
                now.isRunning,
                now.awaitingConfirm(),
                now.operations.size(),
                now.resultOutputs.size()};
    }

    /// Lets one of the tasks that are under way end, whichever.
    void endSomething() {
        if (m_bar.dispatcher->heldCount() == 0)
            return;
        answerModel();
        // Mostly the newest, which the bar waits for; sometimes one that it has turned away from.
        const auto count = m_bar.dispatcher->heldCount();
        const auto index = pick(3) > 0 ? count - 1 : pick(count);
        const bool isStale = index + 1 < count;
        const auto before = shown();
        m_bar.dispatcher->runHeld(index);
        EXPECT_TRUE(!isStale || shown() == before) << "the result of abandoned work was shown";
    }

    void undoSomething() {
        if (state().operations.empty())
            return;
        const auto operation = state().operations.at(pick(state().operations.size()));
        const bool couldUndo = operation.canUndo();
        const auto before = contents();
        m_bar.undo(operation.id);
        const auto after = std::ranges::find(state().operations, operation.id, &Operation::id);
        ASSERT_NE(after, state().operations.end());
        if (!couldUndo || !after->undone || operation.undone) {
            EXPECT_EQ(contents(), before) << "an undo that did not happen changed something";
            return;
        }
        ++m_undone;
        for (const auto& [from, to] : operation.renameMap) {
            EXPECT_EQ(testing::readFile(from), before.at(to.path()));
            EXPECT_FALSE(to.isOccupied());
        }
    }

    void perform(std::size_t action) {
        switch (action) {
        case 0:
        case 1:
        case 2:
        case 3:
            return type();
        case 4:
        case 5:
        case 6:
            return pressReturn();
        case 7:
            return service().cancel();
        case 8:
        case 9:
        case 10:
        case 11:
            return endSomething();
        case 12:
        case 13:
            return confirm();
        case 14:
            return m_bar.dispatcher->advance(std::chrono::milliseconds(pick(8000)));
        case 15:
            return pick(2) == 0 ? service().toggle() : m_bar.window.resignKey();
        case 16:
            return service().handleDrop({m_bar / "c.txt"});
        case 17:
            return pick(4) == 0 ? m_bar.finder.show(std::nullopt) : m_bar.select({"a.txt", "b.txt"});
        case 18:
            return service().syncAttachment();
        case 19:
            return undoSomething();
        case 20:
            return rerun();
        case 21:
            return service().askAIToFix();
        case 22:
        case 23:
        case 24:
        case 25:
            // The file manager answers.
            return m_bar.desktopQueue.run();
        case 26:
            return pick(2) == 0 ? service().historyUp() : service().historyDown();
        default:
            return pick(8) == 0 ? reset() : service().revealLast();
        }
    }

    void pressReturn() {
        if (!m_bar.window.isVisible())
            return;
        const bool wasDestructive = state().pendingIsDestructive();
        const auto held = m_bar.dispatcher->heldCount();
        service().submit();
        if (wasDestructive) {
            EXPECT_TRUE(state().awaitingConfirm());
            EXPECT_EQ(m_bar.dispatcher->heldCount(), held) << "Return ran a destructive action";
        }
    }

    void confirm() {
        if (!m_bar.window.isVisible())
            return;
        if (state().pending) {
            ++m_confirmations;
            m_confirmedDeletions += commandOf(state().pending->action).starts_with("rm ") ? 1 : 0;
        }
        service().confirmPending();
    }

    void rerun() {
        if (!state().operations.empty())
            service().rerun(state().operations.front().id);
    }

    std::map<std::string, std::string> contents() {
        std::map<std::string, std::string> contents;
        for (const auto& name : m_bar.names())
            contents[(m_bar / name).path()] = testing::readFile(m_bar / name);
        return contents;
    }

    void check() {
        const auto& now = state();
        EXPECT_FALSE(now.isRunning && now.awaitingConfirm());
        EXPECT_EQ(now.isRunning, now.isRunning && m_bar.dispatcher->heldCount() > 0)
            << "runs, but nothing is under way";
        EXPECT_TRUE(now.isRunning || !now.progress);
        EXPECT_LE(now.chips.size(), 8U);
        if (now.pending) {
            EXPECT_EQ(now.statusKind, now.pendingIsDestructive() ? StatusKind::failure : StatusKind::confirm);
            EXPECT_NE(now.status.find(commandOf(now.pending->action)), std::string::npos)
                << "the question shows another command";
        }
        EXPECT_EQ(now.isKeyWindow, m_bar.window.isKey());
        if (m_checked != now.operations) {
            EXPECT_EQ(OperationStore(m_bar.support / "Torvo/activity.json", m_bar.systemLog).load(), now.operations);
            m_checked = now.operations;
        }
        m_runs = std::max(m_runs, static_cast<int>(now.operations.size()));
        checkFiles();
    }

    /// What was in the files is still there, in the folder or in the Trash, unless its deletion was confirmed.
    void checkFiles() {
        std::set<std::string> texts;
        for (const auto& [path, content] : contents())
            texts.insert(content);
        EXPECT_TRUE(texts.contains("content of a.txt"));
        EXPECT_TRUE(texts.contains("content of b.txt"));
        const bool isThere = texts.contains("content of c.txt");
        m_deletions += m_wasThere && !isThere ? 1 : 0;
        m_wasThere = isThere;
        EXPECT_LE(m_deletions, m_confirmedDeletions) << "deleted without a yes";
    }

    static std::string commandOf(const Action& action) {
        if (const auto* shell = std::get_if<Shell>(&action))
            return shell->command;
        const auto* select = std::get_if<SelectByCommand>(&action);
        return select != nullptr ? select->command : "";
    }

    std::mt19937 m_random;
    testing::Bar m_bar;
    /// The activity list as it was last compared with the file.
    std::vector<Operation> m_checked;
    bool m_wasThere = true;
    int m_deletions = 0;
    int m_confirmedDeletions = 0;
    int m_runs = 0;
    int m_undone = 0;
    int m_confirmations = 0;
};

TEST(CommandBarWalk, KeepsItsPromisesWhateverHappens) {
    const char* wanted = std::getenv("TORVO_WALK_STEPS");
    const int steps = wanted != nullptr ? std::atoi(wanted) : 4'000;
    Walk walk(20260423);
    for (int i = 0; i < steps && !walk.isBroken(); ++i) {
        SCOPED_TRACE(i);
        walk.step();
    }
    EXPECT_GT(walk.runs(), 5) << "the walk must get somewhere";
    EXPECT_GT(walk.undone(), 5);
    EXPECT_GT(walk.confirmations(), 20);
}

} // namespace
} // namespace torvo
