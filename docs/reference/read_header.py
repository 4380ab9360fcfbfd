#!/usr/bin/env python3
"""Prints a header as Doxygen reads it: read_header.py FILE

brmx.h is written for people: arguments stand in columns, and one comment may serve several functions. Here each comment
becomes one of Doxygen's, its columns become parameters, and each function gets a copy of the comment that it shares.
"""
import re
import sys

FUNCTION = re.compile(r"(?:BRMX_EXPORT|static inline)[^;{]+[;{]", re.S)
COMMENT = r"/\*(?!\*)(?:(?!\*/).)*\*/"
COLUMN = 15  # where the text about an argument begins, at the earliest
DOCUMENTED = re.compile(rf"({COMMENT})\n((?:{FUNCTION.pattern}\n?)+)", re.S)


def parameters_of(function):
    inside = function[function.index("(") + 1:function.rindex(")")]
    return [re.findall(r"\w+", part)[-1] for part in inside.split(",") if re.search(r"\w", part)]


def document(comment, function):
    parameters = parameters_of(function)
    lines = [re.sub(r"^ ?\*? ?", "", line) for line in comment[2:-2].split("\n")]
    out, told = [], set()
    for line in lines:
        column = re.match(r"(\w+(?:, \w+)*)\s+(\S.*)", line)
        names = column[1].split(", ") if column and column.start(2) >= COLUMN else []
        named = [name for name in names if name in parameters]
        if named:
            told.update(named)
            out.append(f"\\param {','.join(named)} {column[2]}")
        elif names == ["returns"]:
            out.append(f"\\return {column[2]}")
        elif names:
            continue  # of another function that shares the comment
        elif line.startswith("THE TRAP: "):
            out.append(f"\\warning {line[len('THE TRAP: '):]}")
        else:
            out.append(line)
    if told and "handle" in parameters and "handle" not in told:
        out.append("\\param handle names the session")
    return "/**" + "\n * ".join(out) + " */\n" + function + "\n"


def read(text):
    text = re.sub(r"^/\*\n", "/** \\\\file\n", text)
    groups = []

    def group(found):
        groups.append(found[1])
        end = "/** @} */\n" if len(groups) > 1 else ""
        return f"{end}/** \\defgroup g{len(groups)} {found[1]}\n * @{{ */"

    def documented(found):
        return "\n".join(document(found[1], function) for function in FUNCTION.findall(found[2]))

    text = DOCUMENTED.sub(documented, text)
    text = re.sub(r"/\* ---- (.*?) ---- \*/", group, text)
    text = re.sub(r"(0x[0-9A-F]{8},?)(\s+)/\* ", r"\1\2/**< ", text)
    text = re.sub(r"(?<=\n)/\*(?= (?:One unit|The result))", "/**", text)
    if groups:
        text = text.replace("#ifdef __cplusplus\n}\n#endif\n", "/** @} */\n#ifdef __cplusplus\n}\n#endif\n")
    return text


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as file:
        content = file.read()
    sys.stdout.write(read(content) if sys.argv[1].endswith(".h") else content)
