/// Everything public, for clients that want one include.
#ifndef UTILITIES_UTILITIES_H
#define UTILITIES_UTILITIES_H

#include "utilities/cache/cachemanager.h"
#include "utilities/cache/cachenode.h"
#include "utilities/files/binaryfile.h"
#include "utilities/files/mappedfile.h"
#include "utilities/frame/debugline.h"
#include "utilities/frame/export.h"
#include "utilities/frame/statuslog.h"
#include "utilities/locks/lockobj.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/locks/relaxed.h"
#include "utilities/platform/types.h"
#include "utilities/serial/ccomm.h"
#include "utilities/services/change_notification.h"
#include "utilities/services/container_ids.h"
#include "utilities/services/md5.h"
#include "utilities/services/ticks.h"
#include "utilities/services/unique_id.h"
#include "utilities/services/utilityfunctions.h"
#include "utilities/text/qelstring.h"
#include "utilities/threads/threadlist.h"
#include "utilities/threads/threadutils.h"
#include "utilities/time/bqgmtime.h"
#include "utilities/time/bqlocaldate.h"
#include "utilities/time/bqlocaltimeofday.h"
#include "utilities/time/bqtime.h"
#include "utilities/values/multitype.h"

#endif
