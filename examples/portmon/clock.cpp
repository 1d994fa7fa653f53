#include "clock.h"

#include "localized.h"

String LocalTime() { return Localized(BqGMTime::getCurrentTime().getLocalTimeOfDay(nullptr)); }
