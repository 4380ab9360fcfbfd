#!/usr/bin/env python3
"""Checks that the links between documents lead somewhere: links.py SOURCE_ROOT"""

import pathlib
import re
import sys

SKIPPED = {"build", "node_modules", ".git"}
LINK = re.compile(r"\[[^]\n]*\]\(([^)\s#]+)[^)]*\)")


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    documents = [path for path in root.rglob("*.md") if not SKIPPED & set(path.relative_to(root).parts)]
    bad = []
    for document in documents:
        text = re.sub(r"```.*?```", "", document.read_text("utf-8"), flags=re.S)
        for target in LINK.findall(text):
            if "://" not in target and not (document.parent / target).exists():
                bad.append(f"{document.relative_to(root)}: {target} is not there")
    reachable = set(re.findall(r"\]\(([^)\s#]+\.md)", (root / "README.md").read_text("utf-8")))
    for document in (root / "docs").glob("*.md"):
        if f"docs/{document.name}" not in reachable:
            bad.append(f"README.md does not name docs/{document.name}")
    print("\n".join(bad) if bad else f"{len(documents)} documents")
    return 1 if bad or not documents else 0


if __name__ == "__main__":
    sys.exit(main())
