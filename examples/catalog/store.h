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

/// The entries of a store, by their paths. Several processes may add to and read one store at the
/// same time. All operations can be called from any thread. A store that can't be used, or can't
/// be any more, is thrown as `std::runtime_error` with its name; the file is left as it was.
class Store {
public:
    enum Access { TO_READ, TO_CHANGE };

    /// Reads all of the store at `path`. With TO_CHANGE it is made if there is no file.
    Store(const String& path, Access access);
    ~Store();

    /// False where there is no entry for `path`.
    bool Find(const std::string& path, Entry& entry);

    /// Adds the entry, or puts it in the place of the one with its path. It is on disk at the
    /// latest after `Flush`.
    void Put(const Entry& entry);
    void Flush();

    /// In the order of the paths' bytes.
    void ForEach(const std::function<void(const Entry&)>& action);

private:
    template <class Action>
    void Guarded(Action action);
    void CatchUp();
    bool ReadAt(unsigned int number, Entry& entry);
    void Append(const Entry& entry);
    void AppendRecord(const std::string& record);

    const String name;
    MutexLock access{"CATALOG_STORE"};
    BinaryFile reader;
    BinaryFile writer;
    std::unique_ptr<RecordCache> records;
    std::map<std::string, unsigned int> numbers;  ///< Of the entries' own records.
    unsigned int known = 0;                       ///< Records that were looked at.
};

#endif
