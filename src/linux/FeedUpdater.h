#pragma once

#include "linux/ReleaseFeed.h"
#include "platform/Dispatcher.h"
#include "platform/HttpSession.h"
#include "platform/SerialQueue.h"
#include "platform/Updater.h"
#include "support/FileURL.h"
#include "support/Observable.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <variant>

namespace torvo {

/// How far the search for a newer version is.
namespace UpdateState {

/// This build knows no feed.
struct NoFeed {
    bool operator==(const NoFeed&) const = default;
};
/// Nothing was asked since the start.
struct NotChecked {
    bool operator==(const NotChecked&) const = default;
};
struct Checking {
    bool operator==(const Checking&) const = default;
};
struct UpToDate {
    bool operator==(const UpToDate&) const = default;
};
struct Newer {
    Release release;

    bool operator==(const Newer&) const = default;
};
struct Failed {
    /// One line for the user.
    std::string reason;

    bool operator==(const Failed&) const = default;
};

using Any = std::variant<NoFeed, NotChecked, Checking, UpToDate, Newer, Failed>;

} // namespace UpdateState

struct FeedUpdaterSettings {
    /// The address of the feed; empty for none.
    std::string feed;
    /// The version of this program.
    std::string version;
    /// Where the automatic flag and the time of the last check are kept: a small JSON file, whose folder is made when
    /// it is missing.
    FileURL file;
    std::function<std::chrono::system_clock::time_point()> now = [] { return std::chrono::system_clock::now(); };
};

/// The address of the release feed that this build was made with (the build setting TORVO_UPDATE_FEED); empty for none.
[[nodiscard]] std::string builtInUpdateFeed();

/// Looks for a newer version in a release feed: when the user asks, and on its own at most once a day while that is
/// switched on, which it is not at first. It installs nothing. Main thread only.
class FeedUpdater final : public Updater {
  public:
    /// Writes its file on `diskQueue`. All must outlive the object, `session` also the dispatcher's detached tasks.
    FeedUpdater(FeedUpdaterSettings settings, HttpSession& session, SerialQueue& diskQueue, Dispatcher& dispatcher);
    ~FeedUpdater() override;
    FeedUpdater(const FeedUpdater&) = delete;
    FeedUpdater& operator=(const FeedUpdater&) = delete;

    /// Checks from time to time whether a check is due.
    void start() override;
    /// Ends a check that is under way, and begins none of its own any more: for a program that is about to end.
    void stop();
    /// Checks now, for the user; joins a check that is under way.
    void checkForUpdates() override;
    [[nodiscard]] bool automaticallyChecksForUpdates() const override { return m_isAutomatic; }
    void setAutomaticallyChecksForUpdates(bool isAutomatic) override;

    [[nodiscard]] const UpdateState::Any& state() const { return m_state; }
    /// Whether the user asked for what the state tells, and so wants to see it whatever it is.
    [[nodiscard]] bool isAskedFor() const { return m_isAskedFor; }
    /// Calls `changed` after each change of the state, and each time the user asks.
    [[nodiscard]] Subscription onChange(std::function<void()> changed) { return m_observers.add(std::move(changed)); }

  private:
    void load();
    void save();
    void checkIfDue();
    void check();
    void become(UpdateState::Any state);

    FeedUpdaterSettings m_settings;
    HttpSession& m_session;
    SerialQueue& m_diskQueue;
    Dispatcher& m_dispatcher;
    bool m_isAutomatic = false;
    /// Seconds since 1970.
    std::int64_t m_lastCheck = 0;
    UpdateState::Any m_state;
    bool m_isAskedFor = false;
    Observers m_observers;
    std::unique_ptr<ScheduledTask> m_timer;
    std::stop_source m_stop;
    /// Gone with the object: answers that come later find nobody.
    std::shared_ptr<bool> m_life = std::make_shared<bool>();
};

} // namespace torvo
