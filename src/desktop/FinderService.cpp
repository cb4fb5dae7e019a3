#include "desktop/FinderService.h"

#include "platform/FinderScripts.h"
#include "support/FileURLText.h"
#include "support/Text.h"

#include <fmt/format.h>

namespace torvo {

std::vector<FileURL> parseFinderSelection(std::string_view output) {
    std::vector<FileURL> files;
    for (const auto path : split(output, '\n')) {
        if (!path.empty())
            files.emplace_back(std::string(path));
    }
    return files;
}

std::optional<Rect> finderWindowFrame(const Point& position, const Size& size, double screenHeight) {
    if (!(size.width > 0))
        return std::nullopt;
    return Rect{position.x, screenHeight - position.y - size.height, size.width, size.height};
}

std::optional<std::string> FinderService::runOsascript(const std::vector<std::string>& arguments) {
    const auto output = m_platform.scripts.run(arguments);
    if (!output) {
        m_platform.log.write(fmt::format("[Torvo] osascript error: {}", output.error()));
        return std::nullopt;
    }
    // Names need not be text: bytes that are none are kept.
    return std::string(trimmedOf(*output, "\n"));
}

std::vector<FileURL> FinderService::selectedFiles() {
    std::vector<FileURL> files;
    for (const auto& line : parseFinderSelection(runOsascript({"-e", kSelectionScript}).value_or(""))) {
        // No path begins like that: it is the rest of a name with a line feed in it.
        if (line.path().starts_with('/'))
            files.push_back(line);
        else if (!files.empty())
            files.back() = FileURL(files.back().path() + '\n' + line.path());
    }
    return files;
}

bool FinderService::showsSelection() {
    const auto front = frontFinderAXWindow();
    return front && m_platform.accessibility.attribute(*front, "AXSelectedChildren").has_value();
}

void FinderService::select(const std::vector<FileURL>& items) {
    std::vector<std::string> arguments{"-e", items.empty() ? kClearSelectionScript : kSetSelectionScript};
    for (const auto& item : items)
        arguments.push_back(item.path());
    (void)runOsascript(arguments);
}

std::optional<FileURL> FinderService::frontWindowFolder() {
    auto path = frontWindowFolderViaAX();
    if (!path)
        path = frontWindowFolderViaAppleScript();
    return path ? std::optional(FileURL(std::move(*path))) : std::nullopt;
}

std::optional<std::string> FinderService::frontWindowFolderViaAX() {
    const auto front = frontFinderAXWindow();
    if (!front)
        return std::nullopt;
    const auto document = m_platform.accessibility.attribute(*front, "AXDocument");
    const auto* text = document ? std::get_if<std::string>(&*document) : nullptr;
    if (text == nullptr)
        return std::nullopt;
    if (const auto url = parseFileURLText(*text))
        return url->path();
    return text->starts_with('/') ? std::optional(*text) : std::nullopt;
}

std::optional<std::string> FinderService::frontWindowFolderViaAppleScript() {
    auto path = runOsascript({"-e", kFrontFolderScript});
    return path && !path->empty() ? std::move(path) : std::nullopt;
}

std::optional<Rect> FinderService::frontWindowFrame() {
    const auto front = frontWindow();
    return front ? std::optional(front->frame) : std::nullopt;
}

std::optional<FinderWindow> FinderService::frontWindow() {
    const auto front = frontFinderAXWindow();
    if (!front)
        return std::nullopt;
    const auto position = m_platform.accessibility.attribute(*front, "AXPosition");
    const auto size = m_platform.accessibility.attribute(*front, "AXSize");
    const auto* point = position ? std::get_if<Point>(&*position) : nullptr;
    const auto* extent = size ? std::get_if<Size>(&*size) : nullptr;
    if (point == nullptr || extent == nullptr)
        return std::nullopt;
    const auto screens = m_platform.screens.layout().screens;
    const auto frame = finderWindowFrame(*point, *extent, screens.empty() ? 0 : screens.front().frame.height);
    return frame ? std::optional(FinderWindow{*front, *frame}) : std::nullopt;
}

std::optional<AccessibilityElement> FinderService::frontFinderAXWindow() {
    const auto running = m_platform.workspace.runningApplications(kFinderIdentifier);
    if (running.empty())
        return std::nullopt;
    const auto application = m_platform.accessibility.application(running.front());
    for (const char* attribute : {"AXFocusedWindow", "AXMainWindow"}) {
        const auto candidate = window(application, attribute);
        if (candidate && isStandardWindow(*candidate))
            return candidate;
    }
    return std::nullopt;
}

std::optional<AccessibilityElement> FinderService::window(const AccessibilityElement& application,
                                                          std::string_view attribute) {
    const auto value = m_platform.accessibility.attribute(application, attribute);
    const auto* element = value ? std::get_if<AccessibilityElement>(&*value) : nullptr;
    return element != nullptr ? std::optional(*element) : std::nullopt;
}

bool FinderService::isStandardWindow(const AccessibilityElement& element) {
    const auto subrole = m_platform.accessibility.attribute(element, "AXSubrole");
    const auto* text = subrole ? std::get_if<std::string>(&*subrole) : nullptr;
    return text != nullptr && *text == "AXStandardWindow";
}

} // namespace torvo
