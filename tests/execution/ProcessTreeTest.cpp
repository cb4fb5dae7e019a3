#include "execution/ProcessTree.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <set>
#include <string>

using namespace torvo;

namespace {

/// A table of processes in memory: who has which children and since when, and what was sent to whom.
class FakeHost : public ProcessHost {
  public:
    std::map<std::int32_t, std::vector<std::int32_t>> childTable;
    std::map<std::int32_t, std::uint64_t> startTable;
    std::set<std::int32_t> ended;
    std::vector<std::string> sent;

    std::expected<std::int32_t, LaunchError> launch(const LaunchRequest&) override {
        return std::unexpected(LaunchError{});
    }
    bool canConfine() override { return false; }
    void childHasEnded(std::int32_t) override {}
    int exitNotice(std::int32_t) override { return -1; }
    std::int32_t reap(std::int32_t) override { return 0; }
    std::optional<ProcessIdentity> identity(std::int32_t pid) override {
        const auto found = startTable.find(pid);
        return found == startTable.end() ? std::nullopt : std::optional(ProcessIdentity{pid, found->second, 0});
    }
    bool hasEnded(const ProcessIdentity& process) override {
        return ended.contains(process.pid) || identity(process.pid) != process;
    }
    std::vector<std::int32_t> children(std::int32_t pid) override { return childTable[pid]; }
    std::vector<ProcessIdentity> holders(std::span<const int>) override { return {}; }
    void signal(const ProcessIdentity& process, StopSignal signal) override {
        sent.push_back(fmt::format("{} {}@{}", nameOf(signal), process.pid, process.startSeconds));
    }
    void signalGroup(std::int32_t child, StopSignal signal) override {
        sent.push_back(fmt::format("{} group {}", nameOf(signal), child));
    }

  private:
    static const char* nameOf(StopSignal signal) {
        constexpr std::array kNames{"term", "kill", "stop", "cont"};
        return kNames.at(static_cast<std::size_t>(signal));
    }
};

using Texts = std::vector<std::string>;

} // namespace

TEST(DescendantPIDs, ListsChildrenFirstThenTheDescendantsOfEachInTurn) {
    std::map<std::int32_t, std::vector<std::int32_t>> table{
        {1, {20, 10, 0, -5}}, {20, {21, 22}}, {21, {23}}, {10, {11}}, {11, {12}}};
    const auto walk = [&table] { return descendantPIDs(1, [&table](std::int32_t pid) { return table[pid]; }); };
    EXPECT_EQ(walk(), (std::vector<std::int32_t>{20, 10, 21, 22, 23, 11, 12}));
    // Numbers that move while the tables are read can seem to go round in a circle.
    table[12] = {1, 20, 12, 13};
    EXPECT_EQ(walk(), (std::vector<std::int32_t>{20, 10, 21, 22, 23, 11, 12, 13}));
    table.clear();
    EXPECT_TRUE(walk().empty());
}

TEST(TreeStop, AsksTheDeepestFirstAndKillsOnlyThoseItAskedAndWhatTheyStartedSince) {
    FakeHost host;
    host.childTable = {{1, {2, 3}}, {3, {4}}};
    host.startTable = {{1, 100}, {2, 101}, {3, 102}, {4, 103}};
    TreeStop stop(host, {1, 100, 0});
    stop.terminateTree();
    EXPECT_EQ(host.sent,
              (Texts{"stop group 1", "stop 4@103", "stop 3@102", "stop 2@101", "term 4@103", "term 3@102", "term 2@101",
                     "term group 1", "cont 4@103", "cont 3@102", "cont 2@101", "cont group 1"}));
    EXPECT_FALSE(stop.isTreeGone());

    // The number 2 goes to somebody else, who has a child; 3 starts another process.
    host.sent.clear();
    host.childTable[1] = {3};
    host.startTable[2] = 500;
    host.childTable[2] = {50};
    host.startTable[50] = 501;
    host.childTable[3] = {4, 5};
    host.startTable[5] = 502;
    stop.killTree();
    EXPECT_EQ(host.sent, (Texts{"kill 5@502", "kill 4@103", "kill 3@102", "kill 2@101", "kill group 1"}))
        << "2 is named by its old start time, which the host compares";

    host.ended = {3, 4, 5};
    EXPECT_TRUE(stop.isTreeGone()) << "whoever has the number 2 now does not count";
}

TEST(TreeStop, LeavesAloneWhoHoldsAPipeButWasThereBeforeTheRoot) {
    FakeHost host;
    host.startTable = {{1, 100}, {7, 99}, {8, 100}};
    TreeStop stop(host, {1, 100, 0});
    stop.terminateStrays({{7, 99, 0}, {8, 100, 0}, {1, 100, 0}});
    stop.terminateStrays({{8, 100, 0}});
    EXPECT_EQ(host.sent, Texts{"term 8@100"});
    host.sent.clear();
    stop.killTree();
    EXPECT_EQ(host.sent, (Texts{"kill 8@100", "kill group 1"}));
}
