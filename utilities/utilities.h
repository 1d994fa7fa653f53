/// Everything public, for clients that want one include.
#ifndef UTILITIES_UTILITIES_H
#define UTILITIES_UTILITIES_H

#include "utilities/frame/debugline.h"
#include "utilities/frame/export.h"
#include "utilities/frame/statuslog.h"
#include "utilities/platform/types.h"
#include "utilities/services/change_notification.h"
#include "utilities/services/container_ids.h"
#include "utilities/services/md5.h"
#include "utilities/text/qelstring.h"
#include "utilities/values/multitype.h"

#endif
