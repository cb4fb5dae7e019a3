#include "execution/OperationStore.h"

#include "support/AtomicFile.h"
#include "support/Descriptor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <ranges>
#include <string_view>
#include <utility>

namespace torvo {

namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;

/// The content, up to a little more than the largest; absent when there is no such file, or it cannot be read.
std::optional<std::string> contentOf(const FileURL& url) {
    // A pipe under this name must not keep the bar waiting.
    const Descriptor file(::open(url.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status{};
    std::string content;
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        readAll(file.get(), content, kLargestFile) != 0)
        return std::nullopt;
    return content;
}

/// The content of the file. Records that have no room in the largest are left out, the older ones first.
std::string listText(const std::vector<Operation>& operations) {
    constexpr std::string_view kOpening = "[\n";
    constexpr std::string_view kSeparator = ",\n";
    constexpr std::string_view kClosing = "\n]";
    std::string text;
    for (const auto& operation : operations | std::views::take(kMaximumOperations)) {
        // A list of one, whose brackets are taken off: each record is encoded once, and its size is known then.
        const auto one = Json::array({encode(operation)}).dump(2, ' ', false, Json::error_handler_t::replace);
        const auto record =
            std::string_view(one).substr(kOpening.size(), one.size() - kOpening.size() - kClosing.size());
        if (text.size() + record.size() + kOpening.size() + kSeparator.size() + kClosing.size() >= kLargestFile)
            continue;
        text += text.empty() ? kOpening : kSeparator;
        text += record;
    }
    return text.empty() ? "[]\n" : text.append(kClosing).append("\n");
}

} // namespace

OperationStore::OperationStore(FileURL file, SystemLog& log, Clock now)
    : m_file(std::move(file)), m_log(&log), m_now(std::move(now)) {}

std::vector<Operation> OperationStore::load() const {
    const auto content = contentOf(m_file);
    if (!content)
        return {};
    auto operations = content->size() <= kLargestFile
                          ? decodeOperations(*content)
                          : std::expected<std::vector<Operation>, std::string>(std::unexpected("it is too large"));
    if (operations)
        return std::move(*operations);
    auto seconds = std::chrono::duration_cast<std::chrono::seconds>(m_now().time_since_epoch()).count();
    const auto aside = [&] {
        return m_file.deletingLastPathComponent().appendingPath(fmt::format("activity-corrupt-{}.json", seconds));
    };
    // An earlier one stays.
    while (renameWithoutReplacing(m_file.path(), aside().path()) == EEXIST)
        ++seconds;
    m_log->write(fmt::format("[Torvo] Quarantined unreadable activity log: {}", operations.error()));
    return {};
}

void OperationStore::save(const std::vector<Operation>& operations) const {
    const auto text = listText(operations);
    int error = makeFolders(m_file.deletingLastPathComponent());
    if (error == 0)
        error = prepareReplacement(m_file.path(), text);
    if (error == 0)
        error = commitReplacement(m_file.path());
    if (error != 0)
        m_log->write(fmt::format("[Torvo] Could not save activity: {}", systemErrorText(error)));
}

void OperationStore::clear() const {
    ::unlink(m_file.path().c_str());
}

} // namespace torvo
