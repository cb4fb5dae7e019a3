#pragma once

#include "support/FileURL.h"
#include "support/GrowingBuffer.h"

#include <optional>
#include <vector>

namespace torvo {

/// The folders in which a command's new files are looked for: the parents of the selected items and the folder that the
/// command bar is over. Standardized, each once.
[[nodiscard]] std::vector<FileURL> watchedFolders(const std::vector<FileURL>& selection,
                                                  const std::optional<FileURL>& folder);

/// The names in some folders at one moment, hidden ones included and subfolders not entered, against which a later
/// moment can be held. A folder that cannot be read counts as empty. Takes the bytes of the names and two more for
/// each.
class FolderSnapshot {
  public:
    [[nodiscard]] static FolderSnapshot of(const std::vector<FileURL>& folders);

    /// What is in the folders now and was not then, by rising bytes of the path.
    [[nodiscard]] std::vector<FileURL> newFiles() const;

  private:
    struct Listing {
        FileURL folder;
        /// Each name after its length in two bytes, in the order in which the file system listed them.
        GrowingBuffer names;
    };

    std::vector<Listing> m_listings;
};

} // namespace torvo
