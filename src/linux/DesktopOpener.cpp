#include "linux/DesktopOpener.h"

#include "linux/DetachedProgram.h"
#include "linux/SettingsPanes.h"
#include "support/FileURLText.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace torvo {

namespace {

/// The file manager may have to be started first.
constexpr std::chrono::seconds kPatience{10};

void openByDefault(const std::string& address) {
    (void)startDetached({"xdg-open", address});
}

bool isFolder(const FileURL& url) {
    struct stat status{};
    return ::stat(url.path().c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void startApplication(const FileURL& application) {
    if (!isFolder(application)) {
        (void)startDetached({application.path()});
        return;
    }
    const auto program = application.appendingPath("AppRun");
    if (::access(program.path().c_str(), X_OK) == 0)
        (void)startDetached({program.path()});
    else
        openByDefault(fileURLText(application));
}

} // namespace

DesktopOpener::DesktopOpener(SessionBus& bus, Dispatcher& dispatcher)
    : m_bus(bus), m_dispatcher(dispatcher), m_cancellable(g_cancellable_new()) {}

DesktopOpener::~DesktopOpener() {
    g_cancellable_cancel(m_cancellable.get());
}

void DesktopOpener::reveal(std::vector<FileURL> files) {
    if (files.empty())
        return;
    m_queue.async([this, files = std::move(files)] {
        if (!showItems(files) && g_cancellable_is_cancelled(m_cancellable.get()) == FALSE)
            openByDefault(fileURLText(files.front().deletingLastPathComponent()));
    });
}

void DesktopOpener::open(std::string address) {
    m_queue.async([address = std::move(address)] {
        if (isSettingsAddress(address)) {
            const char* desktops = std::getenv("XDG_CURRENT_DESKTOP");
            const auto commands = settingsCommands(address, desktops == nullptr ? "" : desktops);
            (void)std::ranges::any_of(commands, [](const auto& command) { return startDetached(command).has_value(); });
        } else if (const auto openable = openableAddress(address); !openable.empty()) {
            openByDefault(openable);
        }
    });
}

void DesktopOpener::openApplication(FileURL application, std::function<void()> opened) {
    m_queue.async([this, application = std::move(application), opened = std::move(opened)] {
        startApplication(application);
        m_dispatcher.runOnMain(opened);
    });
}

bool DesktopOpener::showItems(const std::vector<FileURL>& files) {
    const auto connection = m_bus.connection();
    if (connection == nullptr)
        return false;
    GVariantBuilder addresses;
    g_variant_builder_init(&addresses, G_VARIANT_TYPE_STRING_ARRAY);
    for (const auto& file : files)
        g_variant_builder_add(&addresses, "s", fileURLText(file).c_str());
    constexpr const char* startupIdentifier = "";
    return connection
        ->call({"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1", "org.freedesktop.FileManager1",
                "ShowItems"},
               g_variant_new("(ass)", &addresses, startupIdentifier), "()", kPatience, m_cancellable.get())
        .has_value();
}

std::string openableAddress(std::string_view address) {
    using namespace std::string_view_literals;
    constexpr std::array schemes{"http://"sv, "https://"sv, "file:///"sv};
    const auto beginning = lowercased(address.substr(0, schemes[2].size()));
    if (std::ranges::none_of(schemes, [&](std::string_view scheme) { return beginning.starts_with(scheme); }))
        return {};
    std::string text;
    for (const char c : address) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain = byte > ' ' && byte < 0x7F && "\"<>\\^`{|}'"sv.find(c) == std::string_view::npos;
        text += isPlain ? std::string(1, c) : fmt::format("%{:02X}", byte);
    }
    return text;
}

} // namespace torvo
