/// Control of a digital output, which this system doesn't have.
#ifndef UTILITIES_SERVICES_DIGITALOUTPUT_H
#define UTILITIES_SERVICES_DIGITALOUTPUT_H

#include "utilities/frame/export.h"

/// Does nothing, whatever `state` is.
UTILITIES_EXPORT void SetDigOut(bool state);

#endif
