#include "linux/SettingsFile.h"

#include "linux/FileLock.h"
#include "linux/SettingsDocument.h"
#include "support/AtomicFile.h"
#include "support/Descriptor.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <utility>

namespace torvo {

namespace {

using nlohmann::json;

constexpr std::size_t kLargestFile = std::size_t{64} << 20;
/// Longer than a tick of the clock that stamps files: two changes within one tick leave the same stamps.
constexpr std::int64_t kStampTick = 100'000'000;

std::int64_t nanoseconds(const timespec& time) {
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

/// The file that a chain of symbolic links ends at, be it there or not.
std::string followingLinks(std::filesystem::path path) {
    std::error_code error;
    for (int links = 0; links < 40 && std::filesystem::is_symlink(path, error); ++links) {
        const std::filesystem::path target = std::filesystem::read_symlink(path, error);
        if (error)
            break;
        path = path.parent_path() / target;
    }
    return path.string();
}

} // namespace

FileURL SettingsFile::defaultLocation() {
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    if (configuration != nullptr && configuration[0] == '/')
        return FileURL(configuration).appendingPath("torvo/settings.json");
    const char* home = std::getenv("HOME");
    if (home == nullptr || home[0] != '/') {
        const passwd* user = ::getpwuid(::getuid());
        home = user == nullptr ? "/" : user->pw_dir;
    }
    return FileURL(home).appendingPath(".config/torvo/settings.json");
}

SettingsFile::SettingsFile(FileURL location, Report report, std::chrono::milliseconds patience)
    : m_location(std::move(location)),
      m_report(report ? std::move(report) : [](const std::string& line) { std::clog << line + '\n'
                                                                                    << std::flush; }),
      m_patience(patience) {}

SettingsFile::Version SettingsFile::Version::of(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

std::optional<DefaultsValue> SettingsFile::get(std::string_view key) {
    const std::lock_guard lock(m_mutex);
    refresh();
    const auto found = m_document.find(key);
    return found == m_document.end() ? std::nullopt : settingsValue(*found);
}

bool SettingsFile::contains(std::string_view key) {
    const std::lock_guard lock(m_mutex);
    refresh();
    return m_document.contains(key);
}

std::map<std::string, DefaultsValue> SettingsFile::all() {
    const std::lock_guard lock(m_mutex);
    refresh();
    std::map<std::string, DefaultsValue> values;
    for (const auto& [key, stored] : m_document.items())
        if (auto value = settingsValue(stored))
            values.emplace(key, std::move(*value));
    return values;
}

std::expected<void, std::string> SettingsFile::set(std::string_view key, DefaultsValue value) {
    return update(key, [&](const auto&) { return std::move(value); });
}

std::expected<void, std::string> SettingsFile::remove(std::string_view key) {
    return update(key, [](const auto&) { return std::nullopt; });
}

std::expected<void, std::string> SettingsFile::update(std::string_view key, const Change& change) {
    const auto failure = [](const std::string& reason) {
        return std::unexpected("Could not save the settings: " + reason + ".");
    };
    const std::lock_guard changing(m_changing);
    const std::string path = followingLinks(m_location.path());
    if (const int error = makeFolders(FileURL(path).deletingLastPathComponent()))
        return failure(systemErrorText(error));
    const auto lock = FileLock::take(path + ".lock", m_patience);
    if (!lock)
        return failure(lock.error());
    json changed;
    {
        const std::lock_guard reading(m_mutex);
        refresh();
        if (m_content == Content::inaccessible)
            return failure(m_reason);
        changed = m_document;
    }
    const auto old = changed.find(key);
    auto value = change(old == changed.end() ? std::nullopt : settingsValue(*old));
    if (!value) {
        if (old == changed.end())
            return {};
        changed.erase(old);
    } else {
        auto stored = settingsJson(*value);
        if (!stored)
            return failure(stored.error());
        if (old != changed.end() && old->type() == stored->type() && *old == *stored)
            return {};
        changed[std::string(key)] = std::move(*stored);
    }
    if (const auto written = write(changed); !written)
        return failure(written.error());
    return {};
}

void SettingsFile::refresh() {
    struct stat status{};
    const std::string& path = m_location.path();
    if (m_version && ::stat(path.c_str(), &status) == 0 && Version::of(status) == *m_version)
        return;
    m_document = json::object();
    m_version.reset();
    m_reason.clear();
    read(path);
    if (m_content == Content::settings || m_content == Content::nothing)
        m_lastReport.clear();
}

void SettingsFile::read(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.isOpen() && errno == ENOENT) {
        m_content = Content::nothing;
        return;
    }
    struct stat status{};
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        return fail(Content::inaccessible, systemErrorText(errno));
    if (!S_ISREG(status.st_mode))
        return fail(Content::inaccessible, path + " is not a file");
    std::string text;
    if (const int error = readAll(file.get(), text, kLargestFile))
        return fail(Content::inaccessible, systemErrorText(error));
    const Version version = Version::of(status);
    if (version.changed + kStampTick < nanoseconds(now))
        m_version = version;
    if (text.size() > kLargestFile)
        return fail(Content::notSettings, "it is too large");
    auto document = parseSettings(text);
    if (!document)
        return fail(Content::notSettings, document.error());
    m_content = Content::settings;
    m_document = std::move(*document);
}

/// Remembers why there are no settings, and says so once.
void SettingsFile::fail(Content content, const std::string& reason) {
    m_content = content;
    m_reason = reason;
    const std::string line = "[Torvo] Could not read the settings in " + m_location.path() + ": " + reason;
    if (std::exchange(m_lastReport, line) != line)
        m_report(line);
}

/// To be called under the file lock, after a refresh. Those who read meanwhile need not wait for the disk.
std::expected<void, std::string> SettingsFile::write(const json& document) {
    const auto text = settingsText(document);
    if (!text)
        return std::unexpected(text.error());
    if (text->size() > kLargestFile)
        return std::unexpected("they are too large");
    const std::string path = followingLinks(m_location.path());
    if (const int error = prepareReplacement(path, *text))
        return std::unexpected(systemErrorText(error));
    {
        const std::lock_guard reading(m_mutex);
        if (m_content == Content::notSettings)
            if (auto moved = setAside(path); !moved)
                return moved;
        m_version.reset();
    }
    if (const int error = commitReplacement(path))
        return std::unexpected(systemErrorText(error));
    return {};
}

/// Gives a file that is no settings file another, free name beside it. It keeps its first name until the next content
/// takes its place, so that at no time there is nothing.
std::expected<void, std::string> SettingsFile::setAside(const std::string& path) {
    const FileURL folder = FileURL(path).deletingLastPathComponent();
    const std::string stem = "settings-unreadable-" + std::to_string(std::time(nullptr));
    for (int attempt = 1; attempt <= 100; ++attempt) {
        const std::string suffix = attempt == 1 ? "" : "-" + std::to_string(attempt);
        const FileURL free = folder.appendingPath(stem + suffix + ".json");
        if (free.isOccupied())
            continue;
        // Under the lock nobody else makes this name between the question and the answer.
        if (::link(path.c_str(), free.path().c_str()) != 0)
            return std::unexpected(systemErrorText(errno));
        m_report("[Torvo] Kept the unreadable settings as " + free.path());
        return {};
    }
    return std::unexpected("there is no free name for the unreadable ones");
}

} // namespace torvo
