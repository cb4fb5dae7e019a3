#pragma once

#include "execution/Operation.h"
#include "platform/SystemLog.h"
#include "support/FileURL.h"

#include <chrono>
#include <functional>
#include <vector>

namespace torvo {

/// The file that keeps the activity list, newest first. The store holds no state: the file is the state.
class OperationStore {
  public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    /// `file`: normally "activity.json". `log` takes one line for each problem and must outlive the store.
    OperationStore(FileURL file, SystemLog& log, Clock now = std::chrono::system_clock::now);

    [[nodiscard]] const FileURL& fileURL() const { return m_file; }
    /// The first 100 records; empty when there is no file. A file that cannot be read as a list of records is moved
    /// aside, never to be read again.
    [[nodiscard]] std::vector<Operation> load() const;
    /// Replaces the file by the first 100 of these records, without those that would make it larger than `load` reads:
    /// after a power cut or on a full disk there is the old list or the new one, never a part.
    void save(const std::vector<Operation>& operations) const;
    /// Deletes the file, if there is one.
    void clear() const;

  private:
    FileURL m_file;
    SystemLog* m_log;
    Clock m_now;
};

} // namespace torvo
