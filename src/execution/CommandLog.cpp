#include "execution/CommandLog.h"

#include "support/Descriptor.h"
#include "support/Overloaded.h"
#include "support/Text.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

namespace torvo {

namespace {

constexpr std::string_view kEnabledKey = "commandLoggingEnabled";

/// ISO 8601 in UTC with milliseconds.
std::string timestamp(std::chrono::system_clock::time_point time) {
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = milliseconds / 1000;
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", parts.tm_year + 1900, parts.tm_mon + 1,
                       parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, milliseconds % 1000);
}

/// Not blocking: a FIFO under the log's name must not stop the program.
Descriptor opened(const FileURL& file) {
    return Descriptor(::open(file.path().c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
}

void appendLine(const FileURL& file, const std::string& line) {
    auto log = opened(file);
    if (!log.isOpen() && errno == ENOENT) {
        std::error_code ignored;
        std::filesystem::create_directories(file.deletingLastPathComponent().path(), ignored);
        log = opened(file);
    }
    if (log.isOpen() && ::write(log.get(), line.data(), line.size()) < 0) {
        // The log is best effort: what cannot be written is left out.
    }
}

std::string specText(const SelectionSpec& spec) {
    return std::visit(Overloaded{
                          [](const SelectionSpec::All&) -> std::string { return "all"; },
                          [](const SelectionSpec::None&) -> std::string { return "none"; },
                          [](const SelectionSpec::Extensions& extensions) { return joined(extensions.list, " "); },
                      },
                      spec.value);
}

} // namespace

Json describe(const Action& action) {
    return std::visit(
        Overloaded{
            [](const Select& select) { return Json{{"kind", "select-preset"}, {"spec", specText(select.spec)}}; },
            [](const ConvertImages& convert) { return Json{{"kind", "convert-preset"}, {"toExt", convert.toExt}}; },
            [](const ZipSelection&) { return Json{{"kind", "zip-preset"}}; },
            [](const Shell& shell) {
                Json description{{"kind", "run"},
                                 {"command", shell.command},
                                 {"explanation", shell.explanation},
                                 {"destructive", shell.destructive}};
                if (shell.preview)
                    description["preview"] = *shell.preview;
                return description;
            },
            [](const SelectByCommand& select) {
                return Json{{"kind", "select"}, {"command", select.command}, {"explanation", select.explanation}};
            },
        },
        action);
}

CommandLog::CommandLog(FileURL file, UserDefaults& defaults, SerialQueue& queue, Clock now)
    : m_file(std::move(file)), m_defaults(defaults), m_queue(queue), m_now(std::move(now)) {}

bool CommandLog::isEnabled() {
    if (const auto stored = m_defaults.getAs<bool>(kEnabledKey))
        return *stored;
    const bool isThere = m_file.exists();
    // A store that cannot be written leaves the decision to the next reading.
    (void)m_defaults.update(kEnabledKey, [isThere](const std::optional<DefaultsValue>& stored) {
        const auto* decided = stored ? std::get_if<bool>(&*stored) : nullptr;
        return DefaultsValue(decided != nullptr ? *decided : isThere);
    });
    return m_defaults.getAs<bool>(kEnabledKey).value_or(isThere);
}

void CommandLog::plan(const UUID& id, std::string_view route, std::string_view input, const FinderContext& context,
                      Json extra) {
    Json record = std::move(extra);
    record["route"] = route;
    record["input"] = input;
    record["selection"] = pathsOf(context.selection);
    if (context.folder)
        record["folder"] = context.folder->path();
    append("plan", id, std::move(record));
}

void CommandLog::response(const UUID& id, std::string_view content) {
    append("response", id, {{"content", content}});
}

void CommandLog::outcome(const UUID& id, std::string_view outcome, std::string_view detail) {
    Json record{{"outcome", outcome}};
    if (!detail.empty())
        record["detail"] = detail;
    append("outcome", id, std::move(record));
}

void CommandLog::clear(std::function<void(std::expected<void, std::string> cleared)> then) {
    m_queue.async([file = m_file, then = std::move(then)] {
        std::error_code failure;
        std::filesystem::remove(file.path(), failure);
        if (failure)
            then(std::unexpected(failure.message()));
        else
            then({});
    });
}

void CommandLog::append(const char* event, const UUID& id, Json record) {
    if (!isEnabled())
        return;
    record["event"] = event;
    record["id"] = id.text();
    record["ts"] = timestamp(m_now());
    m_queue.async([file = m_file, record = std::move(record)] { appendLine(file, compactJson(record) + '\n'); });
}

} // namespace torvo
