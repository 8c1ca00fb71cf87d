"""Pretty-printers for gdb: texts, arrays and node handles.

gdb loads this file by itself with the installed shared library. Elsewhere: source this file. It
needs no debug information of the library, so it knows how the hidden structures are laid out.
"""

import gdb
import gdb.printing


def read(address, kind):
    """The value of that kind at an address."""
    return gdb.Value(address).cast(gdb.lookup_type(kind).pointer()).dereference()


def pointer_at(address):
    return int(read(address, "unsigned long"))


def units(address, length):
    """Text of that many UTF-16 units; gdb shows no more of it than its limit."""
    pointer = gdb.Value(address).cast(gdb.lookup_type("char16_t").pointer())
    return pointer.lazy_string(length=length)


class Bstr:
    """_bstr_t: 32 bits of reference count, 32 bits of length, the units."""

    def __init__(self, value):
        self.units = int(value["m_Units"])

    def to_string(self):
        if self.units == 0:
            return "null"
        return units(self.units + 8, int(read(self.units + 4, "unsigned int")))


class TextView:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        if int(self.value["m_Data"]) == 0:
            return "null"
        return units(int(self.value["m_Data"]), int(self.value["m_Length"]))


class String:
    """CString, over a string of libstdc++."""

    def __init__(self, value):
        self.units = value["m_Units"]

    def to_string(self):
        return units(int(self.units["_M_dataplus"]["_M_p"]), int(self.units["_M_string_length"]))


class Array:
    """ZAMArray, over a vector of libstdc++; the places before m_First are empty."""

    def __init__(self, value):
        entries = value["m_Entries"]["_M_impl"]
        self.first = entries["_M_start"] + int(value["m_First"])
        self.count = int(entries["_M_finish"] - self.first)

    def to_string(self):
        return "ZAMArray of %d" % self.count

    def children(self):
        for index in range(self.count):
            yield "[%d]" % index, (self.first + index).dereference()

    def display_hint(self):
        return "array"


class Node:
    """IXMLDOMNodePtr: the path of the element. A note is a pointer to the document, null once the
    element is gone, and one to the node; a node is a word, its name, its value, its parent."""

    def __init__(self, value):
        self.note = int(value["m_Node"])

    def to_string(self):
        if self.note == 0:
            return "null"
        if pointer_at(self.note) == 0:
            return "dead"
        names = []
        node = pointer_at(self.note + 8)
        while node != 0 and pointer_at(node + 8) != 0:
            name = gdb.Value(pointer_at(node + 8)).cast(gdb.lookup_type("char").pointer())
            names.insert(0, name.string("utf-8"))
            node = pointer_at(node + 24)
        return "/".join(names)


printers = gdb.printing.RegexpCollectionPrettyPrinter("ZAMXMLData")
printers.add_printer("_bstr_t", "^_bstr_t$", Bstr)
printers.add_printer("ZAMTextView", "^ZAMTextView$", TextView)
printers.add_printer("CString", "^CString$", String)
printers.add_printer("ZAMArray", "^ZAMArray<.*>$", Array)
printers.add_printer("IXMLDOMNodePtr", "^IXMLDOMNodePtr$", Node)
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)
