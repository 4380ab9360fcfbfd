#!/usr/bin/env python3
"""The library exports exactly the functions that the public header declares.

usage: exports_test.py HEADER LIBRARY [NM | OBJDUMP]

Reads the dynamic symbols of an ELF library with nm, the export table of a DLL with objdump; of a DLL also the imports:
it may need nothing that does not come with the system.
"""
import re
import subprocess
import sys

SYSTEM_LIBRARIES = {
    "advapi32.dll",
    "crypt32.dll",
    "kernel32.dll",
    "msvcrt.dll",
    "secur32.dll",
    "ws2_32.dll",
}


def declared(header):
    with open(header, encoding="ascii") as file:
        text = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.S)
    return set(re.findall(r"BRMX_EXPORT\s+engine_status\s+(\w+)\s*\(", text))


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported_by_elf(library, nm):
    lines = run(nm, "-D", "--defined-only", library).splitlines()
    # The linker's own version node is no symbol that anybody could call.
    return {line.split()[-1].split("@")[0] for line in lines if line.strip()}


def exported_by_dll(dump):
    table = dump.split("[Ordinal/Name Pointer] Table", 1)[1].split("\n\n", 1)[0]
    return set(re.findall(r"\]\s+(?:\+base\[\s*\d+\]\s+)?(?:[0-9a-f]+\s+)?(\w+)$", table, flags=re.M))


def main():
    header, library = sys.argv[1:3]
    wrong = []
    if library.lower().endswith(".dll"):
        dump = run(sys.argv[3] if len(sys.argv) > 3 else "x86_64-w64-mingw32-objdump", "-p", library)
        exported = exported_by_dll(dump)
        needed = {name.lower() for name in re.findall(r"DLL Name: (\S+)", dump)}
        wrong += [f"needs {name}" for name in sorted(needed - SYSTEM_LIBRARIES)]
    else:
        exported = exported_by_elf(library, sys.argv[3] if len(sys.argv) > 3 else "nm")
    expected = declared(header)
    if not expected:
        wrong.append(f"no function is declared in {header}")
    wrong += [f"declared and not exported: {name}" for name in sorted(expected - exported)]
    wrong += [f"exported and not declared: {name}" for name in sorted(exported - expected)]
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
