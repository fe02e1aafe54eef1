"""docs/robustness.md lists every guard of the code, one line each, and
every test it names exists."""
import collections
import os
import re

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DOC = open(os.path.join(ROOT, "docs", "robustness.md")).read()
ROWS = [line for line in DOC.splitlines() if line.startswith("| `")]


def guards_in_code():
    counts = collections.Counter()
    for top in ("src", "include"):
        for folder, _, files in os.walk(os.path.join(ROOT, top)):
            for name in files:
                path = os.path.join(folder, name)
                n = open(path, errors="replace").read().count("guard:")
                if n:
                    counts[os.path.relpath(path, ROOT)] = n
    return counts


def guards_in_doc():
    counts = collections.Counter()
    for row in ROWS:
        path = row.split("`")[1]
        counts[path if path.startswith("include/") else "src/" + path] += 1
    return counts


def test_every_guard_has_its_line():
    code, doc = guards_in_code(), guards_in_doc()
    wrong = {f: (code[f], doc[f]) for f in set(code) | set(doc) if code[f] != doc[f]}
    assert not wrong, ("files whose guard: comments (first number) and lines in "
                       f"docs/robustness.md (second) differ: {wrong}")


@pytest.mark.parametrize("file,test", sorted(set(re.findall(r"`([a-z_/]+\.py)::(test_\w+)`", DOC))))
def test_named_python_tests_exist(file, test):
    source = open(os.path.join(ROOT, "tests", file)).read()
    assert f"def {test}(" in source, f"docs/robustness.md names {file}::{test}, which is gone"


@pytest.mark.parametrize("file,suite,name", sorted(set(
    re.findall(r"`native/(test_\w+\.cpp)` \(`(\w+)(?:\.(\w+))?`\)", DOC))))
def test_named_native_tests_exist(file, suite, name):
    source = open(os.path.join(ROOT, "tests", "native", file)).read()
    test = name or r"\w+"
    assert re.search(rf"TEST(_F|_P)?\({suite}, {test}\)", source), (
        f"docs/robustness.md names {suite}.{name} of native/{file}, which is gone")
