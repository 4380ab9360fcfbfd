#!/usr/bin/env python3
"""Checks that every folder includes only what stands below it: layering.py SOURCE_ROOT."""

import pathlib
import re
import sys

BELOW_SERVER = {"community", "analysis", "view", "findings", "message", "foundation", "platform", "deployment"}
# What each folder may include besides itself: folders, rooms of one, or single headers. A room that is listed of its own
# is held to less than its folder. The public headers are all that programs around the library see.
ALLOWED = {
    "platform": set(),
    "deployment": set(),
    "include": set(),
    "foundation": {"platform"},
    "message": {"foundation", "platform"},
    "html": {"foundation", "platform"},
    "network": {"foundation", "platform"},
    "findings": {"message", "foundation", "platform"},
    "view": {"findings", "message", "html", "network", "foundation", "platform"},
    "community/wire": {"community/errors.h", "findings", "network", "foundation", "platform"},
    "community": {"findings", "message", "network", "foundation", "platform", "deployment"},
    "analysis": {"view", "findings", "message", "html", "network", "foundation", "platform", "deployment"},
    "language": {"view", "findings", "message", "html", "foundation", "platform"},
    "engine": {"include", "language", "community", "analysis", "view", "findings", "message", "html", "network", "foundation",
               "platform", "deployment"},
    "tools": {"include"},
    "server/judgement": {"community/wire"},
    "server/knowledge": {"server/judgement", "community/wire"},
    "server/store": {"server/knowledge", "server/judgement", "community/wire", "platform"},
    "server/handler": {"server/store", "server/knowledge", "server/judgement"} | BELOW_SERVER,
    "server/listen": {"server/handler"} | BELOW_SERVER,
    "server/daemon": {"server/listen", "server/handler", "server/store", "server/knowledge"} | BELOW_SERVER,
    "server/admin": {"server/daemon", "server/handler", "server/store", "server/knowledge"} | BELOW_SERVER,
    "server/tool": {"server/admin", "server/daemon", "tools/brmx_scan/sources.h", "tools/brmx_scan/progress.h"},
    "server/communityd": {"server/admin", "server/daemon", "server/listen"},
}
# A header of the system in one of these places would tie the folder to one target; the TLS socket is written twice.
SYSTEM_HEADER = re.compile(
    r"^(windows|winsock2|ws2tcpip|wincrypt|wchar|unistd|pthread|dlfcn|sched|netdb|poll|fcntl|sys/|netinet/|arpa/|unicode/|openssl/)"
)
TARGET_TEST = re.compile(r"^\s*#\s*(if|ifdef|ifndef|elif)\b.*\b(_WIN32|_WIN64|WIN32|__linux__|__unix__|__MINGW)")
MAY_TEST_TARGET = ("platform/", "include/brmx.h", "network/tls", "tools/brmx_scan/host_", "server/")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def problems(root):
    for folder, allowed in ALLOWED.items():
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in {".h", ".cpp", ".c", ".hpp"}:
                continue
            name = path.relative_to(root).as_posix()
            free = name.startswith(MAY_TEST_TARGET)
            seam = folder == "platform" and not {"windows", "posix"} & set(path.parts)
            for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
                where = f"{name}:{number}"
                if TARGET_TEST.match(line) and (seam or not free):
                    yield f"{where}: tests for a target outside the platform folder"
                found = INCLUDE.match(line)
                if not found:
                    continue
                kind, included = found.groups()
                if kind == "<":
                    if SYSTEM_HEADER.match(included) and (seam or not free):
                        yield f"{where}: includes the system header <{included}>"
                    continue
                if "/" not in included:
                    yield f'{where}: "{included}" is not named from the source root'
                elif not any(included == place or included.startswith(place + "/") for place in {folder} | allowed):
                    yield f'{where}: {folder}/ may not include "{included}"'


def main():
    found = list(problems(pathlib.Path(sys.argv[1])))
    print("\n".join(found) if found else "layering holds")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
