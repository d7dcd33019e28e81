# SPDX-License-Identifier: MIT
"""Reads the compiled form of the list of the system's declarations. It is part of a program in the list's package, and
has what the list's text leaves out: the values of constants outside named enumerations, and the exact types of numbers.

The form is a table of texts followed by tables of constants, functions, classes and so on, which refer to each other by
offsets. Each table is read from its beginning, and has to end where the next one begins."""
import struct

# The kinds of types. Any other kind is an object, a pointer or a block.
NAMES = {0: "int8", 1: "int32", 2: "int16", 4: "int64", 6: "uint32", 7: "uint16", 9: "uint64", 10: "float", 11: "double",
         12: "uint8", 13: "void", 28: "bool"}
CLASS, PROTOCOL, ARRAYS, STRUCTURE, POINTER, SIGNATURES = 17, 16, (23, 32, 33), 24, 25, (27, 29)
# Flags in the first byte of a type, of a member, and in the first bit of an offset.
NEXT, VARIADIC = 0x80, 0x40
PROPERTY, READ_ONLY, STATIC = 1, 2, 8


class CompiledList:
    def __init__(self, program):
        everything = program.read_bytes()
        magic = b"NSMD\1\0"
        if everything.count(magic) != 1:
            raise ValueError(f"{program} has no list, or several")
        self.data = everything[everything.index(magic):]
        self.at = 0
        constants, enumerations, self.signatures, functions, protocols, classes, self.structures, _ = struct.unpack_from(
            "<8I", self.data, len(magic))
        self.texts = len(magic) + 8 * 4
        self.constants, self.functions, self.structure_offsets = {}, {}, {}
        self.each(constants, enumerations, self.read_constant)
        self.each(functions, protocols, self.read_function)
        self.protocols = self.each(protocols, classes, self.read_protocol)
        self.classes = self.each(classes, self.structures, self.read_class)

    def each(self, begin, end, read):
        """Reads a table. Returns its entries by their offsets."""
        entries, self.at = {}, begin
        while self.at < end:
            offset = self.at - begin
            entries[offset] = read()
        if self.at != end:
            raise ValueError(f"the table at {begin} does not end at {end}")
        return entries

    def number(self, form):
        value, = struct.unpack_from("<" + form, self.data, self.at)
        self.at += struct.calcsize("<" + form)
        return value

    def offset(self):
        """An offset, and whether another entry follows."""
        value = self.number("I")
        return value & 0x7fffffff, bool(value >> 31)

    def text(self, offset):
        begin = self.texts + offset
        return self.data[begin:self.data.index(b"\0", begin)].decode()

    def name(self):
        return self.text(self.offset()[0])

    def offsets(self, follows):
        found = []
        while follows:
            offset, follows = self.offset()
            found.append(offset)
        return found

    def type(self):
        """The name of a type, and its flags."""
        first = self.number("B")
        kind, flags = first & 0x3f, first & (NEXT | VARIADIC)
        name = NAMES.get(kind, "other")
        if kind in (CLASS, PROTOCOL):
            self.offsets(True)
        elif kind in ARRAYS:
            self.number("H")
            self.type()
        elif kind in SIGNATURES:
            self.number("I")
        elif kind == POINTER:
            self.type()
        elif kind == STRUCTURE:
            name = self.structure_name(self.number("I"))
        return name, flags

    def structure_name(self, key):
        offset, is_union = key & 0x7fffffff, bool(key >> 31)
        if is_union or offset == 0x7fffffff:
            return "other"
        name = self.text(struct.unpack_from("<I", self.data, self.structures + offset)[0] & 0x7fffffff)
        self.structure_offsets[name] = offset
        return name

    def read_constant(self):
        name, evaluated = self.name(), self.number("B")
        if evaluated == 0:
            self.type()
        else:
            value = self.number({1: "q", 2: "d", 3: "I"}[evaluated])
            if evaluated == 1:
                self.constants[name] = value

    def read_function(self):
        name = self.name()
        self.functions[name] = self.number("I")

    def read_member(self, members):
        """Adds a method, or a property's methods, by the selector. Returns whether another member follows."""
        flags = self.number("B")
        methods = 0 if flags == 0 else 1 if not flags & PROPERTY or flags & READ_ONLY else 2
        if flags & PROPERTY:
            self.name()
        for _ in range(methods):
            selector = ("+" if flags & STATIC else "-") + self.name()
            members[selector] = self.number("I")
        return bool(flags & NEXT)

    def read_members(self, follows):
        members = {}
        while follows:
            follows = self.read_member(members)
        return members

    def read_protocol(self):
        name, has_protocols = self.offset()
        return self.text(name), self.offsets(has_protocols), None, self.read_members(True)

    def read_class(self):
        name, has_protocols = self.offset()
        self.offset()  # the name at run time
        protocols = self.offsets(has_protocols)
        above, has_members = self.offset()
        return self.text(name), protocols, above, self.read_members(has_members)

    def signature(self, offset):
        """The types of the arguments, the type that is returned, and whether any number of arguments may follow."""
        self.at = self.signatures + offset
        returned, flags = self.type()
        arguments, variadic, follows = [], bool(flags & VARIADIC), flags != 0
        while follows:
            argument, flags = self.type()
            arguments.append(argument)
            follows = bool(flags & NEXT)
        return arguments, returned, variadic

    def function(self, name):
        return self.signature(self.functions[name]) if name in self.functions else None

    def methods(self, owner, selector):
        """The signatures of a method of a class or protocol, or of those that it inherits from."""
        everything = [*self.classes.values(), *self.protocols.values()]
        found = []
        # A method of NSObject may be in any protocol.
        if owner == "NSObject":
            found = [members[selector] for _, _, _, members in everything if selector in members]
        for entry in everything:
            if entry[0] == owner:
                self.add_inherited(entry, selector, found)
        return [self.signature(each) for each in found]

    def add_inherited(self, entry, selector, found):
        _, protocols, above, members = entry
        if selector in members:
            found.append(members[selector])
        for protocol in protocols:
            self.add_inherited(self.protocols[protocol], selector, found)
        if above in self.classes:
            self.add_inherited(self.classes[above], selector, found)

    def size(self, name):
        """The size of a structure. Null if no signature that was read has it."""
        if name not in self.structure_offsets:
            return None
        return struct.unpack_from("<H", self.data, self.structures + self.structure_offsets[name] + 4)[0]

    def structure(self, name):
        """The names, offsets and types of a structure's members. Null if no signature that was read has it."""
        if name not in self.structure_offsets:
            return None
        self.at = self.structures + self.structure_offsets[name] + 6  # after the name and the size
        members, follows = [], True
        while follows:
            member, follows = self.offset()
            place, type_ = self.number("H"), self.type()[0]
            members.append((self.text(member), place, type_))
        return members
