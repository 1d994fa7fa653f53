#include "commands.h"
#include "dates.h"
#include "listing.h"
#include "messages.h"
#include "store.h"

namespace {

void ShowTrees(const Catalogue& catalogue, const TimeFormat& times) {
    for (const Tree& tree : catalogue) {
        String scan;
        scan.Format("%016I64x", tree.scan);
        String shown = Escaped(tree.path) + ": scanned " + times.Shown(tree.scanned / 1000) + ", " +
                       scan + (tree.isListed ? ", listed files only" : "");
        for (const std::string& pattern : tree.excluded)
            shown += ", without " + Escaped(pattern);
        PrintLine(shown);
    }
}

/// Files only, unless all is asked for.
void ShowEntries(const Catalogue& catalogue, const CommandLine& line, const String& pattern) {
    Listing listing(line);
    for (const Tree& tree : catalogue) {
        for (const Entry& entry : tree.entries) {
            const String name(entry.path.substr(entry.path.rfind('/') + 1));
            if ((entry.status.kind == FILE_KIND || line.Has("long")) && name.WildcardMatch(pattern))
                listing.Add(Joined(tree.path, entry.path), entry);
        }
    }
    listing.Print();
}

}  // namespace

int Show(const CommandLine& line) {
    const Store store(StoreOf(line));
    ShowTrees(store.Content(), TimeFormat(line));
    ShowEntries(store.Content(), line, "*");
    return STATUS_DONE;
}

int Find(const CommandLine& line) {
    const Store store(StoreOf(line));
    ShowEntries(store.Content(), line, line.words[0]);
    return STATUS_DONE;
}
