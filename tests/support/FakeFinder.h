#pragma once

#include "desktop/FinderService.h"
#include "tests/support/FakeDesktop.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace torvo::testing {

/// Runs no script: gives prepared answers and remembers the arguments.
class FakeScriptHost final : public ScriptHost {
  public:
    std::expected<std::string, std::string> run(const std::vector<std::string>& arguments) override;

    /// Answers a run; an error is a program that could not be started. For any thread.
    std::function<std::expected<std::string, std::string>(const std::vector<std::string>&)> answer;
    [[nodiscard]] std::vector<std::vector<std::string>> runs() const;

  private:
    mutable std::mutex m_lock;
    std::vector<std::vector<std::string>> m_runs;
};

/// Windows that exist as tables of attributes. Application elements are numbered by their process.
class FakeAccessibility final : public Accessibility {
  public:
    AccessibilityElement application(std::int32_t pid) override { return {static_cast<std::uint64_t>(pid)}; }
    std::optional<AccessibilityValue> attribute(const AccessibilityElement& element, std::string_view name) override;
    bool isTrusted() override { return isAllowed; }
    void promptForTrust() override { ++prompts; }

    void set(std::uint64_t element, const std::string& name, AccessibilityValue value);
    void clear(std::uint64_t element);

    bool isAllowed = true;
    int prompts = 0;

  private:
    std::mutex m_lock;
    std::map<std::uint64_t, std::map<std::string, AccessibilityValue, std::less<>>> m_attributes;
};

class FakeWorkspace final : public Workspace {
  public:
    std::optional<std::string> frontmostApplication() override { return frontmost; }
    std::vector<std::int32_t> runningApplications(std::string_view identifier) override;
    void activate(std::string_view identifier) override { activated.emplace_back(identifier); }
    Subscription onActivation(std::function<void()> listener) override { return m_observers.add(std::move(listener)); }
    void open(const std::string& address) override { opened.push_back(address); }
    void openApplication(const FileURL& application, std::function<void()> done) override;
    void reveal(const std::vector<FileURL>& files) override { revealed.push_back(files); }

    /// Another application comes to the front, and those who listen are told.
    void switchTo(std::optional<std::string> identifier);

    std::optional<std::string> frontmost;
    std::map<std::string, std::vector<std::int32_t>, std::less<>> running;
    std::vector<std::string> activated;
    std::vector<std::string> opened;
    std::vector<FileURL> openedApplications;
    std::vector<std::vector<FileURL>> revealed;

  private:
    Observers m_observers;
};

struct FakeScreens final : Screens {
    ScreenLayout layout() override { return current; }

    ScreenLayout current{{{{0, 0, 1600, 900}, {0, 40, 1600, 830}}}, 0};
};

/// A file manager with at most one window, behind the real bridge.
class FakeFinder {
  public:
    FakeFinder();

    /// A window on a folder; none when there is no folder.
    void show(const std::optional<FileURL>& folder, std::vector<FileURL> selection = {});
    void moveWindow(const Rect& frame);
    void quit();
    [[nodiscard]] std::vector<FileURL> selection() const;

    /// Whether its next window's selection can be read by looking.
    bool showsSelection = true;
    /// The number of its next window.
    std::uint64_t window = 200;
    FakeScriptHost scripts;
    FakeAccessibility accessibility;
    FakeWorkspace workspace;
    FakeScreens screens;
    FakeSystemLog log;
    FinderService service{{scripts, accessibility, workspace, screens, log}};

  private:
    mutable std::mutex m_lock;
    std::optional<FileURL> m_folder;
    std::vector<FileURL> m_selection;
    Rect m_frame{100, 400, 800, 300};
};

} // namespace torvo::testing
