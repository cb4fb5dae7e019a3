#include "linux/filemanager/WindowKeys.h"

#include <chrono>
#include <thread>

namespace torvo {

namespace {

/// The bar's own shortcut is let go of sooner.
constexpr auto kReleaseTime = std::chrono::milliseconds(500);
constexpr auto kPause = std::chrono::milliseconds(5);

} // namespace

bool pressInWindow(xcb_window_t window, const std::vector<xcb_keysym_t>& keys) {
    const auto display = X11Connection::create();
    if (display == nullptr)
        return false;
    const auto end = std::chrono::steady_clock::now() + kReleaseTime;
    while (!isKeyboardFree(*display)) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(kPause);
    }
    return pressKeysIn(*display, window, keys);
}

} // namespace torvo
