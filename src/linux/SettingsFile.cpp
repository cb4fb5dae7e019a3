#include "linux/SettingsFile.h"

#include "linux/FileLock.h"
#include "linux/SettingsDocument.h"
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

constexpr std::int64_t kLargestFile = std::int64_t{64} << 20;
/// Longer than a tick of the clock that stamps files: two changes within one tick leave the same stamps.
constexpr std::int64_t kStampTick = 100'000'000;

std::int64_t nanoseconds(const timespec& time) {
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

std::string systemError(int code) {
    return std::error_code(code, std::generic_category()).message();
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

/// Makes a folder and those above it, for the user alone. 0, or the error number.
int makeFolders(const FileURL& folder) {
    if (::mkdir(folder.path().c_str(), 0700) == 0 || errno == EEXIST)
        return 0;
    if (errno != ENOENT || folder.path() == "/")
        return errno;
    if (const int error = makeFolders(folder.deletingLastPathComponent()))
        return error;
    return ::mkdir(folder.path().c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            return errno;
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return 0;
}

/// Where the next content of the file is written. A fixed name: under the lock there is one writer, and a crash leaves
/// one such file at most.
std::string temporaryOf(const std::string& path) {
    return path + ".new";
}

/// Writes the next content of the file to the disk, beside it. 0, or the error number.
int prepareFile(const std::string& path, std::string_view bytes) {
    const std::string temporary = temporaryOf(path);
    ::unlink(temporary.c_str());
    const Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.isOpen())
        return errno;
    int error = writeAll(file.get(), bytes);
    if (error == 0 && (::fchmod(file.get(), 0600) != 0 || ::fsync(file.get()) != 0))
        error = errno;
    if (error != 0)
        ::unlink(temporary.c_str());
    return error;
}

/// Puts the prepared content in the place of the file, for good when it returns. 0, or the error number.
int commitFile(const std::string& path) {
    if (::rename(temporaryOf(path).c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporaryOf(path).c_str());
        return error;
    }
    const Descriptor folder(
        ::open(FileURL(path).deletingLastPathComponent().path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; the file itself is safe already.
    if (folder.isOpen())
        ::fsync(folder.get());
    return 0;
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

SettingsFile::SettingsFile(FileURL location, Report report)
    : m_location(std::move(location)),
      m_report(report ? std::move(report) : [](const std::string& line) { std::clog << line << std::endl; }) {}

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
    const std::lock_guard threadLock(m_mutex);
    const std::string path = followingLinks(m_location.path());
    if (const int error = makeFolders(FileURL(path).deletingLastPathComponent()))
        return failure(systemError(error));
    const auto lock = FileLock::take(path + ".lock");
    if (!lock)
        return failure(lock.error());
    refresh();
    if (m_content == Content::inaccessible)
        return failure(m_reason);

    json changed = m_document;
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
        return fail(Content::inaccessible, systemError(errno));
    if (!S_ISREG(status.st_mode))
        return fail(Content::inaccessible, path + " is not a file");
    std::string text;
    char buffer[16384];
    while (static_cast<std::int64_t>(text.size()) <= kLargestFile) {
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return fail(Content::inaccessible, systemError(errno));
        if (count == 0)
            break;
        text.append(buffer, static_cast<std::size_t>(count));
    }
    const Version version = Version::of(status);
    if (version.changed + kStampTick < nanoseconds(now))
        m_version = version;
    if (static_cast<std::int64_t>(text.size()) > kLargestFile)
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

/// To be called under the file lock, after a refresh.
std::expected<void, std::string> SettingsFile::write(const json& document) {
    const auto text = settingsText(document);
    if (!text)
        return std::unexpected(text.error());
    if (static_cast<std::int64_t>(text->size()) > kLargestFile)
        return std::unexpected("they are too large");
    const std::string path = followingLinks(m_location.path());
    if (const int error = prepareFile(path, *text))
        return std::unexpected(systemError(error));
    if (m_content == Content::notSettings)
        if (auto moved = setAside(path); !moved)
            return moved;
    m_version.reset();
    if (const int error = commitFile(path))
        return std::unexpected(systemError(error));
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
            return std::unexpected(systemError(errno));
        m_report("[Torvo] Kept the unreadable settings as " + free.path());
        return {};
    }
    return std::unexpected("there is no free name for the unreadable ones");
}

} // namespace torvo
