/// soak SECONDS: several processes share a record file and use locks, threads and a cache of their
/// own, and are killed at any moment. Counts what was lost of what they had finished.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <vector>

#include "utilities/utilities.h"

namespace {

constexpr unsigned int PROCESSES = 4;
constexpr unsigned int FIRST_RECORDS = 32;
constexpr unsigned int LONGEST_STANDSTILL = 20000;  // Milliseconds.
constexpr char FILE_NAME[] = "ledger";

enum Deed : unsigned int {
    HEADER_COUNTED,
    RECORD_COUNTED,
    RECORD_ADDED,
    CACHE_USED,
    KILLED,
    WRONG
};

using Random = std::linear_congruential_engine<std::uint32_t, 48271, 0, 2147483647>;

/// What a worker tells when it has finished a deed. Written at once, so none is told in part.
struct Message {
    Deed deed;
    unsigned int record;
    __int64 id;
};

struct Entry {
    unsigned __int64 count;
    __int64 author;
    unsigned __int64 check;

    unsigned __int64 Sum() const { return count * 31 + static_cast<unsigned __int64>(author) + 7; }
};

int messages[2];

void Tell(Deed deed, unsigned int record = 0, __int64 id = 0) {
    const Message message{deed, record, id};
    if (write(messages[1], &message, sizeof message) != sizeof message)
        _exit(1);
}

Entry& In(unsigned char* buffer) { return *reinterpret_cast<Entry*>(buffer); }

void Count(Entry& entry) {
    if (entry.check != entry.Sum())
        Tell(WRONG);
    ++entry.count;
    entry.check = entry.Sum();
}

/// Counts in the header and in records, and adds records, side by side with the other processes.
unsigned int ShareFile(SystemThread*) {
    Random random(static_cast<unsigned int>(create_unique_id() >> 20));
    BinaryFile file(sizeof(Entry), sizeof(Entry));
    if (file.openFile(FILE_NAME, BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, sizeof(Entry)) != 0)
        Tell(WRONG);
    for (;;) {
        const unsigned int record = 1 + random() % FIRST_RECORDS;
        if (random() % 8 == 0) {
            if (file.readHeader() != sizeof(Entry))
                Tell(WRONG);
            Count(In(file.getHeaderBuffer()));
            if (file.writeHeader() == sizeof(Entry))
                Tell(HEADER_COUNTED);
        } else if (random() % 8 == 0) {
            Entry& entry = In(file.getRecordBuffer());
            entry = {1, create_unique_id() ^ static_cast<__int64>(random()) << 20, 0};
            entry.check = entry.Sum();
            const __int64 author = entry.author;
            if (file.writeFile(0xFFFFFFFF) == sizeof(Entry))
                Tell(RECORD_ADDED, file.getCurrentRecord(), author);
        } else if (file.readFile(record) == sizeof(Entry)) {
            Count(In(file.getRecordBuffer()));
            if (file.writeCurrent() == sizeof(Entry))
                Tell(RECORD_COUNTED, record);
        }
    }
}

class Blocks : public CacheManager {
public:
    Blocks() : CacheManager(10, sizeof(unsigned int)) {}

    void writeBackNode(CacheNode* node) override { store[node->getNodeID()] = Value(node); }

    unsigned int Read(unsigned int id) {
        CacheNode* node = searchNodeID_InRC(id);
        if (node == nullptr) {
            node = addNodeID_ToRC(id);
            Value(node) = store[id];
            node->setNodeState(1);
        }
        return Value(node);
    }

    void Write(unsigned int id, unsigned int value) {
        CacheNode* node = searchNodeID_InWC(id);
        if (node == nullptr)
            node = addNodeID_ToWC(id);
        Value(node) = value;
        if (node->getNodeState() == 0) {
            node->setNodeState(1);
            --freeNodes;
        }
    }

private:
    static unsigned int& Value(CacheNode* node) {
        return *reinterpret_cast<unsigned int*>(node->getNodeData());
    }
    std::map<unsigned int, unsigned int> store;
};

/// Two threads take turns at one cache, in which everything must read as it was written last.
unsigned int ShareCache(SystemThread*) {
    static MutexLock turn("cache");
    static Blocks blocks;
    static std::map<unsigned int, unsigned int> written;
    Random random(static_cast<unsigned int>(create_unique_id()));
    for (unsigned int round = 1;; ++round) {
        const unsigned int id = random() % 100;
        turn.Lock();
        if (random() % 4 == 0)
            blocks.Write(id, written[id] = round);
        else if (blocks.Read(id) != written[id])
            Tell(WRONG);
        turn.Unlock();
        if (round % 1000 == 0)
            Tell(CACHE_USED);
    }
}

MutexLock fought("fought over");
SemaphoreLock places(2, 2);

/// For a thread that is killed wherever it happens to be, so that it owns nothing but locks.
unsigned int Fight(SystemThread*) {
    for (;;) {
        fought.Lock();
        places.TryLock(0);
        places.Unlock();
        fought.Unlock();
    }
}

/// What the fighting threads had must be had again after they were killed.
[[noreturn]] void KillThreads() {
    SystemThread first("first", Fight), second("second", Fight);
    for (;;) {
        if (!first.Create(false, 0) || !second.Create(false, 0))
            Tell(WRONG);
        BqSleep(5);
        if (!first.Terminate(1) || !second.Terminate(2))
            Tell(WRONG);
        if (!fought.TryLock(10000) && !fought.TryLock(10000))  // The first finds it abandoned.
            Tell(WRONG);
        fought.Unlock();
        checkMutexListForDeadlock();
        Tell(KILLED);
    }
}

[[noreturn]] void Work() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int stream : {STDOUT_FILENO, STDERR_FILENO})
        dup2(open("/dev/null", O_WRONLY), stream);
    SystemThread threads[] = {{"file 1", ShareFile},
                              {"file 2", ShareFile},
                              {"cache 1", ShareCache},
                              {"cache 2", ShareCache}};
    for (SystemThread& thread : threads)
        if (!thread.Create(false, 0))
            Tell(WRONG);
    KillThreads();
}

/// What the workers have told.
struct Account {
    std::map<Deed, unsigned long> deeds;
    std::map<unsigned int, unsigned long> counted;
    std::map<unsigned int, __int64> added;
    unsigned long addedTwice = 0;

    void Take(const Message& message) {
        ++deeds[message.deed];
        if (message.deed == RECORD_COUNTED)
            ++counted[message.record];
        if (message.deed == RECORD_ADDED && !added.emplace(message.record, message.id).second)
            ++addedTwice;
    }
};

class Soak {
public:
    void Run(unsigned int seconds) {
        MakeFile();
        workers.resize(PROCESSES, 0);
        Random random(static_cast<unsigned int>(create_unique_id()));
        const unsigned int start = GetSystemTickCount();
        while (Passed(start) < seconds * 1000 && !HasStopped()) {
            Read(static_cast<int>(random() % 200));
            Renew(workers[random() % PROCESSES]);
        }
        for (pid_t& worker : workers)
            Stop(worker);
        Read(0);
    }

    int Report() {
        const unsigned long lost = CountLost();
        std::cout << kills << " processes killed, " << crashes << " ended by themselves\n"
                  << account.deeds[RECORD_COUNTED] << " records rewritten, "
                  << account.deeds[RECORD_ADDED] << " added, " << account.deeds[HEADER_COUNTED]
                  << " headers, " << account.deeds[CACHE_USED] << " thousand uses of caches, "
                  << 2 * account.deeds[KILLED] << " threads killed\n"
                  << lost << " lost, " << account.deeds[WRONG] << " wrong results"
                  << (HasStopped() ? ", and a standstill\n" : "\n");
        return lost + account.deeds[WRONG] + crashes == 0 && !HasStopped() ? 0 : 1;
    }

private:
    static unsigned int Passed(unsigned int since) {
        return CalculateTicksDifference(GetSystemTickCount(), since);
    }
    bool HasStopped() const { return Passed(lastMessage) > LONGEST_STANDSTILL; }

    static void MakeFile() {
        CREAT(FILE_NAME, 0600, -1, -1);
        BinaryFile file(sizeof(Entry), sizeof(Entry));
        file.openFile(FILE_NAME, BinaryFile::BF_EXTEND, BinaryFile::BF_DENYWR, sizeof(Entry));
        In(file.getHeaderBuffer()).check = Entry{}.Sum();
        file.writeHeader();
        In(file.getRecordBuffer()).check = Entry{}.Sum();
        for (unsigned int record = 1; record <= FIRST_RECORDS; ++record)
            file.writeFile(record);
    }

    void Stop(pid_t& worker) {
        if (worker == 0)
            return;
        kill(worker, SIGKILL);
        int status = 0;
        waitpid(worker, &status, 0);
        ++(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL ? kills : crashes);
        worker = 0;
    }

    void Renew(pid_t& worker) {
        Stop(worker);
        worker = fork();
        if (worker == 0)
            Work();
    }

    void Read(int milliseconds) {
        const unsigned int start = GetSystemTickCount();
        pollfd ready{messages[0], POLLIN, 0};
        while (poll(&ready, 1, std::max(0, milliseconds - static_cast<int>(Passed(start)))) > 0) {
            Message message;
            if (read(messages[0], &message, sizeof message) != sizeof message)
                break;
            account.Take(message);
            lastMessage = GetSystemTickCount();
            if (milliseconds > 0 && Passed(start) >= static_cast<unsigned int>(milliseconds))
                break;
        }
    }

    /// A deed that was told must be in the file. One more for each kill may be there untold.
    unsigned long CountLost() {
        unsigned long lost = account.addedTwice;
        BinaryFile file(sizeof(Entry), sizeof(Entry));
        file.openFile(FILE_NAME, BinaryFile::BF_READONLY, BinaryFile::BF_DENYWR, sizeof(Entry));
        file.readHeader();
        const Entry& header = In(file.getHeaderBuffer());
        lost += header.check != header.Sum() || header.count < account.deeds[HEADER_COUNTED];
        for (unsigned int record = 1; record <= file.getRecordCount(); ++record) {
            file.readFile(record);
            const Entry& entry = In(file.getRecordBuffer());
            const auto added = account.added.find(record);
            lost += entry.check != entry.Sum() || entry.count < account.counted[record] ||
                    (added != account.added.end() && added->second != entry.author);
        }
        return lost +
               (account.added.empty() || account.added.rbegin()->first > file.getRecordCount());
    }

    Account account;
    std::vector<pid_t> workers;
    unsigned long kills = 0;
    unsigned long crashes = 0;
    unsigned int lastMessage = GetSystemTickCount();
};

}  // namespace

int main(int count, char** arguments) {
    const int seconds = count == 2 ? std::atoi(arguments[1]) : 0;
    if (seconds < 1 || pipe2(messages, O_CLOEXEC) != 0) {
        std::cerr << "usage: soak SECONDS\n";
        return 2;
    }
    const std::filesystem::path directory =
        std::filesystem::temp_directory_path() / ("soak-" + std::to_string(getpid()));
    std::filesystem::create_directory(directory);
    std::filesystem::current_path(directory);
    Soak soak;
    soak.Run(static_cast<unsigned int>(seconds));
    const int result = soak.Report();
    std::filesystem::current_path("/");
    std::filesystem::remove_all(directory);
    return result;
}
