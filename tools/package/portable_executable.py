"""Reads what a Windows executable carries along: its processor and its resources."""

import struct

ICON, ICON_GROUP, VERSION, MANIFEST = 3, 14, 16, 24
MACHINES = {0x8664: 64, 0x014C: 32}


class PortableExecutable:
    """An executable in memory. A file that is none raises struct.error or ValueError."""

    def __init__(self, content):
        self.content = content
        header = self.number("<I", 0x3C)
        if content[:2] != b"MZ" or content[header:header + 4] != b"PE\0\0":
            raise ValueError("not a Windows executable")
        self.bits = MACHINES[self.number("<H", header + 4)]
        self.sections_at = header + 24 + self.number("<H", header + 20)
        self.section_count = self.number("<H", header + 6)
        directories = header + 24 + (112 if self.bits == 64 else 96)
        self.resources_at = self.file_offset(self.number("<I", directories + 2 * 8))

    def number(self, form, at):
        """One number of the file."""
        return struct.unpack_from(form, self.content, at)[0]

    def file_offset(self, address):
        """Where in the file that is what will be at an address in memory."""
        for index in range(self.section_count):
            size, begin, raw_size, raw = struct.unpack_from(
                "<IIII", self.content, self.sections_at + 40 * index + 8)
            if begin <= address < begin + max(size, raw_size):
                return address - begin + raw
        raise ValueError(f"no section has the address {address:#x}")

    def entries(self, directory):
        """Pairs of a number and an offset in a directory of resources; named ones have none."""
        named, numbered = struct.unpack_from("<HH", self.content,
                                             self.resources_at + directory + 12)
        for index in range(named, named + numbered):
            yield struct.unpack_from("<II", self.content,
                                     self.resources_at + directory + 16 + 8 * index)

    def resources(self, kind):
        """The resources of a kind by their number, in the first language of each."""
        found = {}
        for number, directory in self.entries(0):
            if number != kind:
                continue
            for name, languages in self.entries(directory & 0x7FFFFFFF):
                _, data = next(self.entries(languages & 0x7FFFFFFF))
                address, size = struct.unpack_from("<II", self.content, self.resources_at + data)
                offset = self.file_offset(address)
                found[name] = self.content[offset:offset + size]
        return found
