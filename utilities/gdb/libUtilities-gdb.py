"""How GDB shows the library's texts and tagged values, and its commands for a process that hangs.

GDB loads this file together with the library, or on the command `source`; docs/guides/values.md says
when. No debug information of the library is needed. A program that was built with -g has only the name
of MultiType, as its description belongs to the library. So values are read from memory, as
utilities/values/multitype.h lays them out (table of virtual functions, datum, tag) and as the
compiler's library lays out its strings (characters, length). The commands, which docs/on-call.md
explains, need not even the program's debug information: they start at an exported object.
"""

import os
import re
import struct
import sys
import time

import gdb
import gdb.printing

# The name of each tag, the member of the datum that it uses, and the type of that member.
KINDS = (
    ("TYPE_INVALID", None, None),
    ("TYPE_RAW", "r", "block"),
    ("TYPE_BOOL", "b", "unsigned char"),
    ("TYPE_CHAR", "c", "signed char"),
    ("TYPE_SHORT", "sh", "short"),
    ("TYPE_INT", "i", "int"),
    ("TYPE_INT64", "ll", "long long"),
    ("TYPE_UCHAR", "uc", "unsigned char"),
    ("TYPE_USHORT", "ush", "unsigned short"),
    ("TYPE_UINT", "ui", "unsigned int"),
    ("TYPE_UINT64", "ull", "unsigned long long"),
    ("TYPE_FLOAT", "f", "float"),
    ("TYPE_DOUBLE", "d", "double"),
    ("TYPE_STRING", "str", "char"),
    ("TYPE_WSTRING", "wstr", "char16_t"),
)

# More bytes of a block are not shown.
SHOWN_BYTES = 32

# GDB accepts no longer text. One that isn't constructed yet may have any length.
LONGEST = 0x3FFFFFFF


def read_numbers(address, *sizes):
    """The unsigned numbers of these sizes that lie one after another at the address."""
    data = gdb.selected_inferior().read_memory(address, sum(sizes)).tobytes()
    for size in sizes:
        yield int.from_bytes(data[:size], sys.byteorder)
        data = data[size:]


def lazy_text(characters, length):
    return characters.lazy_string(length=min(length, LONGEST))


class TextPrinter:
    """String and WString. GDB decodes the characters and reads only as many as it shows."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        length = int(self.value["_M_string_length"])
        return lazy_text(self.value["_M_dataplus"]["_M_p"], length)

    def display_hint(self):
        return "string"


class ValuePrinter:
    """MultiType: the name of the tag, and what it holds under the name of the datum's member."""

    def __init__(self, value):
        if value.type.strip_typedefs().code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        if value.address is not None:
            vtable = gdb.lookup_type("void").pointer().sizeof
            datum, self.tag = read_numbers(int(value.address) + vtable, 8, 4)
        else:
            # A copy in GDB alone, which it can only make of a type that it has the description of.
            datum, self.tag = int(value["m_v"]["ull"]), int(value["m_type"])
        self.datum = (datum % 2**64).to_bytes(8, sys.byteorder)

    def to_string(self):
        return KINDS[self.tag][0] if self.tag < len(KINDS) else "no tag: %d" % self.tag

    def children(self):
        known = self.tag < len(KINDS)
        member, type_name = KINDS[self.tag][1:] if known else ("ull", "unsigned long long")
        if member is None:
            return
        if type_name == "block" or member.endswith("str"):
            yield from self.on_heap(member, type_name)
            return
        number = gdb.Value(self.datum, gdb.lookup_type(type_name))
        # A byte is a number, not a character.
        yield member, int(number) if number.type.sizeof == 1 else number

    def on_heap(self, member, type_name):
        """What the datum points to, or the pointer itself where that can't be read."""
        address = int.from_bytes(self.datum, sys.byteorder)
        try:
            if type_name == "block":
                yield from self.block(address)
            else:
                characters, length = read_numbers(address, 8, 8)
                pointer = gdb.lookup_type(type_name).pointer()
                yield member, lazy_text(gdb.Value(characters).cast(pointer), length)
        except gdb.MemoryError:
            yield member, gdb.Value(address).cast(gdb.lookup_type("void").pointer())

    def block(self, address):
        block_id, size = read_numbers(address, 4, 4)
        yield "id", block_id
        yield "size", size
        try:
            data = gdb.selected_inferior().read_memory(address + 8, min(size, SHOWN_BYTES))
            yield "data", data.tobytes().hex(" ") + (" ..." if size > SHOWN_BYTES else "")
        except gdb.MemoryError as error:
            yield "data", "<error: %s>" % error


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("Utilities")
    collection.add_printer("String", "^W?String$", TextPrinter)
    collection.add_printer("MultiType", "^MultiType$", ValuePrinter)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)


# The state of locks and threads: the addresses in utilitiesInspection lead to it (see
# utilities/threads/inspection_internal.h), and these are the layouts that its number stands for.
LAYOUT = 1
INSPECTION = "Q5Q"
MUTEX = "B?2xI24sI5III"  # MutexDbgEntry: in use, untimed, time, name, owner, waiters, uses, handle
MUTEX_IN_USE = 1
# Slot: handle, owner, marks, word, depth, lock, first and last waiter, thread, next, last state
SLOT = "QIIQIIQQQII"
SLOTS_OF_CHUNK = 256
KIND_MASK = 7
KINDS_OF_SLOTS = {1: "mutex", 2: "thread", 3: "event", 4: "event", 5: "semaphore"}
OWNER_ABANDONED, LARGEST_ID = 0x80000000, 0x0FFFFFFF
WAITER = "IIQ"  # Waiter: word, thread, next
THREAD = "4xI16xI52xQ"  # ThreadRecord: control, id, first waiter of `changes`
SUSPENSIONS = 0x3FFFFFFF
THREAD_INFO = "I12s"  # ThreadInfo: id, name

# No queue is longer. One that seems to be was met in the middle of a change, or overwritten.
LONGEST_QUEUE = 100000

# A core file's time may be that of a clock that was set meanwhile.
CORE_TIME_SLACK = 3600 * 1000


def read_all(address, layout, count):
    entry = struct.Struct("=" + layout)
    return entry.iter_unpack(gdb.selected_inferior().read_memory(address, count * entry.size).tobytes())


def read(address, layout):
    return next(read_all(address, layout, 1))


def text(name):
    return name.partition(b"\0")[0].decode(errors="backslashreplace")


class Mutex:
    """A mutex that clients see in the list, or one that the library has for itself."""

    def __init__(self, name="(not in the list)", is_untimed=False, time_of_lock=None, owner=0, waiters=()):
        self.name = name
        self.is_untimed = is_untimed
        self.time_of_lock = time_of_lock  # In milliseconds since the process's start, modulo 2^32.
        self.owner = owner
        self.depth = 0
        self.is_abandoned = False
        self.waiters = [waiter for waiter in waiters if waiter not in (0, owner)]

    def follow(self, owner, depth, queue):
        """Adds what the platform knows. Its queue has those who wait with a limit, too, and everybody
        beyond the fifth; the list has those who look once more before they sleep, or are suspended."""
        self.is_abandoned = owner == OWNER_ABANDONED
        if 0 < owner <= LARGEST_ID:
            self.owner, self.depth = owner, depth + 1
        self.waiters = queue + [waiter for waiter in self.waiters if waiter not in queue]


class Process:
    """What the library knows of its locks and threads at this moment."""

    def __init__(self):
        try:
            start = int(gdb.parse_and_eval("(unsigned long) &utilitiesInspection"))
            layout, mutexes, count, thread_list, handles, clock = read(start, INSPECTION)
        except gdb.error as error:
            raise gdb.GdbError("Here is no process or core file with the library, or the library is older "
                               "than these commands.") from error
        if layout != LAYOUT:
            raise gdb.GdbError("These commands are for another version of the library: take the file that "
                               "was installed with this one.")
        self.clock = read(clock, "qq")
        self.names = dict(self.read_thread_list(*read(*read(thread_list, "Q"), "Q")))
        self.waits = {}  # By thread: what it waits for, and the thread that could end that, or 0.
        self.suspensions = {}
        self.mutexes = []
        self.read_slots(*read(handles, "QQ"), dict(self.read_mutexes(mutexes, *read(count, "H"))))
        for mutex in self.mutexes:
            what = "mutex %s of %s" % (mutex.name, self.thread(mutex.owner))
            self.waits.update((waiter, (what, mutex.owner)) for waiter in mutex.waiters)

    def read_thread_list(self, instance):
        begin, end = read(instance, "QQ") if instance else (0, 0)
        size = struct.calcsize("=" + THREAD_INFO)
        for thread_id, name in read_all(begin, THREAD_INFO, (end - begin) // size) if end > begin else ():
            yield thread_id, text(name)

    def read_mutexes(self, table, count):
        for in_use, is_untimed, time_of_lock, name, owner, *waiters, _, handle in read_all(table, MUTEX, count):
            if in_use == MUTEX_IN_USE:
                self.mutexes.append(Mutex(text(name), is_untimed, time_of_lock, owner, waiters))
                yield handle, self.mutexes[-1]

    def read_slots(self, chunks, used, mutexes):
        (used,) = read(used, "I")
        for first in range(0, used, SLOTS_OF_CHUNK):
            (chunk,) = read(chunks + first // SLOTS_OF_CHUNK * 8, "Q")
            for handle, owner, _, _, depth, _, waiter, _, thread, *_ in read_all(
                    chunk, SLOT, min(used - first, SLOTS_OF_CHUNK)):
                kind = KINDS_OF_SLOTS.get(handle & KIND_MASK)
                if kind == "mutex":
                    mutex = mutexes.get(handle & 0xFFFFFFFF)
                    if mutex is None and (owner or waiter):
                        mutex = Mutex()
                        self.mutexes.append(mutex)
                    if mutex is not None:
                        mutex.follow(owner, depth, self.read_queue(waiter))
                elif kind == "thread" and thread:
                    control, thread_id, waiter = read(thread, THREAD)
                    self.suspensions[thread_id] = control & SUSPENSIONS
                    self.add_waits(waiter, "the end of " + self.thread(thread_id), thread_id)
                elif kind:
                    self.add_waits(waiter, "%s %#x" % (kind, handle), 0)

    def add_waits(self, first, what, blocker):
        self.waits.update((waiter, (what, blocker)) for waiter in self.read_queue(first))

    def read_queue(self, waiter):
        queue = []
        while waiter and len(queue) < LONGEST_QUEUE:
            _, thread_id, waiter = read(waiter, WAITER)
            queue.append(thread_id)
        return queue

    def thread(self, thread_id):
        name = self.names.get(thread_id)
        return "%s [%d]" % (name, thread_id) if name else "[%d]" % thread_id

    def deadlocks(self):
        """Each circle of threads that wait for one another."""
        seen = set()
        for thread in list(self.waits):
            way = []
            while thread in self.waits and thread not in seen:
                seen.add(thread)
                way.append(thread)
                thread = self.waits[thread][1]
            if thread in way:
                yield way[way.index(thread):]


class Calendar:
    """Turns times of locks, which wrap after 49.7 days, into dates."""

    def __init__(self, clock):
        monotonic_start, self.start = clock
        target = gdb.selected_inferior().connection.type
        self.is_live = target == "native"
        if self.is_live:
            self.latest = int(time.clock_gettime(time.CLOCK_MONOTONIC) * 1000) - monotonic_start
        else:
            core = re.search("core dump file:\n\t`(.*)', file type", gdb.execute("info files", to_string=True))
            newest = os.path.getmtime(core.group(1)) if core else time.time()
            self.latest = int(newest * 1000) - self.start + CORE_TIME_SLACK

    def describe(self, time_of_lock):
        age = (self.latest - time_of_lock) % 2**32
        date = time.strftime("%F %T", time.localtime((self.start + self.latest - age) / 1000))
        return "%s (%d s)" % (date, age // 1000) if self.is_live else date


def print_table(*rows):
    widths = [max(map(len, column)) for column in zip(*rows)]
    for row in rows:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


class Utilities(gdb.Command):
    """What the library knows of a process: its locks and its threads."""

    def __init__(self):
        super().__init__("utilities", gdb.COMMAND_STATUS, prefix=True)


class Mutexes(gdb.Command):
    """List the mutexes that are held or waited for: owner, depth, since when, waiters in their order.
With the argument `all` the free ones, too. Threads that wait for one another are told at the end."""

    def __init__(self):
        super().__init__("utilities mutexes", gdb.COMMAND_STATUS)

    def invoke(self, argument, _):
        process = Process()
        calendar = Calendar(process.clock)
        print_table(("Mutex", "Owner", "Depth", "Held since", "Waiters"),
                    *(self.row(mutex, process, calendar) for mutex in process.mutexes
                      if mutex.owner or mutex.waiters or argument == "all"))
        for threads in process.deadlocks():
            print("Deadlock: " + process.thread(threads[0]) + " waits for "
                  + ", which waits for ".join(process.waits[thread][0] for thread in threads))

    def row(self, mutex, process, calendar):
        owner = process.thread(mutex.owner) if mutex.owner else "-"
        if mutex.is_abandoned:
            owner += " (ended)"
        since = "-"
        if mutex.owner and mutex.time_of_lock is not None:
            since = "(TryLock)" if mutex.is_untimed else calendar.describe(mutex.time_of_lock)
        return (mutex.name, owner, str(mutex.depth), since,
                ", ".join(map(process.thread, mutex.waiters)) or "-")


class Threads(gdb.Command):
    """List the threads: GDB's number, name and id, how often suspended, what each waits for and holds."""

    def __init__(self):
        super().__init__("utilities threads", gdb.COMMAND_STATUS)

    def invoke(self, argument, _):
        process = Process()
        threads = sorted(gdb.selected_inferior().threads(), key=lambda thread: thread.num)
        print_table(("GDB", "Thread", "Suspended", "Waits for", "Holds"),
                    *(self.row(thread, process) for thread in threads))

    def row(self, thread, process):
        thread_id = thread.ptid[1]
        held = [mutex.name for mutex in process.mutexes if mutex.owner == thread_id]
        return (str(thread.num), process.thread(thread_id), str(process.suspensions.get(thread_id) or "-"),
                process.waits.get(thread_id, ("-",))[0], ", ".join(held) or "-")


for command in (Utilities, Mutexes, Threads):
    command()
