"""The icons and the splash images: sizes, transparency, and room for what the program writes on them."""

from __future__ import annotations

import shutil
import subprocess
from functools import cache
from pathlib import Path

import pytest

from shipped import ROOT, STAGE, Picture, icon_images, locale_file, locales

ICON_SIZES = [16, 20, 24, 32, 40, 48, 64, 256]
FRAMES = sorted((STAGE / "Misc/Icons").glob("*.ico"))
PROGRAMS = [STAGE / "QxSessionAgent.exe", STAGE / "win32/QxMainConsole.exe"]
PLACES = {"splash.png": (0, 0), "productname_splash.png": (33, 60), "ic_vzlogo_splash.png": (377, 197)}
WIDTH, HEIGHT = 474, 238


@cache
def picture(locale: str, name: str) -> Picture:
    return Picture.read(locale_file(locale, name))


def icon_of(program: Path, folder: Path) -> bytes:
    made = folder / "program.ico"
    subprocess.run(["wrestool", "--extract", "--type=14", f"--output={made}", program], check=True)
    return made.read_bytes()


def check_sizes(content: bytes) -> None:
    images = icon_images(content)
    assert [image.size for image in images] == ICON_SIZES  # the smallest first: some take the first
    assert {image.bits for image in images} == {32}
    assert [image.size for image in images if image.is_compressed] == [256]


@pytest.mark.parametrize("frame", FRAMES, ids=lambda frame: frame.stem)
def test_a_frame_has_all_sizes(frame: Path) -> None:
    check_sizes(frame.read_bytes())


@pytest.mark.parametrize("program", PROGRAMS, ids=lambda program: program.stem)
def test_the_icon_of_a_program_has_all_sizes(program: Path, tmp_path: Path) -> None:
    check_sizes(icon_of(program, tmp_path))


@pytest.mark.parametrize("size", ICON_SIZES)
def test_no_two_frames_are_alike(size: int) -> None:
    drawn = [image.data for frame in FRAMES for image in icon_images(frame.read_bytes()) if image.size == size]
    assert len(drawn) == len(FRAMES) > 1
    assert len(set(drawn)) == len(drawn)


def bitmap_row(data: bytes, size: int, y: int) -> list[tuple[int, ...]]:
    """Blue, green, red and alpha of a row, which a bitmap holds from the bottom up."""
    start = 40 + (size - 1 - y) * size * 4
    return [tuple(data[start + x * 4 : start + x * 4 + 4]) for x in range(size)]


@pytest.mark.parametrize("size", [16, 20, 24, 32, 40, 48])
@pytest.mark.parametrize("program", PROGRAMS, ids=lambda program: program.stem)
def test_the_edges_of_an_icon_are_sharp(program: Path, size: int, tmp_path: Path) -> None:
    (data,) = (image.data for image in icon_images(icon_of(program, tmp_path)) if image.size == size)
    middle = [pixel[3] for pixel in bitmap_row(data, size, size // 2)]
    assert set(middle) <= {0, 255}  # no half pixel left and right
    orange = [
        pixel[:3] == (0x4D, 0xB8, 0xFF) for y in range(size) for pixel in bitmap_row(data, size, y)
    ]
    assert sum(orange) >= size * size * 0.05


@pytest.mark.parametrize("locale", locales())
def test_a_locale_has_all_images_and_they_fit_into_the_window(locale: str) -> None:
    for name, (x, y) in PLACES.items():
        image = picture(locale, name)
        assert x + image.width <= WIDTH and y + image.height <= HEIGHT
    base = picture(locale, "splash.png")
    assert (base.width, base.height) == (WIDTH, HEIGHT)


@pytest.mark.parametrize("name", PLACES)
@pytest.mark.parametrize("locale", locales())
def test_an_image_has_alpha_and_no_resolution_that_would_scale_it(locale: str, name: str) -> None:
    content = locale_file(locale, name).read_bytes()
    assert content.startswith(b"\x89PNG\r\n\x1a\n")
    assert content[24:26] == b"\x08\x06"  # eight bits, colour with alpha
    assert b"pHYs" not in content


@pytest.mark.parametrize("locale", locales())
def test_the_splash_has_sharp_sides_and_smooth_round_corners(locale: str) -> None:
    base = picture(locale, "splash.png")
    assert max(alpha for *_, alpha in base.border()) == 0
    side = [base.at(x, HEIGHT // 2)[3] for x in range(12)]
    assert side == sorted(side) and set(side) == {0, 255}
    corner = [base.at(x, y)[3] for x in range(3, 17) for y in range(2, 16)]
    assert [alpha for alpha in corner if 8 < alpha < 247]
    assert base.at(4, 3)[3] < 128 < base.at(20, 12)[3]


@pytest.mark.parametrize("locale", locales())
def test_the_copyright_line_stands_on_light_ground(locale: str) -> None:
    base = picture(locale, "splash.png")
    ground = [base.at(x, y) for y in range(210, 224) for x in range(12, 377)]
    assert min(min(pixel) for pixel in ground) >= 0xF0


def rendered(folder: Path, tagline: str) -> bytes:
    """The image of the name with that line below it."""
    drawings = folder / "drawings"
    shutil.copytree(ROOT / "product/splash", drawings, dirs_exist_ok=True)
    (drawings / "taglines.txt").write_text(f"xx-xx {tagline}\n", "utf-8")
    render = ROOT / "product/resources/render-splash.sh"
    subprocess.run([render, drawings, "xx-xx", folder], check=True)
    return (folder / "productname_splash.png").read_bytes()


def test_a_line_may_hold_any_character(tmp_path: Path) -> None:
    plain = rendered(tmp_path, "A B")
    for character in "&</\\":
        other = rendered(tmp_path, f"A {character} B")
        assert other not in (plain, rendered(tmp_path, f"A {character}{character} B"))
    assert rendered(tmp_path, "A & B") != rendered(tmp_path, "A @TAGLINE@ B")


@pytest.mark.parametrize("locale", locales())
def test_the_name_is_seen_and_its_line_is_the_locales_own(locale: str) -> None:
    name = picture(locale, "productname_splash.png")
    seen = [name.at(x, y)[3] for y in range(name.height) for x in range(name.width)]
    assert 0.05 < sum(alpha > 128 for alpha in seen) / len(seen) < 0.5
    others = [picture(other, "productname_splash.png").pixels for other in locales() if other != locale]
    assert name.pixels not in others
    upper = name.width * 45 * 4  # the product's name, which has no language
    assert all(name.pixels[:upper] == other[:upper] for other in others)


@pytest.mark.parametrize("locale", locales())
def test_no_writing_is_cut_off(locale: str) -> None:
    for name in ("productname_splash.png", "ic_vzlogo_splash.png"):
        image = picture(locale, name)
        assert all(image.at(image.width - 1, y)[3] == 0 for y in range(image.height))
        assert all(image.at(x, image.height - 1)[3] == 0 for x in range(image.width))
