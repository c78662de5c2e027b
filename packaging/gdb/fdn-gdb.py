"""Makes gdb show texts, paths, pointers and buffers of libfdn as the values that they stand for.

gdb loads it with the library: in the build tree it lies beside the library, and it is installed under the library's
name. For a program that is linked with the static library, load it by hand: source fdn-gdb.py
"""

import gdb
import gdb.printing


def is_known(value):
    """Whether gdb knows the fields of an object.

    g++ describes the library's classes only in the library's own debugging information, unless told otherwise.
    """
    kind = value.type.strip_typedefs()
    return kind.code == gdb.TYPE_CODE_STRUCT and bool(kind.fields())


class StringPrinter:
    """Shows a wxString, and so an fdn::String, which derives from it."""

    def __init__(self, value):
        self.text = value["m_impl"]

    def to_string(self):
        characters = self.text["_M_dataplus"]["_M_p"]
        return characters.lazy_string(length=self.text["_M_string_length"])

    def display_hint(self):
        return "string"


class PathPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return self.value["m_text"]


class PPrinter:
    """Shows the object that the pointer holds, in its dynamic type."""

    def __init__(self, value):
        self.object = value["m_object"]

    def to_string(self):
        if not self.object:
            return "empty"
        if not is_known(self.get_object()):
            return str(self.object)
        references = int(self.get_object()["m_references"]["_M_i"])
        return f"{references} references to {self.object.dynamic_type.target()}"

    def get_object(self):
        return self.object.cast(self.object.dynamic_type).dereference()

    def children(self):
        if self.object and is_known(self.get_object()):
            yield "object", self.get_object()


class TBufferPrinter:
    """Shows the elements in use."""

    def __init__(self, value):
        self.data = value["m_data"]
        self.used = int(value["m_used"])
        self.allocated = int(value["m_allocated"])

    def to_string(self):
        return f"{self.used} used of {self.allocated}"

    def children(self):
        for i in range(self.used):
            yield f"[{i}]", self.data[i]

    def display_hint(self):
        return "array"


class TCryptBufferPrinter(TBufferPrinter):
    """Shows no elements: they are secret, and what a debugger prints soon ends up in a report."""

    def children(self):
        return iter(())


class Printers(gdb.printing.RegexpCollectionPrettyPrinter):
    def __call__(self, value):
        return super().__call__(value) if is_known(value) else None


def make_printers():
    printers = Printers("libfdn")
    printers.add_printer("String", "^(fdn::String|wxString)$", StringPrinter)
    printers.add_printer("Path", "^fdn::TPathImpl<.*>$", PathPrinter)
    printers.add_printer("P", "^fdn::P<.*>$", PPrinter)
    printers.add_printer("TBuffer", "^fdn::TBuffer<.*>$", TBufferPrinter)
    printers.add_printer("TCryptBuffer", "^fdn::TCryptBuffer<.*>$", TCryptBufferPrinter)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), make_printers(), replace=True)
