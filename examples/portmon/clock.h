/// The time of day.
#ifndef PORTMON_CLOCK_H
#define PORTMON_CLOCK_H

#include "utilities/utilities.h"

/// The local time of day now, as the process's locale writes it.
String LocalTime();

#endif
