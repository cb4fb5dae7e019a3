#include "RowPipe.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace torvo::sips {
namespace {

/// Below this a picture is converted sooner than a thread is started.
constexpr std::size_t kBytesWorthAThread = std::size_t{1} << 20;
/// One batch fits into a core's own cache.
constexpr std::size_t kBatchBytes = std::size_t{128} << 10;

struct Batch {
    std::vector<std::uint8_t> bytes;
    std::uint32_t rows = 0;
};

/// A ring of batches between one thread that fills and one that drains.
class BatchRing {
  public:
    explicit BatchRing(std::size_t batchBytes) {
        for (Batch& batch : m_batches)
            batch.bytes.resize(batchBytes);
    }

    /// A free batch; null when the ring was closed.
    Batch* nextFree() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_isClosed || m_filled - m_drained < m_batches.size(); });
        return m_isClosed ? nullptr : &m_batches[m_filled % m_batches.size()];
    }
    void setFilled() { advance(m_filled); }

    /// The next batch to drain; null when the ring was closed.
    const Batch* nextFilled() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_isClosed || m_drained < m_filled; });
        return m_isClosed ? nullptr : &m_batches[m_drained % m_batches.size()];
    }
    void setDrained() { advance(m_drained); }

    /// Gives up on both sides.
    void close() {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
        m_changed.notify_all();
    }

  private:
    void advance(std::size_t& count) {
        const std::lock_guard lock(m_mutex);
        ++count;
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::array<Batch, 4> m_batches;
    std::size_t m_filled = 0;
    std::size_t m_drained = 0;
    bool m_isClosed = false;
};

bool pumpHere(RowReader& reader, RowWriter& writer) {
    std::vector<std::uint8_t> row(reader.layout().rowBytes());
    for (std::uint32_t y = 0; y < reader.layout().height; ++y) {
        if (!reader.readRow(row.data()) || !writer.writeRow(row.data()))
            return false;
    }
    return true;
}

void fill(RowReader& reader, BatchRing& ring, std::uint32_t rowsPerBatch) {
    const RowLayout& layout = reader.layout();
    for (std::uint32_t y = 0; y < layout.height; y += rowsPerBatch) {
        Batch* const batch = ring.nextFree();
        if (batch == nullptr)
            return;
        batch->rows = std::min(rowsPerBatch, layout.height - y);
        for (std::uint32_t row = 0; row < batch->rows; ++row) {
            if (!reader.readRow(batch->bytes.data() + row * layout.rowBytes()))
                return ring.close();
        }
        ring.setFilled();
    }
}

bool drain(BatchRing& ring, RowWriter& writer, const RowLayout& layout) {
    for (std::uint32_t y = 0; y < layout.height;) {
        const Batch* const batch = ring.nextFilled();
        if (batch == nullptr)
            return false;
        for (std::uint32_t row = 0; row < batch->rows; ++row) {
            if (!writer.writeRow(batch->bytes.data() + row * layout.rowBytes())) {
                ring.close();
                return false;
            }
        }
        y += batch->rows;
        ring.setDrained();
    }
    return true;
}

} // namespace

bool pumpRows(RowReader& reader, RowWriter& writer) {
    const RowLayout& layout = reader.layout();
    if (layout.rowBytes() * layout.height < kBytesWorthAThread)
        return pumpHere(reader, writer);
    const auto rowsPerBatch = static_cast<std::uint32_t>(std::max<std::size_t>(1, kBatchBytes / layout.rowBytes()));
    BatchRing ring(rowsPerBatch * layout.rowBytes());
    const std::jthread filler([&] { fill(reader, ring, rowsPerBatch); });
    return drain(ring, writer, layout);
}

} // namespace torvo::sips
