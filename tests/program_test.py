"""The Windows programs as they lie on the disk: what they import, and the protections they ask the system for.

Arguments: the programs.
"""

import pathlib
import struct
import sys
import unittest

HIGH_ENTROPY, DYNAMIC_BASE, NX_COMPAT = 0x20, 0x40, 0x100
WRITABLE, EXECUTABLE = 0x80000000, 0x20000000
# Libraries of the system; everything else is part of the program.
SYSTEM = {"advapi32", "bcrypt", "crypt32", "dbghelp", "iphlpapi", "kernel32", "msvcrt", "normaliz", "ole32", "oleaut32",
          "secur32", "shell32", "user32", "version", "winmm", "ws2_32"}


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
            start = self.place(name)
            yield self.data[start:self.data.index(b"\0", start)].decode().lower().removesuffix(".dll")
            at += 20


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
                self.assertLessEqual(set(program.imports()), SYSTEM)


PROGRAMS = [argument for argument in sys.argv[1:] if not argument.startswith("-")]
if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + [argument for argument in sys.argv[1:] if argument.startswith("-")])
