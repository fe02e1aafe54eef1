import os
import warnings

os.environ.setdefault("SDL_VIDEODRIVER", "dummy")
os.environ.setdefault("PYGAME_HIDE_SUPPORT_PROMPT", "1")
# pygame 2.6 warns at import about its own build; that would bury real warnings.
warnings.filterwarnings("ignore", "Your system is avx2 capable but pygame", RuntimeWarning)
warnings.filterwarnings("ignore", "pkg_resources is deprecated", DeprecationWarning)

import pygame  # noqa: E402
import pytest  # noqa: E402

import standins  # noqa: E402

standins.modules()  # registered before korvel binds them by name
import korvel  # noqa: E402


def pytest_configure(config):
    config.addinivalue_line("markers", "kernels: depends on the pixel-kernel path (KORVEL_ISA)")


@pytest.fixture
def runtime():  # a fresh stand-in runtime, registered with korvel
    tam6, tamapi = standins.reset()
    standins.register()
    return tam6, tamapi


@pytest.fixture
def screen():  # the dummy display's screen, stored in korvel, cleared to black
    pygame.display.init()
    surface = pygame.display.set_mode((64, 48), 0, 32)
    surface.fill((0, 0, 0))
    korvel.set_SDL_screen(surface)
    return surface
