/// The records of a store in memory, in blocks.
#ifndef CATALOG_RECORDCACHE_H
#define CATALOG_RECORDCACHE_H

#include <string>

#include "record.h"
#include "utilities/utilities.h"

/// Reads records on demand, and writes changed ones back when the cache is full or is flushed. A
/// record that another process changes may be returned as it was before; records that it adds are
/// found. A damaged record and a failure to read or write is thrown as `StoreError`.
class RecordCache : private CacheManager {
public:
    /// Both files must stay open while this object lives. `reader` is used for reading only, which
    /// takes no locks; `writer` changes records and may be null where none is changed.
    RecordCache(BinaryFile& reader, BinaryFile* writer);

    /// The record `number`, counted from 1. Empty after the last.
    std::string Read(unsigned int number);

    /// Changes an existing record.
    void Write(unsigned int number, const std::string& record);

    /// Writes the changed records back.
    void Flush();

private:
    void writeBackNode(CacheNode* node) override;
    CacheNode* Fetch(unsigned int block, bool toChange);
    bool Load(unsigned int number, char* record);

    BinaryFile& m_Source;
    BinaryFile* m_Target;
};

#endif
