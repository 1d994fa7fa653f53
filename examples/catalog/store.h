/// The catalogue on disk.
#ifndef CATALOG_STORE_H
#define CATALOG_STORE_H

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "record.h"
#include "recordcache.h"
#include "utilities/utilities.h"

/// The entries of a store, by their paths. Several processes may read one store and add to it at
/// the same time. All operations can be called from any thread. Each throws `std::runtime_error`
/// with the store's name when the store is unusable or damaged, or can't be read or written; the
/// file is left as it was.
class Store {
public:
    enum Access { TO_READ, TO_CHANGE };

    /// Reads the whole store at `path`. TO_CHANGE creates a missing one.
    Store(const String& path, Access access);
    ~Store();

    /// Reads the entry of `path`; false if there is none.
    bool Find(const std::string& path, Entry& entry);

    /// Adds the entry, or replaces the one with its path. A replaced entry may stay in memory until
    /// `Flush`.
    void Put(const Entry& entry);
    void Flush();

    /// Calls `action` for each entry, in the order of the paths' bytes.
    void ForEach(const std::function<void(const Entry&)>& action);

private:
    template <class Action>
    void RunLocked(Action action);
    void ReadNewRecords();
    bool ReadAt(unsigned int number, Entry& entry);
    void Append(const Entry& entry);
    void AppendRecord(const std::string& record);

    const String m_Name;
    MutexLock m_Mutex{"CATALOG_STORE"};
    BinaryFile m_Reader;
    BinaryFile m_Writer;
    std::unique_ptr<RecordCache> m_Records;
    std::map<std::string, unsigned int> m_Numbers;  ///< The numbers of the entries' own records.
    unsigned int m_Known = 0;                       ///< How many records were read so far.
};

#endif
