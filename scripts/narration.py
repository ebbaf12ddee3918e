"""How the main job is told: lines for the reader, and pictures of the screen in out/run."""

from __future__ import annotations

from pathlib import Path

from desktop import Desktop

_ROOT = Path(__file__).resolve().parents[1]
PICTURES = _ROOT / "out/run"


def tell(text: str) -> None:
    print(f"\n{text}", flush=True)


def detail(text: str) -> None:
    print(f"    {text}", flush=True)


def expect(holds: bool, what: str) -> None:
    if not holds:
        raise AssertionError(what)


class Camera:
    """Takes the pictures of one desktop and numbers them."""

    def __init__(self, desktop: Desktop) -> None:
        self._desktop = desktop
        self._taken = 0

    def take(self, name: str) -> None:
        self._taken += 1
        path = PICTURES / f"{self._taken:02}-{name}.png"
        self._desktop.screenshot(path)
        detail(f"picture: {path.relative_to(_ROOT)}")
