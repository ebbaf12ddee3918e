"""The examples in docs/product-data.md, as a product team would take them from there."""

from __future__ import annotations

import json
import re
from pathlib import Path
from typing import Any

import jsonschema
import pytest
from lxml import etree

_ROOT = Path(__file__).resolve().parents[2]
_DOCUMENT = (_ROOT / "docs/product-data.md").read_text("utf-8")
_SCHEMAS = _ROOT / "product/schemas"

# The member that tells which file an example is of.
_SCHEMA_OF = {"startMode": "QxSessionAgentCfg", "localMapping": "localeInfo", "Menus": "UiDeskTrayString"}


def examples(language: str, document: str = _DOCUMENT) -> list[str]:
    return re.findall(rf"^```{language}\n(.*?)^```$", document, re.DOTALL | re.MULTILINE)


def schema_of(content: dict[str, Any]) -> Any:
    (name,) = (name for member, name in _SCHEMA_OF.items() if member in content)
    return json.loads((_SCHEMAS / f"{name}.schema.json").read_text("utf-8"))


@pytest.mark.parametrize("text", examples("xml"))
def test_a_profile_is_valid(text: str) -> None:
    schema = etree.XMLSchema(etree.parse(_SCHEMAS / "UiDeskTrayProfile.xsd"))
    schema.assertValid(etree.fromstring(text.encode()))


@pytest.mark.parametrize("text", examples("json"))
def test_a_json_file_is_valid(text: str) -> None:
    content = json.loads(text)
    jsonschema.validate(content, schema_of(content))


def test_each_format_has_an_example() -> None:
    shown = {member for text in examples("json") for member in json.loads(text)}
    assert set(_SCHEMA_OF) <= shown
    assert examples("xml")


def test_the_texts_of_an_example_are_those_that_its_profile_names() -> None:
    profiles = [etree.fromstring(text.encode()) for text in examples("xml")]
    tables = [json.loads(text) for text in examples("json") if "Menus" in json.loads(text)]
    assert len(profiles) == len(tables) == 2
    for profile, texts in zip(profiles, tables):
        for section in ("Menus", "Tooltips", "MsgBoxes"):
            found = profile.find(section)
            names = set() if found is None else {entry.get("name") for entry in found.iter() if entry.get("name")}
            assert set(texts[section]) == names
