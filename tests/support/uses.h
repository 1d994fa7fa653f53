/// A use of each class of the library, which any number of threads and processes can make at once.
#ifndef TESTS_SUPPORT_USES_H
#define TESTS_SUPPORT_USES_H

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "utilities/utilities.h"

/// `run` returns whether all was as it must be. `own` begins the names of files for this call
/// alone.
struct Use {
    const char* name;
    bool (*run)(const std::string& own);
};

/// What begins the names of the calling thread's own files.
inline std::string Own() { return std::to_string(getpid()) + "_" + std::to_string(gettid()); }

struct SmallCache : CacheManager {
    SmallCache() : CacheManager(5, 8) {}
    void writeBackNode(CacheNode*) override {}
};

// Ready before there are threads: to initialise a local static would not outlive a fork or a kill.

/// The device that the serial uses compete for.
inline const std::string TERMINAL_DEVICE = [] {
    const int side = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    return grantpt(side) == 0 && unlockpt(side) == 0 ? ptsname(side) : "";
}();

inline MutexLock commonLock("common");

inline const Use USES[] = {
    {"locks",
     [](const std::string&) {
         MutexLock passing("passing");
         commonLock.Lock();
         passing.Lock(), passing.Lock(), passing.Unlock();
         commonLock.Unlock();
         SemaphoreLock semaphore(1, 1);
         EventLock event;
         event.Set();
         return semaphore.TryLock(0) && event.Wait(0);
     }},
    {"time",
     [](const std::string&) {
         std::ostringstream out;
         out << BqGMTime::getCurrentTime() << BqLocalDate(9);
         return out.str().size() == 17 + 8;
     }},
    {"unique ids", [](const std::string&) { return create_unique_id() != create_unique_id(); }},
    {"values",
     [](const std::string&) { return MultiType(12) == MultiType("12") || String("12") == "12"; }},
    {"cache",
     [](const std::string&) {
         SmallCache cache;
         for (unsigned int id = 0; id < 8; ++id)
             cache.addNodeID_ToWC(id)->setNodeState(0);
         return cache.searchNodeID_InWC(7) != nullptr;
     }},
    {"record file",
     [](const std::string& own) {
         BinaryFile file(8, 0), alone(8, 0);
         const std::string path = own + "r";
         if (!CREAT(path.c_str(), 0600, -1, -1) ||
             file.openFile(path, BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, 0) != 0 ||
             file.writeFile(0xFFFFFFFF) + file.writeFile(2) + file.readFile(1) != 3 * 8)
             return false;
         file.closeFile();
         // Refused where a thread that was killed has it open.
         return alone.openFile(path, BinaryFile::BF_READONLY, BinaryFile::BF_DENYWR, 0) != 0 ||
                alone.readFile(1) + alone.readFile(2) == 2 * 8;
     }},
    {"mapped file",
     [](const std::string& own) {
         return MappedFile((own + "m").c_str(), 2, 4096).getAddr() != nullptr;
     }},
    {"status log", [](const std::string&) { return VYStatusLogWrite("used"), true; }},
    {"serial port",
     [](const std::string&) {
         CComm port;
         SetSerialDevice(2, TERMINAL_DEVICE.c_str());
         if (port.Open(2, 9600, 'N', 8, 1))
             port.RxSize(), port.ClearRXBuffer();
         return true;
     }},
    {"compression",
     [](const std::string& own) {
         std::ofstream(own + "z") << "content";
         return *ZIP((own + "z").c_str(), (own + "y").c_str(), true) != '\0';
     }},
    {"lists",
     [](const std::string&) {
         std::ostringstream out;
         showMutexList(out, true);
         return ThreadList::getInstance()->getThreadInfo(255).m_ThreadId == 0;
     }},
    {"threads",
     [](const std::string&) {
         // On the heap, as the thread that makes this use may be killed in it.
         auto* const killed = new SystemThread("killed", [](SystemThread*) { return sleep(3600); });
         auto* const ended = new SystemThread("ended", [](SystemThread*) { return 5u; });
         const bool stopped = killed->Create(true, 0) && killed->Resume() == 1 &&
                              killed->Suspend() == 0 && killed->Terminate(3);
         const bool ran = ended->Create(false, 0) &&
                          (ended->WaitForThreadExit(60000) || ended->getHandle() == nullptr);
         delete killed;
         const bool isDone = stopped && ran && ended->getExitCode() == 5;
         delete ended;
         return isDone;
     }},
};

#endif
