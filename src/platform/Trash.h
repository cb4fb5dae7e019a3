#pragma once

#include "support/FileURL.h"

#include <expected>
#include <string>

namespace torvo {

/// The user's Trash, from which the file manager can restore what is in it.
class Trash {
  public:
    virtual ~Trash() = default;

    /// Moves a file or a folder with all that is in it to the Trash; a link is moved itself. The error is one line for
    /// the user; the item is then where it was.
    [[nodiscard]] virtual std::expected<void, std::string> moveToTrash(const FileURL& item) = 0;
};

} // namespace torvo
