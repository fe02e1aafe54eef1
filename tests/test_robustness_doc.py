"""docs/robustness.md has one line for every guard: comment of the code; the tests it names exist."""
import collections
import glob
import os
import re

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DOC = open(os.path.join(ROOT, "docs", "robustness.md")).read()


def test_every_guard_has_its_line():
    paths = [p for top in ("src", "include") for p in glob.glob(f"{ROOT}/{top}/**", recursive=True)
             if os.path.isfile(p)]
    code = collections.Counter({os.path.relpath(p, ROOT): open(p, errors="replace").read().count(
        "guard:") for p in paths})
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
