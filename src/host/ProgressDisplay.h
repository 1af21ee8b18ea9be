// Abstract progress display, drawn by the progress window or a front end's own
// display. Lives from notice 0 to notice 3 of one operation.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/RemoteProfileTypes.h"

class IProgressDisplay {
 public:
  virtual ~IProgressDisplay() = default;
  /// Answers false once the user has cancelled.
  virtual bool UpdateProgress(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count,
                              const std::string& Text, const std::string& Detail1, const std::string& Detail2,
                              std::int32_t Position, bool CloseWhenDone) = 0;
};
using IProgressDisplayPtr = std::shared_ptr<IProgressDisplay>;
