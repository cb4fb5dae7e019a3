#include "linux/AutostartLoginItem.h"

#include "linux/GLibPointers.h"
#include "support/AtomicFile.h"
#include "support/Descriptor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace torvo {

namespace {

constexpr const char* kGroup = "Desktop Entry";
constexpr std::size_t kLargestEntry = std::size_t{1} << 20;

/// What is under the entry's name.
struct Entry {
    enum class Kind { none, unreadable, foreign, ours };
    Kind kind = Kind::none;
    /// Of an entry that cannot be read.
    std::string reason;
    bool isOff = false;
    /// The program of our entry, a path or a name.
    std::string program;
};

bool hasTrue(GKeyFile* file, const char* key) {
    return g_key_file_get_boolean(file, kGroup, key, nullptr) != FALSE;
}

/// Absent when the entry starts nothing.
std::optional<std::string> programOf(GKeyFile* file) {
    const GLibPointer<char> exec(g_key_file_get_string(file, kGroup, "Exec", nullptr));
    char** words = nullptr;
    if (exec == nullptr || g_shell_parse_argv(exec.get(), nullptr, &words, nullptr) == FALSE)
        return std::nullopt;
    std::string program;
    // "%%" stands for one percent sign.
    for (std::string_view word = words[0]; !word.empty(); word.remove_prefix(1)) {
        if (word.starts_with("%%"))
            word.remove_prefix(1);
        program += word.front();
    }
    g_strfreev(words);
    return program;
}

Entry read(const FileURL& url, const FileURL& own) {
    const Descriptor file(::open(url.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.isOpen())
        return errno == ENOENT && !url.isOccupied() ? Entry{} : Entry{Entry::Kind::unreadable, systemErrorText(errno)};
    struct stat status{};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {Entry::Kind::unreadable, "it is not a file"};
    std::string text;
    if (const int error = readAll(file.get(), text, kLargestEntry))
        return {Entry::Kind::unreadable, systemErrorText(error)};
    if (text.empty())
        return {};
    const GLibPointer<GKeyFile> keys(g_key_file_new());
    if (g_key_file_load_from_data(keys.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr) == FALSE)
        return {Entry::Kind::foreign};
    const bool isOff = hasTrue(keys.get(), "Hidden") ||
                       (g_key_file_has_key(keys.get(), kGroup, "X-GNOME-Autostart-enabled", nullptr) != FALSE &&
                        !hasTrue(keys.get(), "X-GNOME-Autostart-enabled"));
    const auto program = programOf(keys.get());
    // A hidden entry may consist of that alone.
    if (!program)
        return {isOff ? Entry::Kind::ours : Entry::Kind::foreign, "", isOff};
    const bool isOurs = FileURL("/" + *program).lastPathComponent() == own.lastPathComponent();
    return {isOurs ? Entry::Kind::ours : Entry::Kind::foreign, "", isOff, *program};
}

std::string failure(const FileURL& file, std::string_view what, std::string_view reason) {
    return fmt::format("Could not {} {}: {}", what, file.path(), reason);
}

} // namespace

std::string execText(const std::vector<std::string>& command) {
    std::string text;
    for (const auto& argument : command) {
        text += text.empty() ? "\"" : " \"";
        for (const char c : argument) {
            if (c == '"' || c == '`' || c == '$' || c == '\\')
                text += '\\';
            text += c;
            if (c == '%')
                text += c;
        }
        text += '"';
    }
    return text;
}

AutostartLoginItem::AutostartLoginItem(const FileURL& configurationFolder, std::vector<std::string> command)
    : m_file(configurationFolder.appendingPath("autostart/torvo.desktop")), m_command(std::move(command)) {}

LoginItemStatus AutostartLoginItem::status() {
    const auto entry = read(m_file, FileURL(m_command.front()));
    if (entry.kind != Entry::Kind::ours || entry.isOff)
        return LoginItemStatus::notRegistered;
    const bool isThere = !entry.program.starts_with('/') || ::access(entry.program.c_str(), X_OK) == 0;
    return isThere ? LoginItemStatus::enabled : LoginItemStatus::notFound;
}

std::expected<void, std::string> AutostartLoginItem::registerItem() {
    const auto entry = read(m_file, FileURL(m_command.front()));
    if (entry.kind == Entry::Kind::foreign)
        return std::unexpected(failure(m_file, "replace", "it starts another program"));
    if (entry.kind == Entry::Kind::unreadable)
        return std::unexpected(failure(m_file, "replace", entry.reason));
    const GLibPointer<GKeyFile> keys(g_key_file_new());
    const auto set = [&](const char* key, const char* value) { g_key_file_set_string(keys.get(), kGroup, key, value); };
    set("Type", "Application");
    set("Name", "Torvo");
    set("Comment", "A command bar for your file manager");
    set("Icon", "torvo");
    set("Exec", execText(m_command).c_str());
    set("X-GNOME-Autostart-enabled", "true");
    const GLibPointer<char> text(g_key_file_to_data(keys.get(), nullptr, nullptr));
    int error = makeFolders(m_file.deletingLastPathComponent());
    if (error == 0)
        error = prepareReplacement(m_file.path(), text.get());
    if (error == 0)
        error = commitReplacement(m_file.path());
    if (error != 0)
        return std::unexpected(failure(m_file, "write", systemErrorText(error)));
    return {};
}

std::expected<void, std::string> AutostartLoginItem::unregisterItem() {
    const auto entry = read(m_file, FileURL(m_command.front()));
    if (entry.kind == Entry::Kind::foreign)
        return {};
    if (entry.kind == Entry::Kind::unreadable)
        return std::unexpected(failure(m_file, "remove", entry.reason));
    if (::unlink(m_file.path().c_str()) != 0 && errno != ENOENT)
        return std::unexpected(failure(m_file, "remove", systemErrorText(errno)));
    return {};
}

} // namespace torvo
