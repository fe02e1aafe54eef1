"""Fuzz suite settings: one Hypothesis profile whose example count comes from
KORVEL_FUZZ_EXAMPLES (small by default, for CI), no example database, no
deadline (the sanitizer build is slow). Every test here carries the marker
"fuzz"; scripts/pytest runs them once, not once per pixel-kernel path.
"""
import gc
import os
import resource

import pytest
from hypothesis import HealthCheck, settings

import hostile

EXAMPLES = int(os.environ.get("KORVEL_FUZZ_EXAMPLES", "50"))

settings.register_profile(
    "korvel-fuzz",
    max_examples=EXAMPLES,
    deadline=None,
    database=None,
    # CI's default run is the same every time; a chosen count explores anew.
    derandomize="KORVEL_FUZZ_EXAMPLES" not in os.environ,
    suppress_health_check=[HealthCheck.too_slow, HealthCheck.data_too_large,
                           HealthCheck.filter_too_much],
    print_blob=True,
)
settings.load_profile("korvel-fuzz")

# Without the sanitizer (whose shadow memory needs a huge address space), a
# size that slips through to a huge allocation fails here instead of
# swapping the machine.
if "asan" not in os.environ.get("LD_PRELOAD", ""):
    resource.setrlimit(resource.RLIMIT_AS, (8 << 30, resource.RLIM_INFINITY))


def pytest_configure(config):
    config.addinivalue_line("markers", "fuzz: Hypothesis fuzzing of korvel with hostile input")


def pytest_collection_modifyitems(items):
    here = os.path.dirname(__file__)
    for item in items:
        if str(item.fspath).startswith(here):
            item.add_marker(pytest.mark.fuzz)


@pytest.fixture(autouse=True)
def fuzz_runtime(screen):
    """A registered stand-in runtime and a stored screen before each test;
    afterwards the runtime as the other tests expect it, and a collection,
    which visits whatever the test left behind."""
    hostile.restore_runtime()
    yield
    hostile.open_display()
    hostile.restore_runtime()
    gc.collect()
