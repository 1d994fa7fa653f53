/// A file that takes the output of a program.
#ifndef UTILITIES_PLATFORM_OUTPUTFILE_H
#define UTILITIES_PLATFORM_OUTPUTFILE_H

namespace platform {

/// Opens a file for writing, creates it if it is missing, and empties it. Returns a descriptor for
/// `_close`, or -1 on failure, with an existing file unchanged.
///
/// Until it is closed the file is locked: a second call on it fails, in this process or another,
/// and so does an opener whose share mode asks for access. A device or a pipe is neither locked nor
/// emptied; a pipe without a reader fails.
int CreateOutputFile(const char* path);

}  // namespace platform

#endif
