"""How the fuzz suite calls korvel and judges the outcome.

A call may return anything or raise any Exception; what it must not do is
crash the interpreter (the sanitizer build turns a stray read or write into
a crash), return a value with an exception still set, or leave the
reference counts of its arguments changed once its result is dropped.
"""
import gc
import os
import sys
import types

import pygame
import pytest
from hypothesis import event

# Objects shared by the whole process: their counts move with everything.
_SHARED_TYPES = (type(None), bool, int, float, complex, str, bytes, type, types.ModuleType,
                 types.BuiltinFunctionType, types.FunctionType, type(Ellipsis),
                 type(NotImplemented))


class Outcome:
    def __init__(self, value=None, error=None):
        self.value, self.error = value, error

    @property
    def ok(self):
        return self.error is None


def name_of(f):
    """A callable's name; a TamVar forwards attribute reads to what it holds."""
    try:
        return str(f.__name__)
    except Exception:  # noqa: BLE001 - any hostile attribute lookup
        return type(f).__name__


def trace(f, args, kwargs):
    """With KORVEL_FUZZ_TRACE set, each call is written to standard error
    before it is made: after a crash, the last lines name the call."""
    from hostile import Box
    shown = ", ".join([repr(Box(a)) for a in args] + [f"{k}={Box(v)!r}" for k, v in kwargs.items()])
    print(f"fuzz call: {name_of(f)}({shown})", file=sys.stderr, flush=True)
    for a in args:
        if type(a).__name__ == "TamRoom":
            fields = {n: getattr(a, n, None) for n in dir(a)
                      if n.startswith(("view_", "drawn_", "tiles", "room_"))}
            shown = [f"{n}={Box(list(v) if type(v).__name__ == 'Floatlist8' else v)!r}"
                     for n, v in fields.items()]
            print("  room: " + ", ".join(shown), file=sys.stderr, flush=True)


TRACE = bool(os.environ.get("KORVEL_FUZZ_TRACE"))


def attempt(f, *args, **kwargs):
    """f(*args, **kwargs), with an Exception turned into the Outcome's
    error text (the exception itself is dropped with its traceback, which
    would otherwise hold the arguments)."""
    if TRACE:
        trace(f, args, kwargs)
    try:
        value = f(*args, **kwargs)
    except RecursionError as e:
        return Outcome(error=f"RecursionError: {e}")
    except SystemError as e:
        # A failure without an exception is the design's way for some calls;
        # a result with an exception left set is a bug.
        assert "with an exception set" not in str(e), f"{name_of(f)}: {e}"
        return Outcome(error=f"SystemError: {e}")
    except Exception as e:  # noqa: BLE001 - any Python error is an allowed outcome
        return Outcome(error=f"{type(e).__name__}: {e}")
    return Outcome(value)


def trackable(o):
    return not isinstance(o, _SHARED_TYPES)


def counts(objects):
    return [sys.getrefcount(o) for o in objects]


def balanced_call(f, args, kwargs=None, keeps=()):
    """attempt(f, *args) and check that every argument not in keeps (by
    position) holds as many references after the call as before, once the
    result is dropped. Returns the outcome's error text or None."""
    kept = [args[i] for i in keeps if i < len(args)]
    # An object passed again in a kept position may gain references too.
    watched = [a for i, a in enumerate(args)
               if i not in keeps and trackable(a) and not any(a is k for k in kept)]
    # A collection in between would free unrelated garbage that holds an argument.
    collecting = gc.isenabled()
    gc.disable()
    display = pygame.display.get_surface()
    try:
        before = counts(watched)
        outcome = attempt(f, *args, **(kwargs or {}))
        error = outcome.error
        del outcome
        after = counts(watched)
    finally:
        if collecting:
            gc.enable()
    # pygame drops its own reference to a display surface that a hostile
    # handler closed or replaced during the call.
    if display is not None and pygame.display.get_surface() is not display:
        before = [b - (a is display) for a, b in zip(watched, before)]
    # Shown by --hypothesis-show-statistics: how often each outcome came up.
    event(f"{name_of(f)}: " + (error or "returned")[:60])
    if after != before:
        changed = [(type(a).__name__, b, c) for a, b, c in zip(watched, before, after) if b != c]
        pytest.fail(f"{name_of(f)}: references changed (type, before, after): "
                    f"{changed}; outcome {error}")
    return error
