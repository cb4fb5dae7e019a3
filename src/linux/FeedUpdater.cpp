#include "linux/FeedUpdater.h"

#include "support/AtomicFile.h"
#include "support/Descriptor.h"
#include "support/Json.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <expected>
#include <utility>

namespace torvo {

namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenChecks = 24h;
/// How often it is asked whether a check is due: a computer that slept is not a day late.
constexpr auto kBetweenQuestions = 1h;
constexpr std::size_t kLargestFile = std::size_t{1} << 16;

UpdateState::Any outcome(const std::expected<HttpReply, HttpError>& reply, const std::string& ownVersion) {
    const auto failed = [](std::string_view reason) {
        return UpdateState::Failed{fmt::format("Could not check for updates: {}", reason)};
    };
    if (!reply)
        return failed(reply.error().description);
    if (reply->status != 200)
        return failed(fmt::format("the server answered with status {}", reply->status));
    auto release = parseReleaseFeed(reply->body);
    if (!release)
        return failed(release.error());
    // A version of ours that cannot be read is older than any.
    if (ReleaseVersion::parse(release->version) > ReleaseVersion::parse(ownVersion))
        return UpdateState::Newer{std::move(*release)};
    return UpdateState::UpToDate{};
}

} // namespace

std::string builtInUpdateFeed() {
    return TORVO_UPDATE_FEED;
}

FeedUpdater::FeedUpdater(FeedUpdaterSettings settings, HttpSession& session, SerialQueue& diskQueue,
                         Dispatcher& dispatcher)
    : m_settings(std::move(settings)), m_session(session), m_diskQueue(diskQueue), m_dispatcher(dispatcher) {
    if (!m_settings.feed.empty())
        m_state = UpdateState::NotChecked{};
    load();
}

FeedUpdater::~FeedUpdater() {
    stop();
}

void FeedUpdater::start() {
    if (m_settings.feed.empty())
        return;
    m_timer = m_dispatcher.runEvery(kBetweenQuestions, 10min, [this] { checkIfDue(); });
    checkIfDue();
}

void FeedUpdater::stop() {
    m_timer.reset();
    m_stop.request_stop();
}

void FeedUpdater::checkForUpdates() {
    m_isAskedFor = true;
    if (m_settings.feed.empty() || std::holds_alternative<UpdateState::Checking>(m_state))
        m_observers.notify();
    else
        check();
}

void FeedUpdater::setAutomaticallyChecksForUpdates(bool isAutomatic) {
    if (std::exchange(m_isAutomatic, isAutomatic) == isAutomatic)
        return;
    save();
    if (m_timer != nullptr)
        checkIfDue();
}

/// What cannot be read is as it was at first.
void FeedUpdater::load() {
    const Descriptor file(::open(m_settings.file.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    std::string text;
    if (!file.isOpen() || readAll(file.get(), text, kLargestFile) != 0)
        return;
    const auto document = parseJson(text);
    if (!document)
        return;
    if (const auto* automatic = memberOf(*document, "automatic"); automatic != nullptr && automatic->is_boolean())
        m_isAutomatic = automatic->get<bool>();
    if (const auto* last = memberOf(*document, "lastCheck"); last != nullptr && last->is_number_integer())
        m_lastCheck = last->get<std::int64_t>();
}

/// Best effort: a choice that cannot be kept still holds until the program ends.
void FeedUpdater::save() {
    const auto text = compactJson({{"automatic", m_isAutomatic}, {"lastCheck", m_lastCheck}}) + "\n";
    m_diskQueue.async([file = m_settings.file, text] {
        if (makeFolders(file.deletingLastPathComponent()) == 0 && prepareReplacement(file.path(), text) == 0)
            (void)commitReplacement(file.path());
    });
}

void FeedUpdater::checkIfDue() {
    if (!m_isAutomatic || std::holds_alternative<UpdateState::Checking>(m_state))
        return;
    const auto now = std::chrono::duration_cast<std::chrono::seconds>(m_settings.now().time_since_epoch()).count();
    // A last check in the future comes from a clock that was wrong.
    const bool isRecent = m_lastCheck <= now && m_lastCheck > now - std::chrono::seconds(kBetweenChecks).count();
    if (isRecent)
        return;
    m_isAskedFor = false;
    check();
}

void FeedUpdater::check() {
    if (!isTrustworthyAddress(m_settings.feed)) {
        become(UpdateState::Failed{"Could not check for updates: the address of the release feed is not https"});
        return;
    }
    // Kept before the check, so that one that fails is not repeated all day long.
    m_lastCheck = std::chrono::duration_cast<std::chrono::seconds>(m_settings.now().time_since_epoch()).count();
    save();
    become(UpdateState::Checking{});
    m_dispatcher.runDetached([this, life = std::weak_ptr(m_life), &session = m_session, &dispatcher = m_dispatcher,
                              stop = m_stop.get_token(), feed = m_settings.feed, version = m_settings.version] {
        const auto reply = session.perform({.url = feed, .headers = {{"Accept", "application/json"}}}, stop);
        dispatcher.runOnMain([this, life, state = outcome(reply, version)] {
            if (!life.expired())
                become(state);
        });
    });
}

void FeedUpdater::become(UpdateState::Any state) {
    m_state = std::move(state);
    m_observers.notify();
}

} // namespace torvo
