/// Where the program's status logs are kept: out of the user's way.
#ifndef CATALOG_STATUSLOGS_H
#define CATALOG_STATUSLOGS_H

#include <string>
#include <vector>

#include "utilities/utilities.h"

/// From now on the logs are kept in `directory`, which is made if it is missing; failures are
/// thrown as `std::system_error`. If it is empty: in `catalog` below the user's directory for the
/// state of programs (XDG_STATE_HOME, or ~/.local/state), and nowhere if that can't be made.
void KeepStatusLogs(const String& directory);

/// The paths of the logs; none if there aren't any.
std::vector<std::string> StatusLogs();

/// Begin a run, and add a line, as the library's operations do. For one thread at a time, while no
/// other one opens relative paths: they change the working directory for a moment.
void BeginStatusLog(const String& text);
void AppendStatus(const String& text);

#endif
