"""How GDB shows the library's texts and tagged values.

GDB loads this file with the library where it is installed for that; by hand it is `source` of it.
Nothing else is needed: the strings are read as the compiler's library lays them out.
"""

import gdb
import gdb.printing

SHOWN_BYTES = 32

# What the length of a text that isn't constructed yet is cut to: GDB takes no more.
LONGEST = 0x3FFFFFFF

# The member of the datum that each tag names.
DATUMS = (None, "r", "b", "c", "sh", "i", "ll", "uc", "ush", "ui", "ull", "f", "d", "str", "wstr")


class TextPrinter:
    """String and WString. GDB decodes the characters, escapes what is none, and reads no more of a
    text than it prints."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        length = min(int(self.value["_M_string_length"]), LONGEST)
        return self.value["_M_dataplus"]["_M_p"].lazy_string(length=length)

    def display_hint(self):
        return "string"


def block_children(block):
    size = int(block["size"])
    yield "id", block["id"]
    yield "size", size
    try:
        data = gdb.selected_inferior().read_memory(
            int(block.address) + block.type.sizeof, min(size, SHOWN_BYTES)
        )
        yield "data", data.tobytes().hex(" ") + (" ..." if size > SHOWN_BYTES else "")
    except gdb.MemoryError as error:
        yield "data", "<error: %s>" % error


class ValuePrinter:
    """MultiType: the name of the tag, and of the datum what that tag says is held."""

    def __init__(self, value):
        self.value = value
        tag = int(value["m_type"])
        self.known = 0 <= tag < len(DATUMS)
        self.name = DATUMS[tag] if self.known else "ull"

    def to_string(self):
        tag = str(self.value["m_type"]).rpartition("::")[2]
        return tag if self.known else "no tag: " + tag

    def children(self):
        if self.name is None:
            return
        datum = self.value["m_v"][self.name]
        if datum.type.code == gdb.TYPE_CODE_PTR:
            yield from self.held_by(datum)
        elif datum.type.sizeof == 1:
            # A number, not a character.
            yield self.name, int(datum)
        else:
            yield self.name, datum

    def held_by(self, pointer):
        """What is on the heap, or the pointer where there is nothing to be read."""
        try:
            target = pointer.dereference()
            target.fetch_lazy()
        except gdb.MemoryError:
            yield self.name, pointer
            return
        if self.name == "r":
            yield from block_children(target)
        else:
            yield self.name, target


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("Utilities")
    collection.add_printer("String", "^W?String$", TextPrinter)
    collection.add_printer("MultiType", "^MultiType$", ValuePrinter)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
