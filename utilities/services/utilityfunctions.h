/// The utility functions: the one header for file functions, compression and the functions that
/// stand alone.
#ifndef UTILITIES_SERVICES_UTILITYFUNCTIONS_H
#define UTILITIES_SERVICES_UTILITYFUNCTIONS_H

#include "utilities/services/compression.h"
#include "utilities/services/digitaloutput.h"
#include "utilities/services/filefunctions.h"
#include "utilities/services/hexnumber.h"

#endif
