"""Extends another package when it is imported.

meshio and PyVista have no entry points for this, and importing them takes longer than importing
NumPy. So a program that does not use them does not import them.
"""

from __future__ import annotations

import importlib.util
import sys
from collections.abc import Callable, Sequence
from importlib.abc import MetaPathFinder
from importlib.machinery import ModuleSpec
from types import ModuleType
from typing import Any, Optional

_Extend = Callable[[Any], None]


def when_imported(name: str, extend: _Extend) -> None:
    """Call ``extend`` with the module now if it is imported, otherwise when it will be."""
    module = sys.modules.get(name)
    if module is not None:
        extend(module)
    elif not any(isinstance(finder, _Finder) and finder.name == name for finder in sys.meta_path):
        sys.meta_path.insert(0, _Finder(name, extend))


class _Finder(MetaPathFinder):
    """Finds the module as the other finders do, and lets its loader extend it."""

    def __init__(self, name: str, extend: _Extend) -> None:
        self.name = name
        self._extend = extend

    def find_spec(
        self,
        name: str,
        path: Optional[Sequence[str]],
        target: Optional[ModuleType] = None,
    ) -> Optional[ModuleSpec]:
        if name != self.name:
            return None
        sys.meta_path.remove(self)
        spec = importlib.util.find_spec(name)
        if spec is None or spec.loader is None:
            sys.meta_path.insert(0, self)
            return spec
        execute = spec.loader.exec_module

        def execute_and_extend(module: ModuleType) -> None:
            execute(module)
            self._extend(module)

        setattr(spec.loader, "exec_module", execute_and_extend)
        return spec
