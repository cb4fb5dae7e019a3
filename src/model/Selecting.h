#pragma once

#include "support/FileURL.h"

#include <vector>

namespace torvo {

/// Where selections go: the file manager, or a list that only remembers them.
class Selecting {
  public:
    virtual ~Selecting() = default;

    /// Makes exactly these items the selection; an empty list clears it.
    virtual void select(const std::vector<FileURL>& items) = 0;
};

} // namespace torvo
