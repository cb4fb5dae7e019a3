#pragma once

#include "platform/DistributedNotifications.h"
#include "platform/HotKeys.h"
#include "platform/LoginItem.h"
#include "platform/Panel.h"
#include "platform/Pasteboard.h"
#include "platform/SystemLog.h"
#include "platform/Trash.h"
#include "platform/Updater.h"
#include "platform/UserNotifications.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvo::testing {

/// Services of a desktop that is not there: they do what they are told, and remember what they were asked.

class FakePanel final : public Panel {
  public:
    [[nodiscard]] bool isVisible() const override { return m_isVisible; }
    [[nodiscard]] bool hasOpenMenu() const override { return isMenuOpen; }
    [[nodiscard]] Rect frame() const override { return m_frame; }
    void setFrame(const Rect& frame) override { m_frame = frame; }
    void orderFront() override { m_isVisible = true; }
    void orderOut() override {
        m_isVisible = false;
        resignKey();
    }
    void makeKey() override {
        if (!std::exchange(m_isKey, true))
            tell();
    }
    void afterDrawing(std::function<void()> action) override { action(); }
    void setKeyChangeAction(std::function<void(bool isKey)> action) override { m_action = std::move(action); }

    /// The user clicked into another window.
    void resignKey() {
        if (std::exchange(m_isKey, false))
            tell();
    }
    [[nodiscard]] bool isKey() const { return m_isKey; }

    bool isMenuOpen = false;

  private:
    void tell() {
        if (m_action)
            m_action(m_isKey);
    }

    Rect m_frame{0, 0, 600, 90};
    bool m_isVisible = false;
    bool m_isKey = false;
    std::function<void(bool isKey)> m_action;
};

struct FakePasteboard final : Pasteboard {
    bool hasFiles() override { return !files.empty(); }
    std::vector<FileURL> fileURLs() override { return files; }
    bool hasImage() override { return pngBytes || tiffBytes; }
    std::optional<std::string> png() override { return pngBytes; }
    std::optional<std::string> tiff() override { return tiffBytes; }
    std::optional<std::string> pngFromTIFF(const std::string& tiff) override {
        return tiff.empty() ? std::nullopt : std::optional("png of " + tiff);
    }

    std::vector<FileURL> files;
    std::optional<std::string> pngBytes;
    std::optional<std::string> tiffBytes;
};

struct FakeUserNotifications final : UserNotifications {
    void authorization(std::function<void(NotificationAuthorization)> answer) override { answer(status); }
    void requestAuthorization(std::function<void(bool isGranted)> answer) override {
        ++requests;
        answer(grants);
    }
    void add(const UserNotification& notification) override { added.push_back(notification); }

    NotificationAuthorization status = NotificationAuthorization::authorized;
    bool grants = false;
    int requests = 0;
    std::vector<UserNotification> added;
};

struct FakeDistributedNotifications final : DistributedNotifications {
    void post(std::string_view name) override { posted.emplace_back(name); }

    std::vector<std::string> posted;
};

class FakeSystemLog final : public SystemLog {
  public:
    void write(std::string_view line) override {
        const std::lock_guard guard(m_lock);
        m_lines.emplace_back(line);
    }
    [[nodiscard]] std::vector<std::string> lines() const {
        const std::lock_guard guard(m_lock);
        return m_lines;
    }

  private:
    mutable std::mutex m_lock;
    std::vector<std::string> m_lines;
};

/// Really moves items, into a folder of its own.
class FakeTrash final : public Trash {
  public:
    std::expected<void, std::string> moveToTrash(const FileURL& item) override {
        if (item == refused)
            return std::unexpected("the Trash is full");
        std::error_code error;
        std::filesystem::rename(item.path(), (m_folder / std::to_string(m_items.size())).path(), error);
        if (error)
            return std::unexpected(error.message());
        m_items.push_back(item);
        return {};
    }
    /// What was moved here, in order.
    [[nodiscard]] const std::vector<FileURL>& items() const { return m_items; }

    /// The item that cannot be moved.
    std::optional<FileURL> refused;

  private:
    TemporaryFolder m_folder;
    std::vector<FileURL> m_items;
};

struct FakeHotKeys final : HotKeys {
    std::expected<void, std::int32_t> installHandler(std::function<void()> action) override {
        if (handlerStatus != 0)
            return std::unexpected(handlerStatus);
        ++installations;
        pressed = std::move(action);
        return {};
    }
    void removeHandler() override { pressed = {}; }
    std::expected<Reference, std::int32_t> registerHotKey(const HotKeyCode& code) override {
        if (const auto taken = refused.find(code.key); taken != refused.end())
            return std::unexpected(taken->second);
        registered = code;
        return ++references;
    }
    void unregisterHotKey(Reference hotKey) override {
        if (hotKey == references)
            registered.reset();
    }

    std::int32_t handlerStatus = 0;
    /// Key codes that cannot be registered, with the status.
    std::map<std::uint32_t, std::int32_t> refused;
    int installations = 0;
    std::function<void()> pressed;
    Reference references = 0;
    std::optional<HotKeyCode> registered;
};

struct FakeLoginItem final : LoginItem {
    LoginItemStatus status() override { return current; }
    std::expected<void, std::string> registerItem() override {
        ++registrations;
        return answer;
    }
    std::expected<void, std::string> unregisterItem() override {
        ++removals;
        return answer;
    }

    LoginItemStatus current = LoginItemStatus::notRegistered;
    std::expected<void, std::string> answer;
    int registrations = 0;
    int removals = 0;
};

struct FakeUpdater final : Updater {
    void start() override { ++starts; }
    void checkForUpdates() override { ++checks; }
    [[nodiscard]] bool automaticallyChecksForUpdates() const override { return isAutomatic; }
    void setAutomaticallyChecksForUpdates(bool automatic) override { isAutomatic = automatic; }

    int starts = 0;
    int checks = 0;
    bool isAutomatic = true;
};

} // namespace torvo::testing
