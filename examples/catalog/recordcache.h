/// The records of a store in memory, in blocks.
#ifndef CATALOG_RECORDCACHE_H
#define CATALOG_RECORDCACHE_H

#include <string>

#include "record.h"
#include "utilities/utilities.h"

/// Reads records when they are asked for and writes changed ones back when it is full or told to.
/// What another process changes meanwhile may not be seen; what it adds is. Damaged records, and
/// what can't be read or written, are thrown.
class RecordCache : private CacheManager {
public:
    /// Both files must be open for as long as this lives: one for reading, which takes no locks,
    /// and one for changing records, or null.
    RecordCache(BinaryFile& reader, BinaryFile* writer);

    /// The record `number`, from 1. Empty behind the last.
    std::string Read(unsigned int number);

    /// Changes a record that is there.
    void Write(unsigned int number, const std::string& record);

    /// Writes back what was changed.
    void Flush();

private:
    void writeBackNode(CacheNode* node) override;
    CacheNode* Fetch(unsigned int block, bool toChange);
    bool Load(unsigned int number, char* record);

    BinaryFile& source;
    BinaryFile* target;
};

#endif
