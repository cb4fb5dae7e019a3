#include "tests/support/FakeFinder.h"

#include "support/FileURLText.h"

namespace torvo::testing {

namespace {

constexpr std::int32_t kFinder = 100;

} // namespace

std::expected<std::string, std::string> FakeScriptHost::run(const std::vector<std::string>& arguments) {
    {
        const std::lock_guard guard(m_lock);
        m_runs.push_back(arguments);
    }
    return answer ? answer(arguments) : std::expected<std::string, std::string>("");
}

std::vector<std::vector<std::string>> FakeScriptHost::runs() const {
    const std::lock_guard guard(m_lock);
    return m_runs;
}

std::optional<AccessibilityValue> FakeAccessibility::attribute(const AccessibilityElement& element,
                                                               std::string_view name) {
    const std::lock_guard guard(m_lock);
    const auto found = m_attributes.find(element.id);
    if (!isAllowed || found == m_attributes.end())
        return std::nullopt;
    const auto value = found->second.find(name);
    return value == found->second.end() ? std::nullopt : std::optional(value->second);
}

void FakeAccessibility::set(std::uint64_t element, const std::string& name, AccessibilityValue value) {
    const std::lock_guard guard(m_lock);
    m_attributes[element].insert_or_assign(name, std::move(value));
}

void FakeAccessibility::clear(std::uint64_t element) {
    const std::lock_guard guard(m_lock);
    m_attributes.erase(element);
}

std::vector<std::int32_t> FakeWorkspace::runningApplications(std::string_view identifier) {
    const auto found = running.find(identifier);
    return found == running.end() ? std::vector<std::int32_t>{} : found->second;
}

void FakeWorkspace::openApplication(const FileURL& application, std::function<void()> done) {
    openedApplications.push_back(application);
    done();
}

void FakeWorkspace::switchTo(std::optional<std::string> identifier) {
    frontmost = std::move(identifier);
    m_observers.notify();
}

FakeFinder::FakeFinder() {
    workspace.running[std::string(kFinderIdentifier)] = {kFinder};
    workspace.frontmost = kFinderIdentifier;
    scripts.answer = [this](const std::vector<std::string>& arguments) -> std::expected<std::string, std::string> {
        const std::lock_guard guard(m_lock);
        const auto& script = arguments.at(1);
        if (script.starts_with("on run argv") || script.ends_with("set selection to {}")) {
            m_selection = {};
            for (auto path = arguments.begin() + 2; path != arguments.end(); ++path)
                m_selection.emplace_back(*path);
            return "";
        }
        if (script.find("target of front Finder window") != std::string::npos)
            return m_folder ? m_folder->path() + "\n" : "\n";
        std::string lines;
        for (const auto& item : m_selection)
            lines += item.path() + "\n";
        return lines;
    };
}

void FakeFinder::show(const std::optional<FileURL>& folder, std::vector<FileURL> selection) {
    {
        const std::lock_guard guard(m_lock);
        m_folder = folder;
        m_selection = std::move(selection);
    }
    if (!folder) {
        accessibility.clear(kFinder);
        return;
    }
    accessibility.set(kFinder, "AXFocusedWindow", AccessibilityElement{window});
    accessibility.set(window, "AXSubrole", "AXStandardWindow");
    accessibility.set(window, "AXDocument", fileURLText(*folder));
    if (showsSelection)
        accessibility.set(window, "AXSelectedChildren", "");
    moveWindow(m_frame);
}

void FakeFinder::moveWindow(const Rect& frame) {
    m_frame = frame;
    const double height = screens.current.screens.front().frame.height;
    accessibility.set(window, "AXPosition", Point{frame.x, height - frame.y - frame.height});
    accessibility.set(window, "AXSize", Size{frame.width, frame.height});
}

void FakeFinder::quit() {
    workspace.running.clear();
    show(std::nullopt);
}

std::vector<FileURL> FakeFinder::selection() const {
    const std::lock_guard guard(m_lock);
    return m_selection;
}

} // namespace torvo::testing
