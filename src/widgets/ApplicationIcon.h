#pragma once

#include <QIcon>

namespace torvo {

/// An icon like the one in packaging/, for the frames of its windows and for task switchers.
[[nodiscard]] QIcon applicationIcon();

} // namespace torvo
