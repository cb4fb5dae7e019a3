#pragma once

#include "platform/Trash.h"

namespace torvo {

/// The freedesktop Trash (Desktop Trash Can Specification), in the home folder and at the top of other volumes, by way
/// of GIO. Callable from any thread.
class GioTrash final : public Trash {
  public:
    std::expected<void, std::string> moveToTrash(const FileURL& item) override;
};

} // namespace torvo
