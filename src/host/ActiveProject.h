// The project the user works on, as the host's project services tell it. An extended
// interface of IOTAProjectServices: a host that knows an active project offers it, and callers
// ask for it (dynamic_pointer_cast) before they use it.
#pragma once

#include <memory>

#include "host/Projects.h"

class IOTAActiveProjectServices {
 public:
  virtual ~IOTAActiveProjectServices() = default;
  /// The active project of the open project group, or nullptr when there is none.
  virtual IOTAProjectPtr GetActiveProject() const = 0;
};
