#!/usr/bin/env python3
"""Writes code_runs.cpp, unit_runs.cpp and look_alikes.cpp, next to this script: make_page_tables.py WINDOWS_DUMP

WINDOWS_DUMP is what the Windows build of table_dump prints, and is taken as right. The pages of SOURCES are not in it:
the C library's iconv reads them. The tables hold what ICU lacks or says differently. To find that out, the script
builds the Linux table_dump (preset release) without any of the tables, and once more with the first one."""

import collections
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[3]
HERE = pathlib.Path(__file__).resolve().parent
NONE = 0xFFFD
UNREAD = (42, 65000, 65001)  # made by code of ours

# Pages that Wine does not have: the name that iconv knows each by, and the codes that are taken from there. The lower
# half of the two for teletext stays ASCII, lest a "$" or a backslash make a whole text unreadable.
UPPER_HALF, ALL = range(0x80, 0x100), range(0x100)
SOURCES = {
    20002: ("BIG5-HKSCS", range(0xC6A1, 0xC7F3)),  # which took over Eten's signs; the rest is code page 950
    20106: ("ISO646-DE", range(0x80)),
    20107: ("ISO646-SE2", range(0x80)),
    20108: ("ISO646-NO", range(0x80)),
    20261: ("T.61", [*UPPER_HALF, *range(0xC120, 0xD000)]),
    20269: ("ISO_6937", UPPER_HALF),
    20423: ("IBM423", ALL),
    20880: ("IBM880", ALL),
    20905: ("IBM905", ALL),
}
# The accents of ISO 6937, which iconv only knows in front of a letter. The code page has them by themselves.
ACCENTS = "\u0300\u0301\u0302\u0303\u0304\u0306\u0307\u0308_\u030A\u0327_\u030B\u0328\u030C"
BY_HAND = {
    20127: {0x80: 0},  # the top bit is dropped
    20105: {0x24: 0xA4, 0x7E: 0x203E},
    20269: {0xC1 + i: ord(accent) for i, accent in enumerate(ACCENTS) if accent != "_"},
    20833: {0x0E: 0x0E, 0x0F: 0x0F},  # shifts in the page that ICU has, which goes on in two bytes
    # Latin 9 where 1047 has Latin 1.
    20924: {0x9F: 0x20AC, 0x6A: 0x160, 0xBB: 0x161, 0xBE: 0x17D, 0x9D: 0x17E, 0xB7: 0x152, 0xB8: 0x153, 0xB9: 0x178},
}

HEAD = """// Made by make_page_tables.py; do not edit.
#include "platform/posix/code_page/page_tables.h"

#include <algorithm>
%s
namespace tackle::platform {
namespace {

"""

RUNS = """std::span<const %s> find_%ss(std::uint32_t code_page) {
    // By its two halves: clang 14 cannot take apart what equal_range returns.
    const auto* const first = std::ranges::lower_bound(runs, code_page, {}, &%s::code_page);
    return {first, std::ranges::upper_bound(runs, code_page, {}, &%s::code_page)};
}
"""


class dump:
    """What a code page reads its codes as, and what it writes for units; absent pages are not known."""

    def __init__(self, name):
        self.reads, self.writes, unknown = collections.defaultdict(dict), collections.defaultdict(dict), set()
        with open(name, encoding="ascii") as lines:
            for words in (line.split() for line in lines if line.startswith("page")):
                page = int(words[1])
                if words[2] == "unknown":
                    unknown.add(page)
                elif words[2].startswith("U+"):
                    self.writes[page][int(words[2][2:], 16)] = int(words[3], 16) if len(words) > 3 else 0
                elif words[2] != "known" and page not in UNREAD:
                    self.reads[page][int(words[2], 16)] = words[3]
        self.pages = (self.reads.keys() | self.writes.keys()) - unknown


def own_dump():
    """That of the tree as it is now."""
    subprocess.run(["cmake", "--build", "--preset", "release", "--target", "table_dump"], cwd=ROOT, check=True)
    name = ROOT / "build/tables.own"
    with open(name, "w", encoding="ascii") as out:
        subprocess.run([ROOT / "build/release/table_dump"], stdout=out, check=True)
    return dump(name)


def iconv(name, code):
    """The unit, or nothing if it is none or several."""
    data = code.to_bytes(2 if code > 0xFF else 1, "big")
    done = subprocess.run(["iconv", "-f", name, "-t", "UTF-16BE"], input=data, capture_output=True, check=False)
    return int.from_bytes(done.stdout, "big") if done.returncode == 0 and len(done.stdout) == 2 else NONE


def unit_of(units):
    return int(units, 16) if len(units) == 4 else NONE  # two units: the two bytes are no pair


def reading(ours, theirs):
    """Page -> code -> unit, where they differ."""
    wanted = collections.defaultdict(dict)
    for page in ours.pages & theirs.pages:
        for code, units in theirs.reads[page].items():
            if units == "0000" and 0 < code < 0x100:
                continue  # Wine's answer for a lead byte without pairs
            if unit_of(units) != unit_of(ours.reads[page][code]):
                wanted[page][code] = unit_of(units)
    for page, (name, codes) in SOURCES.items():
        wanted[page] = {code: iconv(name, code) for code in codes}
    for page, units in BY_HAND.items():
        wanted[page].update(units)
    for page, units in wanted.items():
        for code, own in ours.reads[page].items():
            if units.get(code) == unit_of(own):
                del units[code]
        if page in SOURCES:  # iconv takes away no pair
            wanted[page] = {code: unit for code, unit in units.items() if code < 0x100 or unit != NONE}
    return wanted


def runs(values, nothing):
    """(key, value, count) for consecutive keys with consecutive values, or with `nothing` all along."""
    out = []
    for key, value in sorted(values.items()):
        if out:
            first, start, count = out[-1]
            follows = value == (nothing if start == nothing else start + count)
            if key == first + count and follows:
                out[-1] = (first, start, count + 1)
                continue
        out.append((key, value, 1))
    return out


def write(name, includes, body):
    path = HERE / name
    path.write_text(HEAD % includes + body + "\n} // namespace tackle::platform\n", encoding="ascii")
    subprocess.run(["clang-format", "-i", path], check=True)


def write_runs(kind, wanted, nothing, row):
    lines = [row % ((page,) + run) for page in sorted(wanted) for run in runs(wanted[page], nothing)]
    print(len(lines), kind, "rows")
    table = f"// Sorted by code page.\nconstexpr {kind} runs[] = {{{', '.join(lines) or '{}'}}};\n"
    write(kind + "s.cpp", "", table + "\n} // namespace\n\n" + RUNS % ((kind,) * 4))


def write_code_runs(wanted):
    write_runs("code_run", wanted, NONE, "{%d, 0x%02X, 0x%04X, %d}")


def write_unit_runs(wanted):
    write_runs("unit_run", wanted, 0, "{%d, 0x%04X, 0x%02X, %d}")


def write_look_alikes(rows, sets, pages):
    alike = ", ".join("{0x%04X, 0x%04X, %d, %d}" % row for row in rows)
    print(len(rows), "look-alikes,", len(sets), "sets of", len(pages), "pages")
    write("look_alikes.cpp", "#include <iterator>\n",
          "// Each has one bit in a set, the first the lowest.\n"
          f"constexpr std::uint16_t pages_with_look_alikes[] = {{{', '.join(map(str, pages))}}};\n\n"
          f"constexpr std::uint64_t page_sets[] = {{{', '.join('0x%X' % s for s in sets)}}};\n\n"
          f"constexpr look_alike rows[] = {{{alike}}};\n"
          """
} // namespace

std::span<const look_alike> look_alikes() { return rows; }

bool has_look_alikes(std::uint8_t pages, std::uint32_t code_page) {
    const auto* const found = std::ranges::find(pages_with_look_alikes, code_page);
    return found != std::end(pages_with_look_alikes) &&
           (page_sets[pages] >> (found - std::begin(pages_with_look_alikes)) & 1) != 0;
}
""")


def writing(ours, theirs):
    """What differs, shared look-alikes apart from what has to be said for a page alone."""
    alone = collections.defaultdict(dict)
    alike = collections.defaultdict(dict)  # page -> unit -> the unit it looks like
    for page in ours.pages & theirs.pages - set(UNREAD):
        units_of = {}
        for unit, code in ours.writes[page].items():
            own = ours.reads[page].get(code)
            if own == "%04X" % unit and theirs.writes[page].get(unit) == code:
                units_of[code] = unit
        for unit in ours.writes[page].keys() | theirs.writes[page].keys():
            code = theirs.writes[page].get(unit)
            if code == ours.writes[page].get(unit):
                continue
            if code in units_of:
                alike[page][unit] = units_of[code]
            else:
                alone[page][unit] = code or 0
    pages = sorted(page for page in alike if len(alike[page]) > 20)
    for page in alike.keys() - set(pages):
        alone[page].update({unit: theirs.writes[page][unit] for unit in alike[page]})
    users = collections.defaultdict(int)
    for bit, page in enumerate(pages):
        for pair in alike[page].items():
            users[pair] |= 1 << bit
    return pages, users, alone


def share(users):
    """The rows of the table of look-alikes, and the sets of pages that they name by index."""
    per_set = collections.defaultdict(set)
    for pair, bits in users.items():
        per_set[bits].add(pair)
    sets = sorted(per_set, key=lambda bits: -len(per_set[bits]))
    rows = []
    for index, bits in enumerate(sets):
        for unit, like in sorted(per_set[bits]):
            last = rows[-1] if rows else None
            if last and last[3] == index and (unit, like) == (last[0] + last[2], last[1] + last[2]) and last[2] < 255:
                rows[-1] = (last[0], last[1], last[2] + 1, index)
            else:
                rows.append((unit, like, 1, index))
    return rows, sets


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    theirs = dump(sys.argv[1])
    write_code_runs({})
    write_unit_runs({})
    write_look_alikes([(0, 0, 0, 0)], [0], [0])
    wanted = reading(own_dump(), theirs)
    write_code_runs(wanted)
    pages, users, alone = writing(own_dump(), theirs)
    rows, sets = share(users)
    if len(pages) > 64 or len(sets) > 256:
        sys.exit("too many pages or sets: %d, %d" % (len(pages), len(sets)))
    write_look_alikes(rows, sets, pages)
    write_unit_runs(alone)


if __name__ == "__main__":
    main()
