"""What the end-to-end tests share: one desktop with running host services a test file, one copy of the staged
product a test."""

from __future__ import annotations

import os
import shutil
from collections.abc import Iterator
from pathlib import Path

import pytest

from desktop import Desktop, private_desktop
from host import PRODUCT_IDS, HostService
from product import Product, ProductPath, copy_product
from tray import Tray

_ROOT = Path(__file__).parents[2]
_STAGE = Path(os.environ.get("QX_STAGE", _ROOT / "out/stage"))
_EVIDENCE = _ROOT / "out/e2e"


@pytest.fixture(scope="module")
def desktop(request: pytest.FixtureRequest) -> Iterator[Desktop]:
    winprobe = Path(os.environ["QX_WINPROBE"])
    with private_desktop(f"e2e-{request.path.stem}-{os.getpid()}", winprobe) as running:
        if not getattr(request.module, "OWN_SERVICES", False):
            _start_services(running)
        yield running


def _start_services(desktop: Desktop) -> None:
    """An agent does not start without the service of its product. A test file that says OWN_SERVICES runs the
    services itself."""
    staged = Product(desktop, _STAGE, _EVIDENCE)
    for suffix in PRODUCT_IDS:
        service = HostService(staged, suffix)
        service.install()
        service.start()


@pytest.fixture
def product(desktop: Desktop, tmp_path: Path) -> Iterator[Product]:
    """A copy of the staged tree. Whatever was started from it is ended after the test."""
    copy = copy_product(desktop, _STAGE, tmp_path)
    yield copy
    copy.end()


@pytest.fixture
def product_path(desktop: Desktop) -> Iterator[ProductPath]:
    path = ProductPath(desktop)
    yield path
    path.remove()


@pytest.fixture
def tray(product: Product) -> Iterator[Tray]:
    """The tray icon of the agent that the test starts."""
    tray = Tray(product)
    yield tray
    tray.close()


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item: pytest.Item) -> Iterator[None]:
    outcome = yield
    report = outcome.get_result()  # type: ignore[attr-defined]
    arguments = getattr(item, "funcargs", {})
    if report.when == "call" and report.failed and "desktop" in arguments:
        folder = _EVIDENCE / item.nodeid.split("/")[-1].replace("::", ".").replace("[", ".").rstrip("]")
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        try:
            _keep_evidence(folder, arguments["desktop"], arguments.get("product"))
        except Exception as problem:  # the desktop itself may be what failed
            report.sections.append(("evidence is incomplete", repr(problem)))
        report.sections.append(("evidence", str(folder)))


def _keep_evidence(folder: Path, desktop: Desktop, product: Product | None) -> None:
    desktop.screenshot(folder / "screen.png")
    listing = [f"{number:5} {name}" for number, name in desktop.processes()]
    (folder / "processes.txt").write_text("\n".join(listing) + "\n")
    windows = [f"{w.handle:8x} {w.process:5} {w.class_name} <{w.title}>" for w in desktop.windows()]
    (folder / "windows.txt").write_text("\n".join(windows) + "\n")
    if product is not None:
        (folder / "log.txt").write_text(product.log_text())
        (folder / "log-win32.txt").write_text(product.win32_log_text())
