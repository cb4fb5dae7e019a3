#include "execution/FailureLog.h"

#include "support/Descriptor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <filesystem>

namespace torvo {

namespace {

/// A record as a row of pieces, so that long output need not be copied.
class Record {
  public:
    explicit Record(const FailedCommand& failed)
        : m_head(fmt::format("===== exit {} =====\n$ ", failed.status)), m_pieces{m_head,
                                                                                  failed.command,
                                                                                  "\n--- stderr ---\n",
                                                                                  failed.standardError,
                                                                                  "\n--- stdout ---\n",
                                                                                  failed.standardOutput,
                                                                                  "\n\n"} {}
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    [[nodiscard]] auto& pieces() { return m_pieces; }

  private:
    std::string m_head;
    std::array<std::string_view, 7> m_pieces;
};

} // namespace

std::string failureRecord(const FailedCommand& failed) {
    Record record(failed);
    return fmt::format("{}", fmt::join(record.pieces(), ""));
}

void logFailure(const FileURL& applicationSupportFolder, const FailedCommand& failed) {
    const FileURL folder = applicationSupportFolder.appendingPath("Torvo");
    std::error_code ignored;
    std::filesystem::create_directories(folder.path(), ignored);
    // Not blocking: a FIFO under the log's name must not stop the program.
    const Descriptor file(::open(folder.appendingPath("command-errors.log").path().c_str(),
                                 O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR));
    if (!file.isOpen())
        return;

    // One call writes the whole record; it takes more only when the disk or a signal cuts it short.
    Record record(failed);
    auto& pieces = record.pieces();
    while (true) {
        std::array<iovec, 7> parts;
        std::size_t left = 0;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            parts[i] = {const_cast<char*>(pieces[i].data()), pieces[i].size()};
            left += pieces[i].size();
        }
        const ssize_t count = left == 0 ? 0 : ::writev(file.get(), parts.data(), parts.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        auto written = static_cast<std::size_t>(count);
        for (auto& piece : pieces) {
            const std::size_t done = std::min(written, piece.size());
            piece.remove_prefix(done);
            written -= done;
        }
    }
}

} // namespace torvo
