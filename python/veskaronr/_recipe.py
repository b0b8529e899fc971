"""Recipes: settings in a JSON file, as docs/recipe.md describes it."""

from __future__ import annotations

import json
import os
from contextlib import nullcontext
from typing import Any, Callable, ContextManager, Protocol, Sequence, Union

_VERSION = 1


class _File(Protocol):
    """A file object of text or bytes."""

    def read(self) -> Any:
        ...

    def write(self, text: Any) -> Any:
        ...


RecipeFile = Union[str, "os.PathLike[str]", _File]


def write_recipe(settings: dict[str, Any], file: RecipeFile) -> None:
    text = json.dumps({"recipe": _VERSION, "settings": settings}, indent=2, allow_nan=False) + "\n"
    with _opened(file, "w", "write") as opened:
        try:
            opened.write(text)
        except TypeError:  # of bytes
            opened.write(text.encode())


def read_recipe(file: RecipeFile, names: Sequence[str]) -> dict[str, Any]:
    """The settings in a recipe, all of these and no others; their values are not looked at."""
    with _opened(file, "r", "read") as opened:
        recipe = _parsed(opened.read)
    if not isinstance(recipe, dict) or not isinstance(recipe.get("settings"), dict):
        raise ValueError("this is no recipe")
    version: Any = recipe.get("recipe")
    settings: dict[str, Any] = recipe["settings"]
    if type(version) is not int or version != _VERSION:
        raise ValueError(f"the recipe is of version {version!r:.60}; this module knows version {_VERSION}")
    unknown = (recipe.keys() - {"recipe", "settings"}) | (settings.keys() - set(names))
    if unknown:
        raise ValueError(f"the recipe has an unknown field {min(unknown)!r:.60}")
    missing = [name for name in names if name not in settings]
    if missing:
        raise ValueError(f"the recipe lacks {missing[0]}")
    return settings


def _opened(file: RecipeFile, mode: str, method: str) -> ContextManager[Any]:
    if isinstance(file, (str, os.PathLike)):
        return open(file, mode, encoding="utf-8")
    if not hasattr(file, method):
        raise TypeError(f"a recipe's file is a path or a file object, not {type(file).__name__}")
    return nullcontext(file)


def _parsed(read: Callable[[], Any]) -> Any:
    try:
        return json.loads(read(), object_pairs_hook=_once)
    except (ValueError, RecursionError) as failure:
        raise ValueError(f"this is no recipe: {failure}") from None


def _once(pairs: list[tuple[str, Any]]) -> dict[str, Any]:
    taken = dict(pairs)
    if len(taken) < len(pairs):
        raise ValueError("a field is there twice")
    return taken
