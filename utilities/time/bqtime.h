/// All of the time classes: instants, local dates, times of day and their output.
#ifndef UTILITIES_TIME_BQTIME_H
#define UTILITIES_TIME_BQTIME_H

#include "utilities/time/bqgmtime.h"
#include "utilities/time/bqlocaldate.h"
#include "utilities/time/bqlocaltimeofday.h"

#endif
