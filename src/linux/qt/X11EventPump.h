#pragma once

#include "linux/X11Connection.h"

#include <QSocketNotifier>

namespace torvo {

/// Has Qt's event loop hand over what arrives on a connection to the X server.
class X11EventPump {
  public:
    /// `connection` must outlive the object.
    explicit X11EventPump(X11Connection& connection);

  private:
    QSocketNotifier m_arrived;
};

} // namespace torvo
