#include "utilities/frame/version.h"

unsigned int getUtilitiesVersion() { return UTILITIES_VERSION; }
