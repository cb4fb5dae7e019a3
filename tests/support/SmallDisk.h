#pragma once

#include "tests/support/TemporaryFolder.h"

#include <sys/mount.h>

#include <cstddef>
#include <string>

namespace torvo::testing {

/// A file system of its own that holds only so many bytes, mounted while the object lives. Only root may mount one.
class SmallDisk {
  public:
    explicit SmallDisk(std::size_t bytes)
        : m_isMounted(::mount("torvo-test", m_folder.path().c_str(), "tmpfs", 0,
                              ("size=" + std::to_string(bytes)).c_str()) == 0) {}
    ~SmallDisk() {
        if (m_isMounted)
            ::umount2(m_folder.path().c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    [[nodiscard]] bool isMounted() const { return m_isMounted; }
    [[nodiscard]] const TemporaryFolder& folder() const { return m_folder; }

  private:
    TemporaryFolder m_folder;
    bool m_isMounted;
};

} // namespace torvo::testing
