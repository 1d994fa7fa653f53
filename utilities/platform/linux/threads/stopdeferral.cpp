#include "utilities/platform/stopdeferral.h"

#include "utilities/platform/linux/sync/current.h"

namespace platform {

StopDeferral::StopDeferral() { BeginDeferral(); }

StopDeferral::~StopDeferral() { EndDeferral(); }

}  // namespace platform
