#pragma once

#include <expected>
#include <string>

namespace torvo {

enum class LoginItemStatus { notRegistered, enabled, requiresApproval, notFound };

/// Whether the desktop starts this program when the user logs in. Errors are one line for the user.
class LoginItem {
  public:
    virtual ~LoginItem() = default;

    [[nodiscard]] virtual LoginItemStatus status() = 0;
    [[nodiscard]] virtual std::expected<void, std::string> registerItem() = 0;
    [[nodiscard]] virtual std::expected<void, std::string> unregisterItem() = 0;
};

} // namespace torvo
