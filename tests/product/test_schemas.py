"""The schemas accept what is shipped, and refuse what would be read as something else than it looks."""

from __future__ import annotations

import copy
from collections.abc import Callable
from pathlib import Path
from typing import Any

import jsonschema
import pytest
from lxml import etree

from shipped import LANGUAGES, PROFILE, SOURCES, START_MODES, TEXTS, locale_file, locales, read_json

PROFILE_SCHEMA = etree.XMLSchema(etree.parse(SOURCES / "schemas/UiDeskTrayProfile.xsd"))
JSON_SCHEMAS = {
    name: read_json(SOURCES / f"schemas/{name}.schema.json")
    for name in ("QxSessionAgentCfg", "localeInfo", "UiDeskTrayString")
}
JSON_FILES = [START_MODES, LANGUAGES, *(locale_file(locale, TEXTS) for locale in locales())]


def complaints(file: Path, content: Any) -> list[str]:
    validator = jsonschema.Draft202012Validator(JSON_SCHEMAS[file.stem])
    return [error.message for error in validator.iter_errors(content)]


def test_the_profile_is_valid() -> None:
    PROFILE_SCHEMA.assertValid(etree.parse(PROFILE))


@pytest.mark.parametrize("file", JSON_FILES, ids=lambda file: f"{file.parent.name}-{file.stem}")
def test_a_json_file_is_valid(file: Path) -> None:
    assert complaints(file, read_json(file)) == []


@pytest.mark.parametrize("name", JSON_SCHEMAS)
def test_a_json_schema_is_one(name: str) -> None:
    jsonschema.Draft202012Validator.check_schema(JSON_SCHEMAS[name])


CONSOLE = '<Item id="1" function_id="1" name="openConsole" type="string" font="bold"/>'


@pytest.mark.parametrize(
    ("old", "new"),
    [
        ('id="1" function_id="1"', 'id="08" function_id="1"'),  # octal, so 0
        ('id="1" function_id="1"', 'id="0" function_id="1"'),  # greyed
        ('id="1" function_id="1"', 'id="0x" function_id="1"'),
        ('id="1" function_id="1"', 'id="one" function_id="1"'),
        ('id="1" function_id="1"', 'function_id="1"'),
        ('id="1" function_id="1"', 'id="2" function_id="1"'),  # stands twice
        ('id="1" function_id="1"', 'id="1" function_id="1 2"'),
        ('id="1" function_id="1"', 'id="1" function-id="1"'),
        ('enabled="0"', 'enabled="false"'),
        ('enabled="0"', 'enabled=""'),
        ('checked="1"', 'checked="no"'),
        ('font="bold"', 'font="italic"'),
        ('<Separator type="separator"/>', "<Separator/>"),  # an entry of no type does not appear
        ('<Separator type="separator"/>', '<Separator type="seperator"/>'),
        ('<Separator type="separator"/>', '<Separator type="separator">text</Separator>'),
        ('<Menu name="show" type="string">', '<Menu id="9" name="show" type="string">'),
        (CONSOLE, CONSOLE.replace("/>", ">text</Item>")),
        (CONSOLE, CONSOLE.replace(' name="openConsole"', "")),
        (CONSOLE, CONSOLE.replace("openConsole", "")),
        ('<Tooltip id="2"', '<Tooltip id="1"'),
        ('<Tooltip id="2"', '<ToolTip id="2"'),
        ('<MsgBox id="2"', '<MsgBox id="1"'),
        ('path="Misc\\Icons"', 'path="Misc/Icons"'),
        ('path="Misc\\Icons"', 'path="Misc\\Icons\\"'),
        (' count="-33081"', ""),
        ('count="-33081"', 'count="8"'),  # the program looks for 33097 frames
        ('count="-33081"', 'count="0"'),
        ('count="-33081"', 'count="-33089"'),
        ('count="-33081"', 'count="-1"'),
        ('id="7"', 'id="99999"'),
        ('id="7"', 'id="-1"'),
        ('id="7"', 'id="0"'),
        ('id="7"', 'id="08"'),
        ('id="7"', 'id="9999999999"'),
        ('id="7"', 'id="077777777777"'),
        ('function_id="2"', 'function_id="9"'),
        ('<Tooltip id="2"', '<Tooltip id="0"'),
        ("Icons>", "icons>"),  # a section that is not read
        ("<MsgBoxes>", '<MsgBoxes/><MsgBoxes>'),
        ("UiDeskTrayProfile>", "Profile>"),
    ],
)
def test_the_profile_schema_refuses(old: str, new: str) -> None:
    text = PROFILE.read_text("utf-8")
    assert old in text
    wrong = etree.fromstring(text.replace(old, new).encode())
    assert not PROFILE_SCHEMA.validate(wrong)


@pytest.mark.parametrize("spelling", ["16", "0x10", "020", "+16", "0X10"])
def test_the_profile_schema_accepts_each_spelling_of_a_number(spelling: str) -> None:
    text = PROFILE.read_text("utf-8").replace('id="1" function_id="1"', f'id="{spelling}" function_id="1"')
    PROFILE_SCHEMA.assertValid(etree.fromstring(text.encode()))


@pytest.mark.parametrize("frames", [1, 2, 9, 10, 89, 90, 99])
def test_the_profile_schema_accepts_any_reasonable_number_of_frames(frames: int) -> None:
    text = PROFILE.read_text("utf-8").replace("-33081", str(frames - 33089))
    PROFILE_SCHEMA.assertValid(etree.fromstring(text.encode()))


@pytest.mark.parametrize("section", ["Menus", "Tooltips", "Icons"])
def test_the_profile_schema_refuses_a_profile_without(section: str) -> None:
    root = etree.parse(PROFILE).getroot()
    root.remove(root.find(section))
    assert not PROFILE_SCHEMA.validate(root)


def test_the_profile_schema_refuses_a_menu_without_items() -> None:
    root = etree.parse(PROFILE).getroot()
    for item in list(root.find("Menus")):
        root.find("Menus").remove(item)
    assert not PROFILE_SCHEMA.validate(root)


def first_item(content: Any) -> Any:
    return next(iter(content["startMode"].values()))


ENGLISH = locale_file("en-us", TEXTS)


@pytest.mark.parametrize(
    ("file", "spoil"),
    [
        (START_MODES, lambda content: content.clear()),
        (START_MODES, lambda content: first_item(content).pop("modeId")),
        (START_MODES, lambda content: first_item(content).update(modeId=1)),
        (START_MODES, lambda content: first_item(content).update(modeId=[])),
        (START_MODES, lambda content: first_item(content).update(modeId=[2, 2])),
        (START_MODES, lambda content: first_item(content).update(modeId=["x"])),
        (START_MODES, lambda content: first_item(content).update(modeId=[-1])),
        (START_MODES, lambda content: first_item(content).update(sequence="7")),
        (START_MODES, lambda content: first_item(content).update(startFunc="ShowQxUI")),
        (START_MODES, lambda content: first_item(content).update(startArg="-m 100")),
        (LANGUAGES, lambda content: content.pop("defaultLocal")),
        (LANGUAGES, lambda content: content.update(localMapping=[])),
        (LANGUAGES, lambda content: content.update(defaultLocale="en-us")),
        (LANGUAGES, lambda content: content["localMapping"][0].update(lcid="1033")),
        (LANGUAGES, lambda content: content["localMapping"][0].pop("localeName")),
        (LANGUAGES, lambda content: content["localMapping"][0].update(localeName="..\\en-us")),
        (ENGLISH, lambda content: content.pop("Splash")),
        (ENGLISH, lambda content: content["Splash"].update(CopyRight="")),
        (ENGLISH, lambda content: content["Splash"].update(CopyRight="c" * 100)),
        (ENGLISH, lambda content: content["Splash"].update(CopyRight="two\nlines")),
        (ENGLISH, lambda content: content["Tooltips"].update(idle="t" * 128)),
        (ENGLISH, lambda content: content["Menus"].update(exit="")),
        (ENGLISH, lambda content: content["Menus"].update(exit=None)),
        (ENGLISH, lambda content: content.update(Menu={})),
    ],
)
def test_a_json_schema_refuses(file: Path, spoil: Callable[[Any], Any]) -> None:
    content = copy.deepcopy(read_json(file))
    spoil(content)
    assert complaints(file, content)
