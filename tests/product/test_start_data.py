"""What the agent does for each start mode, the languages, and where the programs lie."""

from __future__ import annotations

from shipped import LANGUAGES, STAGE, START_MODES, locale_file, locales, read_json, TEXTS, without_comments


def test_a_comment_is_taken_out_and_a_string_that_looks_like_one_is_not() -> None:
    assert without_comments('{"a//b": "/* c */"} // d').rstrip() == '{"a//b": "/* c */"}'
    assert without_comments('[1, /* 2,\n */ 3]') == "[1,   3]"
    assert without_comments(r'["\"// e"]') == r'["\"// e"]'


def test_no_two_items_of_a_mode_share_a_sequence() -> None:
    places = [
        (mode, item["sequence"]) for item in read_json(START_MODES)["startMode"].values() for mode in item["modeId"]
    ]
    assert len(set(places)) == len(places)


def test_the_default_start_opens_nothing() -> None:
    items = read_json(START_MODES)["startMode"].values()
    assert not [item for item in items if 5 in item["modeId"]]


def test_each_language_has_one_locale_and_the_default_is_one_of_them() -> None:
    info = read_json(LANGUAGES)
    numbers = [entry["lcid"] for entry in info["localMapping"]]
    assert len(set(numbers)) == len(numbers)
    assert info["defaultLocal"] in locales()


def test_each_locale_has_its_folder_and_each_folder_its_locale() -> None:
    assert {folder.name for folder in (STAGE / "Misc/Resource").iterdir()} == set(locales())
    assert all(locale_file(locale, TEXTS).is_file() for locale in locales())


def test_programs_and_libraries_lie_where_they_belong() -> None:
    expected = {"VzDbgLog.dll", "libexpat.dll", "vzdbg.ini"}
    expected |= {f"QxSessionAgent{suffix}.exe" for suffix in ("", "_M", "_B")}
    expected |= {f"win32/QxMainConsole{suffix}.exe" for suffix in ("", "_M", "_B")}
    expected |= {"win32/VzDbgLog.dll", "win32/vzdbg.ini"}  # a program finds its log beside itself
    assert {name for name in expected if not (STAGE / name).is_file()} == set()
