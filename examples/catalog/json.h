/// Lines of JSON, an object each.
#ifndef CATALOG_JSON_H
#define CATALOG_JSON_H

#include <map>
#include <optional>
#include <string>

#include "entry.h"

/// The object of an entry, on one line without its end; `path` stands for the entry's own.
std::string JsonLine(const std::string& path, const Entry& entry);

/// The members of an object without objects or arrays in it; texts without quotes and escapes,
/// other values as they are written. Nothing if the line isn't such an object.
std::optional<std::map<std::string, std::string>> ReadJsonLine(const std::string& line);

#endif
