"""docs/robustness.md lists every guard: comment of the code, one line each,
and every test it names exists."""
import collections
import os
import re

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DOC = open(os.path.join(ROOT, "docs", "robustness.md")).read()


def test_every_guard_has_its_line():
    code = collections.Counter()
    for top in ("src", "include"):
        for folder, _, files in os.walk(os.path.join(ROOT, top)):
            for name in files:
                path = os.path.join(folder, name)
                code[os.path.relpath(path, ROOT)] += open(path, errors="replace").read().count(
                    "guard:")
    rows = [line.split("`")[1] for line in DOC.splitlines() if line.startswith("| `")]
    doc = collections.Counter(p if p.startswith("include/") else "src/" + p for p in rows)
    assert +code == doc, ("guard: comments without their lines, lines without", code - doc,
                          doc - code)


@pytest.mark.parametrize("file,pattern", sorted(
    {(f, f"def {t}(") for f, t in re.findall(r"`([a-z_/]+\.py)::(test_\w+)`", DOC)}
    | {("native/" + f, r"TEST(_F|_P)?\(%s, %s\)" % (s, n or r"\w+"))
       for f, s, n in re.findall(r"`native/(test_\w+\.cpp)` \(`(\w+)(?:\.(\w+))?`\)", DOC)}))
def test_named_tests_exist(file, pattern):
    source = open(os.path.join(ROOT, "tests", file)).read()
    assert (pattern in source) if pattern.startswith("def ") else re.search(pattern, source)
