"""How GDB shows the library's texts and tagged values.

GDB loads this file together with the library, or on the command `source`; docs/guides/values.md says
when. No debug information of the library is needed: a program that was built with -g has only the name
of MultiType, as its description belongs to the library. So values are read from memory, as
utilities/values/multitype.h lays them out (table of virtual functions, datum, tag) and as the
compiler's library lays out its strings (characters, length).
"""

import sys

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
