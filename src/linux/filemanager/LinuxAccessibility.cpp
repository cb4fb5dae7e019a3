#include "linux/filemanager/LinuxAccessibility.h"

#include "support/FileURLText.h"

namespace torvo {

namespace {

/// Elements are numbered by what they stand for: a window's number on the X server, or a process number above those.
constexpr std::uint64_t kApplications = std::uint64_t{1} << 32U;

} // namespace

AccessibilityElement LinuxAccessibility::application(std::int32_t pid) {
    return {kApplications + static_cast<std::uint32_t>(pid)};
}

std::optional<AccessibilityValue> LinuxAccessibility::attribute(const AccessibilityElement& element,
                                                                std::string_view name) {
    if (element.id >= kApplications) {
        if (name != "AXFocusedWindow" && name != "AXMainWindow")
            return std::nullopt;
        const auto window = m_fileManagers.frontWindow(static_cast<std::int32_t>(element.id - kApplications));
        return window ? std::optional<AccessibilityValue>(AccessibilityElement{*window}) : std::nullopt;
    }
    const auto window = static_cast<xcb_window_t>(element.id);
    // Only ordinary windows become elements.
    if (name == "AXSubrole")
        return "AXStandardWindow";
    // Who is asked for the items is the script host; here it is told whether they can be seen.
    if (name == "AXSelectedChildren")
        return m_fileManagers.showsSelection(window) ? std::optional<AccessibilityValue>("") : std::nullopt;
    if (name == "AXDocument") {
        const auto folder = m_fileManagers.folder(window);
        return folder ? std::optional<AccessibilityValue>(fileURLText(FileURL(*folder))) : std::nullopt;
    }
    const auto pixels = name == "AXPosition" || name == "AXSize" ? m_fileManagers.frame(window) : std::nullopt;
    if (!pixels)
        return std::nullopt;
    const auto frame = m_points ? m_points().fromPixels(*pixels) : *pixels;
    if (name == "AXPosition")
        return Point{frame.x, frame.y};
    return Size{frame.width, frame.height};
}

} // namespace torvo
