"""The Windows programs as they lie on the disk: what they import, and the protections they ask the system for.

Arguments: the programs.
"""

import pathlib
import struct
import sys
import unittest

HIGH_ENTROPY, DYNAMIC_BASE, NX_COMPAT = 0x20, 0x40, 0x100
WRITABLE, EXECUTABLE = 0x80000000, 0x20000000
BY_NUMBER = 1 << 63


def windows_7():
    """(library, function) of everything that may be imported."""
    lines = (pathlib.Path(__file__).parent / "data" / "windows7-imports.txt").read_text().split("\n\n", 1)[1].splitlines()
    library = ""
    for line in lines:
        if line.startswith(" "):
            yield from ((library, name) for name in line.split())
        library = library if line.startswith(" ") else line


class Program:
    def __init__(self, path):
        self.data = pathlib.Path(path).read_bytes()
        header = struct.unpack_from("<I", self.data, 0x3C)[0]
        count, size = struct.unpack_from("<H12xH", self.data, header + 6)
        optional = header + 24
        self.flags = struct.unpack_from("<H", self.data, optional + 70)[0]
        self.import_table = struct.unpack_from("<I", self.data, optional + 112 + 8)[0]
        # name, virtual size and address, raw size and place, characteristics
        self.sections = [struct.unpack_from("<8sIIII12xI", self.data, optional + size + i * 40) for i in range(count)]

    def place(self, address):
        for _, size, start, _, raw, _ in self.sections:
            if start <= address < start + size:
                return address - start + raw
        raise ValueError(hex(address))

    def imports(self):
        at = self.place(self.import_table)
        while name := struct.unpack_from("<I", self.data, at + 12)[0]:
            library = self.text(name).lower().removesuffix(".dll")
            entry = self.place(struct.unpack_from("<I", self.data, at)[0])
            while address := struct.unpack_from("<Q", self.data, entry)[0]:
                yield library, f"number {address - BY_NUMBER}" if address & BY_NUMBER else self.text(address + 2)
                entry += 8
            at += 20

    def text(self, address):
        start = self.place(address)
        return self.data[start:self.data.index(b"\0", start)].decode()


class ProgramTest(unittest.TestCase):
    def test_each_program(self):
        self.assertTrue(PROGRAMS)
        for path in PROGRAMS:
            with self.subTest(path):
                program = Program(path)
                for flag in (HIGH_ENTROPY, DYNAMIC_BASE, NX_COMPAT):
                    self.assertTrue(program.flags & flag, hex(flag))
                self.assertIn(b".reloc", [section[0].rstrip(b"\0") for section in program.sections],
                              "without it the addresses could not be random")
                self.assertEqual([], [section for section in program.sections
                                      if section[5] & WRITABLE and section[5] & EXECUTABLE])
                self.assertEqual(set(), set(program.imports()) - set(windows_7()), "not known to be there on Windows 7")


PROGRAMS = [argument for argument in sys.argv[1:] if not argument.startswith("-")]
if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + [argument for argument in sys.argv[1:] if argument.startswith("-")])
