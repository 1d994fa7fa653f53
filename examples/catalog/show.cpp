#include "commands.h"
#include "dates.h"
#include "directory.h"
#include "messages.h"
#include "store.h"
#include "table.h"

namespace {

Row RowOf(const Entry& entry) {
    return {Escaped(entry.path), entry.status.size, ShownModification(entry.status), entry.digest};
}

void ShowDirectories(Store& store) {
    store.ForEach([](const Entry& entry) {
        if (entry.kind != Entry::DIRECTORY)
            return;
        String scan;
        scan.Format("%016I64x", entry.scan);
        PrintLine(Escaped(entry.path) + ": scanned " + ShownTime(entry.scanned / 1000) + ", " +
                  scan);
    });
}

void ShowFiles(Store& store, const String& pattern) {
    const auto isShown = [&](const Entry& entry) {
        return entry.kind == Entry::FILE && !entry.isMissing &&
               String(entry.path.substr(entry.path.rfind('/') + 1)).WildcardMatch(pattern);
    };
    Table table;
    unsigned __int64 files = 0, bytes = 0;
    store.ForEach([&](const Entry& entry) {
        if (!isShown(entry))
            return;
        table.Measure(RowOf(entry));
        ++files;
        bytes += entry.status.size;
    });
    store.ForEach([&](const Entry& entry) {
        if (isShown(entry))
            PrintLine(table.Line(RowOf(entry)));
    });
    PrintLine(CountOf(files, "file") + ", " + CountOf(bytes, "byte"));
}

}  // namespace

int Show(const CommandLine& line) {
    Store store(StoreOf(line), Store::TO_READ);
    ShowDirectories(store);
    ShowFiles(store, "*");
    return STATUS_DONE;
}

int Find(const CommandLine& line) {
    Store store(StoreOf(line), Store::TO_READ);
    ShowFiles(store, line.words[0]);
    return STATUS_DONE;
}
