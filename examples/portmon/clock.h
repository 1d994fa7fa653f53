/// The time of day.
#ifndef PORTMON_CLOCK_H
#define PORTMON_CLOCK_H

#include "utilities/utilities.h"

/// The local time now, in the format of the process's locale.
String LocalTime();

#endif
