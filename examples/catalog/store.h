/// The catalogue on disk.
#ifndef CATALOG_STORE_H
#define CATALOG_STORE_H

#include <functional>

#include "commandline.h"
#include "entry.h"
#include "storefile.h"
#include "utilities/utilities.h"

/// A catalogue in memory that is kept in a file. The file is never written to: it is replaced by a
/// new one, so it is whole at any moment, whatever happens to the program or the system. Each
/// operation throws `std::runtime_error` with the store's name when the store can't be used.
class Store {
public:
    enum Access { TO_READ, TO_CHANGE };

    /// Reads the whole store at `path`. With TO_CHANGE a missing one reads as an empty one. Errors
    /// call it `shownName`, or `path` if that is empty.
    explicit Store(const String& path, Access access = TO_READ, const String& shownName = String());

    const Catalogue& Content() const { return m_Content; }

    /// Changes the catalogue in memory and on disk. Several processes may do so at the same time:
    /// `change` is given what the last one of them has left.
    void Change(const std::function<void(Catalogue&)>& change);

private:
    template <class Action>
    void RunNamed(Action action);
    void Read();
    void WriteTo(const String& temporary);
    bool Create();
    void Replace();

    const String m_Path;  ///< Links are followed, so that they aren't replaced.
    const String m_Name;
    Catalogue m_Content;
    std::string m_Header;  ///< Of the file that was read or written; empty if there was none.
};

/// The file that a path names, links followed, also where the last one leads to nothing yet.
String TargetOf(const String& path);

/// The option --store.
const String& StoreOf(const CommandLine& line);

#endif
