"""One Hypothesis profile: KORVEL_FUZZ_EXAMPLES examples a test (few by
default, the same every run; a chosen count explores anew), no database, no
deadline (the sanitizer build is slow)."""
import gc
import os
import resource

import pytest
from hypothesis import HealthCheck, settings

import hostile

settings.register_profile(
    "korvel-fuzz", max_examples=int(os.environ.get("KORVEL_FUZZ_EXAMPLES", "20")),
    deadline=None, database=None, derandomize="KORVEL_FUZZ_EXAMPLES" not in os.environ,
    suppress_health_check=list(HealthCheck), print_blob=True)
settings.load_profile("korvel-fuzz")

# Without the sanitizer (whose shadow memory needs the address space), a size
# that slips through to a huge allocation fails here instead of swapping.
if "asan" not in os.environ.get("LD_PRELOAD", ""):
    resource.setrlimit(resource.RLIMIT_AS, (8 << 30, resource.RLIM_INFINITY))


@pytest.fixture(autouse=True)
def fuzz_runtime(screen):
    """Afterwards the runtime and display the other tests expect, and a collection,
    which visits whatever the test left behind."""
    yield
    hostile.fresh_example()
    gc.collect()
