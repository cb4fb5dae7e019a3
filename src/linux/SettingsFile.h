#pragma once

#include "platform/UserDefaults.h"
#include "support/FileURL.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

struct stat; // NOLINT(readability-identifier-naming): the system's name

namespace torvo {

/// The user's settings as one JSON file that several processes may read and write at once.
///
/// The file is replaced as a whole, so that a reader or a crash sees the old or the new one. Writers take turns through
/// a lock file beside it. A file that is no settings file counts as empty; the first write moves it out of the way,
/// under a name of its own. A file that cannot be read is never replaced. A symbolic link stays one: its target is
/// what is read and replaced.
class SettingsFile : public UserDefaults {
  public:
    /// Takes one line about trouble that no caller gets to see otherwise.
    using Report = std::function<void(const std::string& line)>;

    /// "settings.json" in the folder "torvo" of $XDG_CONFIG_HOME, else of ~/.config (XDG Base Directory Specification).
    [[nodiscard]] static FileURL defaultLocation();

    /// How long a change waits for another process that keeps the file locked, before it fails.
    static constexpr std::chrono::milliseconds kPatience{5000};

    /// Touches no file before the first use. Without `report`, lines go to the standard error stream.
    explicit SettingsFile(FileURL location, Report report = {}, std::chrono::milliseconds patience = kPatience);

    [[nodiscard]] std::optional<DefaultsValue> get(std::string_view key) override;
    [[nodiscard]] bool contains(std::string_view key) override;
    [[nodiscard]] std::map<std::string, DefaultsValue> all() override;
    [[nodiscard]] std::expected<void, std::string> set(std::string_view key, DefaultsValue value) override;
    [[nodiscard]] std::expected<void, std::string> remove(std::string_view key) override;
    [[nodiscard]] std::expected<void, std::string> update(std::string_view key, const Change& change) override;

  private:
    /// What tells one content of the file from another.
    struct Version {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = 0;
        std::int64_t modified = 0;
        std::int64_t changed = 0;

        [[nodiscard]] static Version of(const struct stat& status);
        bool operator==(const Version&) const = default;
    };
    enum class Content { settings, nothing, notSettings, inaccessible };

    void refresh();
    void read(const std::string& path);
    void fail(Content content, const std::string& reason);
    [[nodiscard]] std::expected<void, std::string> write(const nlohmann::json& document);
    [[nodiscard]] std::expected<void, std::string> setAside(const std::string& path);

    const FileURL m_location;
    const Report m_report;
    const std::chrono::milliseconds m_patience;
    /// Held during a change, the writing included.
    std::mutex m_changing;
    /// Held while the members below are used.
    std::mutex m_mutex;
    nlohmann::json m_document = nlohmann::json::object();
    Content m_content = Content::nothing;
    /// Why the content is not settings.
    std::string m_reason;
    /// The version that m_document is; absent when a change could hide behind the same version.
    std::optional<Version> m_version;
    std::string m_lastReport;
};

} // namespace torvo
