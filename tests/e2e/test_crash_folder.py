"""Where the dumps of the agent go and which of them stay; and a watchdog's event that is absent or somebody
else's."""

from __future__ import annotations

import os
import time
from collections.abc import Iterator
from pathlib import Path

import pytest

from crash import END_LIMIT, CrashScene, WatchdogSignal, remove
from desktop import Process
from product import Product

LIMIT = {"subkey": "SOFTWARE\\NorvaneSoft\\Melvio", "name": "DumpNumberLimit"}
NO_FOLDER = ": [ERROR] Create Directory failed...Error:3 - "
ELSEWHERE = ": [WARN] The dump folder leads elsewhere, nothing is deleted: "
GENERATION = (": [INFO] Crash dump generation succeed", ": [ERROR] Crash dump generation failed")
FULL = Path("/dev/full")
PROMPT = 10.0  # seconds for an end without a dump


@pytest.fixture
def scene(product: Product) -> Iterator[CrashScene]:
    scene = CrashScene(product)
    yield scene
    product.desktop.probe.ask("setRegistry", **LIMIT)
    remove(scene.folder)
    remove(scene.folder.parent)
    scene.folder.parent.mkdir()


def start(scene: CrashScene) -> Process:
    agent = scene.product.start_running("2")
    scene.host.wait_for_event(agent.number, 18)
    return agent


def crash(scene: CrashScene, agent: Process, limit: float = END_LIMIT) -> int:
    scene.inject(agent)
    return agent.wait(limit)


def fill(folder: Path, count: int) -> list[Path]:
    """Dumps of the last minutes, the oldest first."""
    folder.mkdir(parents=True, exist_ok=True)
    files = [folder / f"Melvio20260101_0000{number:02}Full.dmp" for number in range(count)]
    for age, file in enumerate(reversed(files), start=1):
        file.write_text("a dump")
        os.utime(file, (time.time() - 60 * age,) * 2)
    return files


def no_new_files() -> Path:
    """A folder of the system in which not even an administrator makes files."""
    for folder in (Path("/sys/kernel"), Path("/sys"), Path("/proc/self"), Path("/proc")):
        try:
            (folder / "qx-new-file").touch()
        except OSError:
            if folder.is_dir():
                return folder
        else:
            (folder / "qx-new-file").unlink()
    pytest.skip("the machine has no folder that takes no files")


def fill_disk(folder: Path, seconds: int) -> set[str]:
    """Whatever dump is begun within that time gets no byte to the disk. The names of those dumps."""
    now = time.time()
    names = [time.strftime("Melvio%Y%m%d_%H%M%SFull.dmp", time.localtime(now + s)) for s in range(seconds)]
    for name in names:
        (folder / name).symlink_to(FULL)
    return set(names)


def test_without_the_products_data_folder_the_agent_runs_unguarded(scene: CrashScene) -> None:
    remove(scene.folder.parent)
    agent = start(scene)
    (line,) = scene.product.log_lines("Create Directory failed", agent)
    assert NO_FOLDER in line
    signal = WatchdogSignal(scene.product)
    assert crash(scene, agent) != 0
    assert not signal.is_set()
    signal.close()
    assert not scene.folder.parent.exists()
    assert scene.channel_lines("Event", agent) == [] and scene.main_log(agent) == []


def test_a_file_in_the_place_of_the_folder_costs_the_dump_alone(scene: CrashScene) -> None:
    scene.folder.write_text("mine")
    agent = start(scene)
    signal = WatchdogSignal(scene.product)
    assert crash(scene, agent, PROMPT) == 1
    assert signal.is_set()
    signal.close()
    assert scene.folder.read_text() == "mine"
    texts = [entry.text for entry in scene.main_log(agent)]
    assert texts[0] == ": [ERROR]  [Crash] start to write dump by Crash Handler request."
    assert texts[1].startswith(f": [ERROR] failed to create dump file at path: {scene.windows_folder}\\Melvio")
    assert "GetLastError() = " in texts[1]
    assert texts[-1] == ": [INFO] Set crash event..."


def test_a_folder_that_takes_no_files_costs_the_dump_alone(scene: CrashScene) -> None:
    scene.folder.symlink_to(no_new_files(), target_is_directory=True)
    agent = start(scene)
    signal = WatchdogSignal(scene.product)
    assert crash(scene, agent, PROMPT) == 1
    assert signal.is_set()
    signal.close()
    texts = [entry.text for entry in scene.main_log(agent)]
    (failure,) = [text for text in texts if "failed to create dump file at path: " in text]
    path, error = failure.split("GetLastError() = ")
    assert path.startswith(f": [ERROR] failed to create dump file at path: {scene.windows_folder}\\Melvio")
    assert int(error) != 0
    assert texts[-1] == ": [INFO] Set crash event..."


@pytest.mark.skipif(not FULL.is_char_device(), reason="the machine has no device that is always full")
def test_a_full_disk_costs_the_dump_alone(scene: CrashScene) -> None:
    agent = start(scene)
    signal = WatchdogSignal(scene.product)
    links = fill_disk(scene.folder, seconds=300)
    assert crash(scene, agent, 2 * END_LIMIT) == 1
    assert signal.is_set()
    signal.close()
    texts = [entry.text for entry in scene.main_log(agent)]
    # Which of the two it is, the system's writer decides: some do not look at what becomes of their bytes.
    (told,) = [text for text in texts if text.startswith(GENERATION)]
    path = told.split(" at path: ")[1]
    assert path.removeprefix(f"{scene.windows_folder}\\") in links
    assert texts[-1] == ": [INFO] Set crash event..."
    # A disk that has room again, and what such a failure leaves.
    for link in links:
        (scene.folder / link).unlink()
    left = scene.folder / path.split("\\")[-1]
    left.touch()
    start(scene)
    assert not left.exists()


def test_a_folder_that_vanishes_is_made_again(scene: CrashScene) -> None:
    agent = start(scene)
    remove(scene.folder.parent)
    assert crash(scene, agent) == 1
    scene.the_dump()
    assert "Set crash event" not in scene.product.log_text(), "there is no watchdog"


def test_nothing_is_deleted_behind_a_link(scene: CrashScene, tmp_path: Path) -> None:
    files = fill(tmp_path / "elsewhere", 6)
    (tmp_path / "elsewhere/empty.txt").touch()
    scene.folder.symlink_to(tmp_path / "elsewhere", target_is_directory=True)
    agent = start(scene)
    (line,) = scene.product.log_lines("The dump folder leads elsewhere", agent)
    assert f"{ELSEWHERE}{scene.windows_folder} - " in line
    assert all(file.exists() for file in files)
    assert (tmp_path / "elsewhere/empty.txt").exists()


@pytest.mark.parametrize(("limit", "left"), [(None, 3), (2, 2), (0, 5)])
def test_the_start_keeps_the_newest_dumps(scene: CrashScene, limit: int | None, left: int) -> None:
    if limit is not None:
        scene.product.desktop.probe.request("setRegistry", number=limit, **LIMIT)
    files = fill(scene.folder, 5)
    start(scene)
    assert scene.product.dumps() == files[-left:]


def test_the_folder_holds_one_dump_more_until_the_next_start(scene: CrashScene) -> None:
    files = fill(scene.folder, 3)
    assert crash(scene, start(scene)) == 1
    dumps = scene.product.dumps()
    assert len(dumps) == 4 and dumps[:3] == files
    start(scene)
    assert scene.product.dumps() == dumps[1:]


@pytest.mark.parametrize("kind", ["mutex", "semaphore", "timer", "section"])
def test_another_kind_of_object_under_the_events_name_changes_nothing(scene: CrashScene, kind: str) -> None:
    signal = WatchdogSignal(scene.product, kind)
    scene.forbid_dumps()
    assert crash(scene, start(scene), PROMPT) == 1
    signal.close()
    assert "Set crash event" not in scene.product.log_text()


def test_an_event_that_nobody_may_signal_changes_nothing(scene: CrashScene) -> None:
    signal = WatchdogSignal(scene.product, no_rights=True)
    scene.forbid_dumps()
    assert crash(scene, start(scene), PROMPT) == 1
    signal.close()
    assert "Set crash event" not in scene.product.log_text()


def test_a_strangers_event_is_signalled_like_the_watchdogs(scene: CrashScene) -> None:
    signal = WatchdogSignal(scene.product)
    scene.forbid_dumps()
    assert crash(scene, start(scene), PROMPT) == 1
    assert signal.is_set()
    signal.close()
