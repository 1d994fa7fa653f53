/// soak SECONDS: several processes share a record file and use locks and threads of their own, and
/// are killed at any moment. Counts what was lost of what they had finished.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <numeric>
#include <random>

#include "tests/support/scratch.h"
#include "tests/support/uses.h"
#include "utilities/utilities.h"

namespace {

constexpr unsigned int PROCESSES = 4;
constexpr unsigned int FIRST_RECORDS = 32;
constexpr unsigned int MOST_RECORDS = 1 << 28;      // Memory only for those that there are.
constexpr unsigned int LONGEST_STANDSTILL = 20000;  // Milliseconds.
constexpr unsigned int MOST_LINES = 400;            // Of this file.
constexpr char FILE_NAME[] = "ledger";

/// What the workers have finished. They share this memory, and it outlives them.
struct Account {
    unsigned int lastTime;
    unsigned long counted[FIRST_RECORDS + 1];  ///< By record; the header is 0.
    unsigned long recordsAdded, threadsKilled, forks, kills, crashes;
    unsigned long wrong[MOST_LINES];              ///< By the line of the check.
    unsigned long wrongInChild[std::size(USES)];  ///< By the use.
    __int64 authors[MOST_RECORDS + 1];            ///< Of the added records.
};

Account& told = *static_cast<Account*>(mmap(nullptr, sizeof(Account), PROT_READ | PROT_WRITE,
                                            MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));

void Tell(unsigned long& count) {
    ++std::atomic_ref(count);
    std::atomic_ref(told.lastTime) = GetSystemTickCount();
}

void Check(bool isRight, unsigned int line = __builtin_LINE()) {
    if (!isRight)
        Tell(told.wrong[line]);
}

unsigned int Passed(unsigned int since) {
    return CalculateTicksDifference(GetSystemTickCount(), since);
}

bool HasStopped() { return Passed(std::atomic_ref(told.lastTime)) > LONGEST_STANDSTILL; }

struct Entry {
    unsigned __int64 count;
    __int64 author;
    unsigned __int64 check;

    unsigned __int64 Sum() const { return count * 31 + static_cast<unsigned __int64>(author) + 7; }
    void Count() {
        Check(check == Sum());
        ++count;
        check = Sum();
    }
};

constexpr int SIZE = sizeof(Entry);

struct Ledger : BinaryFile {
    Ledger(E_BF_FILEMODE mode, E_BF_SHAREMODE share) : BinaryFile(SIZE, SIZE) {
        Check(openFile(FILE_NAME, mode, share, SIZE) == 0);
    }
    Entry& Header() { return *reinterpret_cast<Entry*>(getHeaderBuffer()); }
    Entry& Record() { return *reinterpret_cast<Entry*>(getRecordBuffer()); }
};

using Random = std::linear_congruential_engine<std::uint32_t, 48271, 0, 2147483647>;

Random NewRandom() { return Random(static_cast<unsigned int>(create_unique_id() >> 20)); }

/// Counts in the header and in records, and adds records, side by side with the other processes.
unsigned int ShareFile(SystemThread*) {
    Random random = NewRandom();
    Ledger file(BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO);
    for (;;) {
        const unsigned int record = random() % 8 == 0 ? 0 : 1 + random() % FIRST_RECORDS;
        Entry& entry = record == 0 ? file.Header() : file.Record();
        if (record != 0 && random() % 8 == 0) {
            const __int64 author = create_unique_id() ^ static_cast<__int64>(random()) << 20;
            entry = {0, author, Entry{0, author, 0}.Sum()};
            entry.Count();
            if (file.writeFile(0xFFFFFFFF) == SIZE && file.getCurrentRecord() <= MOST_RECORDS) {
                Check(std::atomic_ref(told.authors[file.getCurrentRecord()]).exchange(author) == 0);
                Tell(told.recordsAdded);
            }
        } else if ((record == 0 ? file.readHeader() : file.readFile(record)) == SIZE) {
            entry.Count();
            if ((record == 0 ? file.writeHeader() : file.writeCurrent()) == SIZE)
                Tell(told.counted[record]);
        } else {
            Check(false);
        }
    }
}

MutexLock fought("fought over");
SemaphoreLock places(2, 2);

/// For a thread that is killed or suspended wherever it happens to be: fights over locks, and uses
/// all else of the library with files of its own.
unsigned int Fight(SystemThread*) {
    Random random = NewRandom();
    const std::string own = Own();
    for (;;) {
        fought.Lock();
        places.TryLock(0);
        places.Unlock();
        fought.Unlock();
        if (random() % 4 == 0)
            USES[random() % std::size(USES)].run(own);
    }
}

/// A child must be able to use everything, whatever the other threads were doing.
void Fork() {
    const pid_t child = StartProcess([]() -> int {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(LONGEST_STANDSTILL / 1000);
        const std::string own = Own();
        for (std::size_t i = 0; i < std::size(USES); ++i) {
            if (!USES[i].run(own))
                Tell(told.wrongInChild[i]);
        }
        _exit(0);
    });
    Check(EndOf(child) == 0);
    Tell(told.forks);
}

/// What the fighting threads had must be had again after they were killed.
int Work() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int stream : {STDOUT_FILENO, STDERR_FILENO})
        dup2(open("/dev/null", O_WRONLY), stream);
    SystemThread threads[] = {{"file 1", ShareFile}, {"file 2", ShareFile}};
    for (SystemThread& thread : threads)
        Check(thread.Create(false, 0));
    SystemThread first("first", Fight), second("second", Fight);
    for (;;) {
        Check(first.Create(false, 0) && second.Create(false, 0));
        BqSleep(5);
        Fork();
        SystemThread& suspended = threads[create_unique_id() % 2];
        Check(suspended.Suspend() == 0 && first.Suspend() == 0);
        Check(first.Terminate(1) && second.Terminate(2));
        Check(fought.TryLock(1000) || fought.TryLock(1000));  // The first finds it abandoned.
        fought.Unlock();
        Check(suspended.Resume() == 1);
        checkMutexListForDeadlock();
        Tell(told.threadsKilled);
    }
}

void MakeFile() {
    CREAT(FILE_NAME, 0600, -1, -1);
    Ledger file(BinaryFile::BF_EXTEND, BinaryFile::BF_DENYWR);
    file.Header().check = file.Record().check = Entry{}.Sum();
    file.writeHeader();
    for (unsigned int record = 1; record <= FIRST_RECORDS; ++record)
        file.writeFile(record);
}

bool IsWhole(const Entry& entry, unsigned int record) {
    return entry.check == entry.Sum() &&
           (record > FIRST_RECORDS || entry.count >= told.counted[record]) &&
           (record > MOST_RECORDS || told.authors[record] == 0 ||
            told.authors[record] == entry.author);
}

/// A deed that was told must be in the file. One more for each kill may be there untold.
unsigned long CountLost() {
    Ledger file(BinaryFile::BF_READONLY, BinaryFile::BF_DENYWR);
    unsigned long lost = file.readHeader() != SIZE || !IsWhole(file.Header(), 0);
    const unsigned long last =
        std::max<unsigned long>(file.getRecordCount(), FIRST_RECORDS + told.recordsAdded);
    for (unsigned int record = 1; record <= last; ++record)
        lost += file.readFile(record) != SIZE || !IsWhole(file.Record(), record);
    return lost + (told.recordsAdded == 0);
}

/// Kills one of the processes after the other, and sets another in its place.
void Run(unsigned int milliseconds) {
    pid_t workers[PROCESSES] = {};
    const auto stop = [](pid_t worker) {
        if (worker != 0 && kill(worker, SIGKILL) == 0)
            ++(EndOf(worker) == -SIGKILL ? told.kills : told.crashes);
    };
    Random random = NewRandom();
    const unsigned int start = told.lastTime = GetSystemTickCount();
    while (Passed(start) < milliseconds && !HasStopped()) {
        BqSleep(random() % 200);
        // The last ones live long enough to wait in vain for what a killed thread had.
        pid_t& worker = workers[std::min(random() % PROCESSES, random() % PROCESSES)];
        stop(worker);
        worker = StartProcess(Work);
    }
    std::ranges::for_each(workers, stop);
    // What they had started has the file open until it has ended, too.
    while (wait(nullptr) > 0)
        continue;
}

}  // namespace

int main(int count, char** arguments) {
    const int seconds = count == 2 ? std::atoi(arguments[1]) : 0;
    if (seconds < 1 || &told == MAP_FAILED) {
        std::cerr << "usage: soak SECONDS\n";
        return 2;
    }
    const ScratchWorkingDirectory directory;
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    MakeFile();
    Run(static_cast<unsigned int>(seconds) * 1000);
    const bool hasStopped = HasStopped();
    const unsigned long lost = CountLost();
    unsigned long wrong = 0;
    for (unsigned int line = 0; line < MOST_LINES; ++line) {
        wrong += told.wrong[line];
        if (told.wrong[line] != 0)
            std::cout << "line " << line << ": " << told.wrong[line] << " wrong\n";
    }
    for (std::size_t i = 0; i < std::size(USES); ++i) {
        wrong += told.wrongInChild[i];
        if (told.wrongInChild[i] != 0)
            std::cout << USES[i].name << " in a child: " << told.wrongInChild[i] << " wrong\n";
    }
    std::cout << told.kills << " processes killed, " << told.crashes << " ended by themselves\n"
              << std::accumulate(told.counted + 1, std::end(told.counted), 0UL)
              << " records rewritten, " << told.recordsAdded << " added, " << told.counted[0]
              << " headers, " << 2 * told.threadsKilled << " threads killed, " << told.forks
              << " forks\n"
              << lost << " lost, " << wrong << " wrong results"
              << (hasStopped ? ", and a standstill\n" : "\n");
    return lost + wrong + told.crashes == 0 && !hasStopped ? 0 : 1;
}
