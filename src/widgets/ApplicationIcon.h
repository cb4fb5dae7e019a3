#pragma once

#include <QIcon>

namespace torvo {

/// Torvo's icon as it is in packaging/, for the frames of its windows and for task switchers.
[[nodiscard]] QIcon applicationIcon();

} // namespace torvo
