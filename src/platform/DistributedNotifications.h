#pragma once

#include <string_view>

namespace torvo {

/// Tells every program of the session that something happened. Main thread only.
class DistributedNotifications {
  public:
    virtual ~DistributedNotifications() = default;

    /// Posts a notification of that name, without an object or further information; it is on its way when the call
    /// returns.
    virtual void post(std::string_view name) = 0;
};

} // namespace torvo
