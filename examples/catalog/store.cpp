#include "store.h"

#include <unistd.h>

#include <cstring>

#include "messages.h"
#include "scopedlock.h"
#include "storefile.h"

namespace {

std::string DamageAt(unsigned int number) {
    return "record " + std::to_string(number) + " is damaged";
}

}  // namespace

template <class Action>
void Store::RunLocked(Action action) {
    const ScopedLock lock(m_Mutex);
    try {
        action();
    } catch (const StoreError& error) {
        throw std::runtime_error(Escaped(m_Name) + ": " + error.what());
    }
}

Store::Store(const String& path, Access wanted)
    : m_Name(path), m_Reader(RECORD_SIZE, RECORD_SIZE), m_Writer(RECORD_SIZE, RECORD_SIZE) {
    RunLocked([&] {
        if (wanted == TO_CHANGE)
            EnsureStore(path);
        OpenStore(m_Reader, path, false);
        if (wanted == TO_CHANGE)
            OpenStore(m_Writer, path, true);
        m_Records = std::make_unique<RecordCache>(m_Reader, &m_Writer);
        ReadNewRecords();
    });
}

Store::~Store() = default;

// Part records at the end, without an entry after them, belong to another process, which is about
// to add the entry or was killed before it could.
void Store::ReadNewRecords() {
    for (Entry entry; ReadAt(m_Known + 1, entry); ++m_Known) {
        if (!entry.path.empty())
            m_Numbers[entry.path] = m_Known + 1;
    }
}

// False after the last record. The path of `entry` stays empty for a part record.
bool Store::ReadAt(unsigned int number, Entry& entry) {
    const std::string own = m_Records->Read(number);
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
        all.push_back(m_Records->Read(at));
    all.push_back(own);
    if (!ReadEntry(all, entry) || entry.path.empty())
        throw StoreError(DamageAt(number));
    return true;
}

bool Store::Find(const std::string& path, Entry& entry) {
    bool found = false;
    RunLocked([&] {
        const auto place = m_Numbers.find(path);
        found = place != m_Numbers.end() && ReadAt(place->second, entry);
    });
    return found;
}

void Store::Put(const Entry& entry) {
    RunLocked([&] {
        if (m_Numbers.count(entry.path) == 0)
            return Append(entry);
        m_Records->Write(m_Numbers[entry.path], RecordsOf(entry).back());
    });
}

// Reads what other processes have added first: it may be the same path.
void Store::Append(const Entry& entry) {
    const ScopedStoreLock lock(m_Writer);
    ReadNewRecords();
    const std::vector<std::string> added = RecordsOf(entry);
    if (const auto place = m_Numbers.find(entry.path); place != m_Numbers.end())
        return m_Records->Write(place->second, added.back());
    for (const std::string& record : added)
        AppendRecord(record);
    m_Known = m_Writer.getRecordCount();
    m_Numbers[entry.path] = m_Known;
}

// What a full disk has left of a record is cut off again.
void Store::AppendRecord(const std::string& record) {
    std::memcpy(m_Writer.getRecordBuffer(), record.data(), RECORD_SIZE);
    const unsigned int afterAll = 0xFFFFFFFF;
    const int written = RetryWhileLocked([&] { return m_Writer.writeFile(afterAll); });
    if (written != static_cast<int>(RECORD_SIZE)) {
        const int reason = errno;
        const auto whole = static_cast<off_t>(m_Known) * RECORD_SIZE + RECORD_SIZE;
        if (truncate(m_Name.c_str(), whole) == 0)
            errno = reason;
    }
    CheckResult(written, RECORD_SIZE);
}

void Store::Flush() {
    RunLocked([&] { m_Records->Flush(); });
}

void Store::ForEach(const std::function<void(const Entry&)>& action) {
    Entry entry;
    for (const auto& [path, number] : m_Numbers) {
        RunLocked([&] { ReadAt(number, entry); });
        action(entry);
    }
}
