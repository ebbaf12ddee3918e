"""The menu that the data files describe: what stands in it, and what each entry does on a click or key."""

from __future__ import annotations

from dataclasses import replace

import pytest

from desktop import wait_until
from product import LOG_EVERYTHING, ProductPath
from tray import MenuItem, Popup, Tray
from tray_data import (
    MENU_BASE,
    Expected,
    expected_menu,
    read_texts,
    write_locale,
    write_profile,
    write_texts,
)


def shown(items: list[MenuItem]) -> list[Expected]:
    return [
        Expected(i.depth, i.id, i.text, i.separator, i.checked, i.greyed, i.default, i.submenu) for i in items
    ]


def promised(tray: Tray, depth: int, locale: str = "en-us") -> list[Expected]:
    return [entry for entry in expected_menu(tray.product.root, locale) if entry.depth == depth]


def own_entries(menu: Popup) -> list[Expected]:
    """The entries that the popup itself shows: an entry deeper gets its state only when its menu opens."""
    return [entry for entry in shown(menu.items()) if entry.depth == 0]


def test_the_menu_shows_what_the_data_files_say(tray: Tray) -> None:
    tray.start()
    menu = tray.open_menu()
    assert own_entries(menu) == promised(tray, 0)
    assert [entry.text for entry in shown(menu.items())] == [
        entry.text for entry in expected_menu(tray.product.root)
    ]
    own = [entry for entry in own_entries(menu) if not entry.separator]
    assert any(entry.checked for entry in own) and any(entry.greyed for entry in own), "too few states"
    assert len([entry for entry in own if entry.default]) == 1


def test_the_submenu_shows_what_the_data_files_say(tray: Tray) -> None:
    tray.start()
    menu = tray.open_menu()
    menu.click(next(item.text.replace("&", "") for item in menu.items() if item.submenu))
    opened = own_entries(tray.wait_for_menu(2))
    assert [replace(entry, depth=1) for entry in opened] == promised(tray, 1)


LOCALES = ["de-de", "fr-fr", "es-es", "ja-jp", "zh-cn", "ar-sa"]


@pytest.mark.parametrize("locale", LOCALES)
def test_the_menu_speaks_the_language_of_the_locale(tray: Tray, locale: str) -> None:
    write_locale(tray.product.root, locale)
    tray.start()
    menu = tray.open_menu()
    assert own_entries(menu) == promised(tray, 0, locale)
    assert own_entries(menu) != promised(tray, 0, "en-us")


# What the entries of the shipped menu do.

CONSOLES = [
    (("openConsole",), ""),
    (("protectionOn",), ""),
    (("show", "showMonitor"), "-m 100"),
    (("show", "showGameConsole"), "-m 200"),
]


def texts_of(tray: Tray, *names: str) -> list[str]:
    menus = read_texts(tray.product.root)["Menus"]
    return [menus[name].replace("&", "") for name in names]


@pytest.mark.parametrize("names, arguments", CONSOLES, ids=[row[0][-1] for row in CONSOLES])
def test_an_entry_opens_its_console(tray: Tray, names: tuple[str, ...], arguments: str) -> None:
    tray.start()
    tray.choose(*texts_of(tray, *names))
    tray.desktop.wait_for_consoles(1)
    assert tray.product.console_arguments() == [arguments]


def test_the_scan_entry_lets_the_icon_run_through_its_frames(
    tray: Tray, product_path: ProductPath
) -> None:
    product_path.set(tray.product.windows_root)
    tray.start()
    idle = tray.pixels()
    tray.choose(*texts_of(tray, "startScan"))
    frames = tray.scanning_pictures()
    assert len(set(frames)) == len(frames) > 2
    assert idle not in frames
    seen: list[bytes] = []

    def turn_is_complete() -> bool:
        pixels = tray.pixels()
        if not seen or pixels != seen[-1]:
            seen.append(pixels)
        return len(seen) > len(frames) + 1

    wait_until(turn_is_complete, "a turn of the animation")
    numbers = [frames.index(pixels) for pixels in seen if pixels != idle]
    assert idle not in seen[1:]
    assert all(after == (before + 1) % len(frames) for before, after in zip(numbers, numbers[1:]))
    assert not tray.product.log_lines("Change tray icon failed...")


def test_a_scan_without_its_frames_leaves_the_icon_as_it_was(tray: Tray) -> None:
    tray.start()
    idle = tray.pixels()
    tray.choose(*texts_of(tray, "startScan"))
    tray.product.wait_for_log(": [ERROR] Change tray icon failed...")
    assert tray.product.log_lines(": [ERROR] Load Image failed...")
    assert tray.pixels() == idle


def test_a_greyed_entry_does_nothing(tray: Tray) -> None:
    tray.start()
    menu = tray.open_menu()
    (text,) = texts_of(tray, "managed")
    assert menu.item(text).greyed
    menu.click(text)
    tray.desktop.press("Escape")
    tray.wait_until_closed()
    assert tray.product.opened_nothing()


# Another profile than the shipped one.

UNKNOWN = '<a id="1" name="one" type="string" function_id="77"/><b id="2" name="two" type="string"/>'
CONSOLE = '<c id="9" name="three" type="string" function_id="1"/>'


def test_an_entry_of_unknown_function_does_nothing(tray: Tray) -> None:
    write_profile(tray.product.root, UNKNOWN + CONSOLE)
    write_texts(tray.product.root, one="One", two="Two", three="Three")
    process = tray.start()
    tray.choose("One")
    tray.choose("Two")
    tray.choose("Three")  # proof that the clicks arrive
    tray.desktop.wait_for_consoles(1)
    assert process.running
    assert len(tray.product.log_lines("Show QX UI.")) == 1


def test_bad_entries_are_left_out_and_the_others_stand(tray: Tray) -> None:
    write_profile(tray.product.root, '<a id="1" name="one" type="button"/><b name="two"/>' + CONSOLE)
    write_texts(tray.product.root, three="")
    tray.start()
    menu = tray.open_menu()
    assert own_entries(menu) == [Expected(0, MENU_BASE + 9, "")]
    assert len(tray.product.log_lines("Unknown tray menu item...")) == 2


def test_states_are_what_their_words_mean_and_not_what_they_seem(tray: Tray) -> None:
    words = ["", "0", "1", "true", "no"]
    items = [
        f'<i id="{n}" name="n{n}" type="STRING" enabled="{a}" checked="{b}"/>'
        for n, (a, b) in enumerate(((a, b) for a in words for b in words), start=1)
    ]
    write_profile(tray.product.root, "".join(items))
    tray.start()
    seen = own_entries(tray.open_menu())
    assert [(e.greyed, e.checked) for e in seen] == [
        (a not in ("", "1"), b not in ("", "0")) for a in words for b in words
    ]


def test_ten_thousand_entries_open(tray: Tray) -> None:
    items = "".join(f'<i id="{n}" name="n" type="string"/>' for n in range(1, 10001))
    write_profile(tray.product.root, items)
    write_texts(tray.product.root, n="Entry")
    tray.product.write_log_settings(level=LOG_EVERYTHING & ~0x100)  # not three lines for each entry
    tray.start()
    assert len(tray.open_menu().items()) == 10000


def test_a_menu_may_be_nested_deep(tray: Tray) -> None:
    depth = 100
    opening = "".join(f'<m name="n{n}" type="string">' for n in range(depth))
    write_profile(tray.product.root, opening + CONSOLE + "</m>" * depth)
    tray.start()
    items = tray.open_menu().items()
    assert [item.depth for item in items] == list(range(depth + 1))
    assert items[-1].id == MENU_BASE + 9


def test_a_profile_of_ten_megabytes_is_read(tray: Tray) -> None:
    write_profile(tray.product.root, CONSOLE, "<!--" + "x" * 10_000_000 + "-->")
    tray.start()
    assert len(tray.open_menu().items()) == 1


# The keys.


def test_the_arrow_keys_walk_the_menu_and_return_runs_the_entry(tray: Tray) -> None:
    tray.start()
    menu = tray.open_menu()
    tray.rest_keys_on_menu(menu)
    tray.desktop.press("Down", "Down")
    wait_until(lambda: menu.selected() == texts_of(tray, "startScan")[0], "the second entry")
    tray.desktop.press("Up")
    wait_until(lambda: menu.selected() == texts_of(tray, "openConsole")[0], "the first entry")
    tray.desktop.press("Up")
    wait_until(lambda: menu.selected() == texts_of(tray, "exit")[0], "the last entry")
    tray.desktop.press("Down", "Return")
    tray.desktop.wait_for_consoles(1)
    assert tray.product.console_arguments() == [""]


def test_the_right_key_opens_the_submenu_and_the_left_key_closes_it(tray: Tray) -> None:
    tray.start()
    menu = tray.open_menu()
    tray.rest_keys_on_menu(menu)
    tray.desktop.press("Down", "Down", "Down", "Right")
    inner = tray.wait_for_menu(2)
    assert inner.selected() == texts_of(tray, "showMonitor")[0]
    tray.desktop.press("Left")
    tray.wait_for_menu(1)
    tray.desktop.press("Right")
    tray.wait_for_menu(2)
    tray.desktop.press("Down", "Return")
    tray.desktop.wait_for_consoles(1)
    assert tray.product.console_arguments() == ["-m 200"]


def test_escape_closes_the_menu_and_nothing_happens(tray: Tray) -> None:
    process = tray.start()
    menu = tray.open_menu()
    tray.rest_keys_on_menu(menu)
    tray.desktop.press("Down", "Escape")
    tray.wait_until_closed()
    assert tray.product.opened_nothing()
    assert process.running


def test_the_access_keys_run_their_entries(tray: Tray) -> None:
    tray.start()
    menu = tray.open_menu()
    tray.rest_keys_on_menu(menu)
    tray.desktop.press("h")  # "S&how"
    tray.wait_for_menu(2)
    tray.desktop.press("g")  # "&Game Console"
    tray.desktop.wait_for_consoles(1)
    assert tray.product.console_arguments() == ["-m 200"]


def test_return_on_a_greyed_entry_does_nothing(tray: Tray) -> None:
    write_profile(tray.product.root, '<a id="1" name="one" type="string" enabled="0" function_id="1"/>')
    write_texts(tray.product.root, one="One")
    tray.start()
    menu = tray.open_menu()
    tray.rest_keys_on_menu(menu)
    tray.desktop.press("Down", "Return", "Escape")
    tray.wait_until_closed()
    assert tray.product.opened_nothing()
