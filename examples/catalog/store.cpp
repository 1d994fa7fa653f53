#include "store.h"

#include <unistd.h>

#include <cstring>

#include "holding.h"
#include "messages.h"
#include "storefile.h"

namespace {

std::string DamageAt(unsigned int number) {
    return "record " + std::to_string(number) + " is damaged";
}

}  // namespace

template <class Action>
void Store::Guarded(Action action) {
    const Holding holding(access);
    try {
        action();
    } catch (const StoreError& error) {
        throw std::runtime_error(Escaped(name) + ": " + error.what());
    }
}

Store::Store(const String& path, Access wanted)
    : name(path), reader(RECORD_SIZE, RECORD_SIZE), writer(RECORD_SIZE, RECORD_SIZE) {
    Guarded([&] {
        if (wanted == TO_CHANGE)
            AssureStore(path);
        OpenStore(reader, path, false);
        if (wanted == TO_CHANGE)
            OpenStore(writer, path, true);
        records = std::make_unique<RecordCache>(reader, &writer);
        CatchUp();
    });
}

Store::~Store() = default;

// A part of a path in front of an entry that isn't there yet belongs to another process, which is
// about to add it, or was ended before it could.
void Store::CatchUp() {
    for (Entry entry; ReadAt(known + 1, entry); ++known) {
        if (!entry.path.empty())
            numbers[entry.path] = known + 1;
    }
}

// False behind the last. For a record that only holds a part of a path that path stays empty.
bool Store::ReadAt(unsigned int number, Entry& entry) {
    const std::string own = records->Read(number);
    if (own.empty())
        return false;
    entry.path.clear();
    const int parts = PartsBefore(own.data());
    if (parts == -1)
        return true;
    if (parts < 0 || static_cast<unsigned int>(parts) >= number)
        throw StoreError(DamageAt(number));
    std::vector<std::string> all;
    for (unsigned int at = number - static_cast<unsigned int>(parts); at < number; ++at)
        all.push_back(records->Read(at));
    all.push_back(own);
    if (!ReadEntry(all, entry) || entry.path.empty())
        throw StoreError(DamageAt(number));
    return true;
}

bool Store::Find(const std::string& path, Entry& entry) {
    bool found = false;
    Guarded([&] {
        const auto place = numbers.find(path);
        found = place != numbers.end() && ReadAt(place->second, entry);
    });
    return found;
}

void Store::Put(const Entry& entry) {
    Guarded([&] {
        if (numbers.count(entry.path) == 0)
            return Append(entry);
        records->Write(numbers[entry.path], RecordsOf(entry).back());
    });
}

// Another process may have added the same path meanwhile.
void Store::Append(const Entry& entry) {
    const StoreLock lock(writer);
    CatchUp();
    const std::vector<std::string> added = RecordsOf(entry);
    if (const auto place = numbers.find(entry.path); place != numbers.end())
        return records->Write(place->second, added.back());
    for (const std::string& record : added)
        AppendRecord(record);
    known = writer.getRecordCount();
    numbers[entry.path] = known;
}

// What a full disk leaves of a record goes again.
void Store::AppendRecord(const std::string& record) {
    std::memcpy(writer.getRecordBuffer(), record.data(), RECORD_SIZE);
    const unsigned int behindAll = 0xFFFFFFFF;
    const int written = Persist([&] { return writer.writeFile(behindAll); });
    if (written != static_cast<int>(RECORD_SIZE)) {
        const int reason = errno;
        const auto whole = static_cast<off_t>(known) * RECORD_SIZE + RECORD_SIZE;
        if (truncate(name.c_str(), whole) == 0)
            errno = reason;
    }
    CheckResult(written, RECORD_SIZE);
}

void Store::Flush() {
    Guarded([&] { records->Flush(); });
}

void Store::ForEach(const std::function<void(const Entry&)>& action) {
    Entry entry;
    for (const auto& [path, number] : numbers) {
        Guarded([&] { ReadAt(number, entry); });
        action(entry);
    }
}
