// A process that the deadlock check ends, with one thread of each sort that a debugger lists.
#include "utilities/locks/lockobj.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/services/ticks.h"
#include "utilities/threads/threadutils.h"

namespace {

MutexLock accounts("accounts"), ledger("ledger"), journal("journal"), unused("unused");
EventLock teller1Ready, teller2Ready, printing, never;
SemaphoreLock empty(1, 0);

unsigned int LedgerInsideAccounts(SystemThread*) {
    accounts.Lock();
    accounts.Lock();
    teller1Ready.Set();
    teller2Ready.Wait();
    ledger.Lock();
    return 0;
}

unsigned int AccountsInsideLedger(SystemThread*) {
    ledger.Lock();
    teller2Ready.Set();
    teller1Ready.Wait();
    accounts.Lock();
    return 0;
}

unsigned int WaitForJournal(SystemThread*) { return journal.TryLock(0xFFFFFFFF); }
unsigned int WaitForEvent(SystemThread*) {
    printing.Set();
    return never.Wait();
}
unsigned int WaitForSemaphore(SystemThread*) {
    empty.Lock();
    return 0;
}

SystemThread threads[] = {{"teller 1", LedgerInsideAccounts},
                          {"teller 2", AccountsInsideLedger},
                          {"auditor", WaitForJournal},
                          {"printer", WaitForEvent},
                          {"counter", WaitForSemaphore}};

unsigned int WaitForTeller(SystemThread*) { return threads[0].WaitForThreadExit(0xFFFFFFFF); }

SystemThread manager("a manager of tellers", WaitForTeller);

}  // namespace

int main() {
    journal.TryLock(0);
    for (SystemThread& thread : threads)
        thread.Create(false, 0);
    manager.Create(false, 0);
    printing.Wait();
    threads[3].Suspend();
    for (;;) {
        checkMutexListForDeadlock();
        BqSleep(100);
    }
}
