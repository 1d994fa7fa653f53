#include "utilities/frame/static_objects_internal.h"

#include "utilities/locks/lockobj.h"
#include "utilities/time/bqgmtime.h"

// One source for all of them: only within one source is the order of construction, and with it the
// reverse order of destruction, that of the definitions. This system's loader tells a library
// nothing of threads that start or end, so there is no notification to decline here.

const String StatusLogCurrentPath(STATUS_LOG_CURRENT);
const String StatusLogLastStopPath(STATUS_LOG_LAST_STOP);
const String String::sEmpty;
const WString WString::sEmpty;
MutexLock BqGMTime::tm_mutex("BqGMTime::tm_mutex");
const String NarrowFalseText(NARROW_FALSE);
const String NarrowTrueText("1");
const WString WideFalseText(WIDE_FALSE);
const WString WideTrueText(u"1");
