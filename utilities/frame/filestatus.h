/// The file status record of the file-system functions.
#ifndef UTILITIES_FRAME_FILESTATUS_H
#define UTILITIES_FRAME_FILESTATUS_H

#include <sys/stat.h>

/// The file status of the file-system functions: the system's record under its portable name.
struct _stat : stat {};

#endif
