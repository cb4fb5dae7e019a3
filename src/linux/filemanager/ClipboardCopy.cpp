#include "linux/filemanager/ClipboardCopy.h"

#include "linux/X11Connection.h"
#include "linux/filemanager/FileManagerWindow.h"
#include "support/FileURLText.h"

#include <algorithm>

namespace torvo {

namespace {

using std::chrono::steady_clock;

/// How long the one whose content is on the clipboard may take to hand it over.
constexpr auto kSaveTime = std::chrono::milliseconds(500);
/// A program that has something to copy takes the clipboard sooner than that, and one that is busy at least sooner than
/// that.
constexpr auto kTakeTime = std::chrono::milliseconds(250);
constexpr auto kLateTime = std::chrono::seconds(10);

/// When the user last pressed a key or a button in a window (Extended Window Manager Hints, _NET_WM_USER_TIME, which
/// may be at a window of its own).
std::optional<xcb_timestamp_t> userTime(X11Connection& display, xcb_window_t window) {
    const auto number = [&](xcb_window_t of, xcb_atom_t property, xcb_atom_t type) -> std::optional<std::uint32_t> {
        const auto cookie = xcb_get_property(display.get(), 0, of, property, type, 0, 1);
        const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(display.get(), cookie, nullptr));
        if (!reply || reply->format != 32 || reply->value_len == 0)
            return std::nullopt;
        return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    };
    const auto* hints = display.hints();
    const auto holder = number(window, hints->_NET_WM_USER_TIME_WINDOW, XCB_ATOM_WINDOW).value_or(window);
    return number(holder, hints->_NET_WM_USER_TIME, XCB_ATOM_CARDINAL);
}

/// Whether the owner of a window is a file manager in which the user has not done anything since that time.
bool isIdleFileManager(xcb_window_t owner, xcb_timestamp_t since) {
    const auto display = X11Connection::create();
    if (display == nullptr)
        return false;
    // All that a program makes on the server has numbers that differ in these bits only.
    const auto own = xcb_get_setup(display->get())->resource_id_mask;
    bool isOneOfThem = false;
    for (const auto window : display->stackedWindows()) {
        if (((window ^ owner) & ~own) != 0)
            continue;
        isOneOfThem = isOneOfThem || isFileManager(display->windowClass(window));
        // The clock starts again from zero.
        if (const auto used = userTime(*display, window); used && static_cast<std::int32_t>(*used - since) > 0)
            return false;
    }
    return isOneOfThem;
}

} // namespace

std::vector<std::string> copiedFiles(ClipboardKeeper& keeper, const std::function<void()>& copy, Deadline deadline) {
    auto* clipboard = keeper.beginReading();
    if (clipboard == nullptr)
        return {};
    auto before = clipboard->readAll(std::min(deadline, steady_clock::now() + kSaveTime));
    if (!before) {
        keeper.endReading();
        return {};
    }
    copy();
    // The keys that make a program copy count as pressed by the user there; what comes later does not.
    const auto asked = clipboard->serverTime();
    if (!clipboard->isTaken(std::min(deadline, steady_clock::now() + kTakeTime))) {
        keeper.endReading(LateCopy{.before = *std::move(before),
                                   .until = steady_clock::now() + kLateTime,
                                   .isIt = [asked](xcb_window_t owner) { return isIdleFileManager(owner, asked); }});
        return {};
    }
    const auto list = clipboard->read("text/uri-list", deadline);
    keeper.keep(*std::move(before));
    keeper.endReading();
    std::vector<std::string> paths;
    if (list)
        std::ranges::transform(filesInUriList(list->bytes), std::back_inserter(paths), &FileURL::path);
    return paths;
}

} // namespace torvo
