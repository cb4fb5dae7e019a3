#pragma once

#include "widgets/SectionBox.h"
#include "windows/settings/SettingsServices.h"

namespace torvo {

/// The ways to the panes where the user grants what Torvo needs.
class PermissionsSection final : public SectionBox {
  public:
    explicit PermissionsSection(const SettingsServices& services);

  private:
    SettingsServices m_services;
};

} // namespace torvo
