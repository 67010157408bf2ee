"""The command ``python -m mekapi2.convert``."""

from __future__ import annotations

import argparse
import sys
from collections.abc import Callable
from typing import Optional

from rich.console import Console
from rich.progress import Progress

from ..errors import Error
from . import ConversionError, Summary, convert

_program = "mekapi2.convert"


def _parse(arguments: Optional[list[str]]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog=f"python -m {_program}",
        description="Convert a mesh file of any format that meshio reads.",
    )
    parser.add_argument("input", metavar="INPUT")
    parser.add_argument("output", metavar="OUTPUT.mek", nargs="?", help="default: INPUT with .mek")
    parser.add_argument("--overwrite", action="store_true", help="replace an output that exists")
    parser.add_argument("--format", metavar="NAME", help="meshio's name of the input's format")
    return parser.parse_args(arguments)


def _convert(arguments: argparse.Namespace) -> Summary:
    console = Console(stderr=True)
    if not console.is_terminal:
        return _job(arguments, None)
    with Progress(console=console, transient=True) as bar:
        task = bar.add_task("converting", total=None)
        return _job(
            arguments, lambda done, total: bar.update(task, completed=done, total=total)
        )


def _job(
    arguments: argparse.Namespace, progress: Optional[Callable[[int, int], None]]
) -> Summary:
    return convert(
        arguments.input,
        arguments.output,
        overwrite=arguments.overwrite,
        file_format=arguments.format,
        progress=progress,
    )


def _tell(summary: Summary) -> None:
    counts = summary.counts
    for warning in dict.fromkeys(counts.warnings):
        print(f"{_program}: warning: {warning}", file=sys.stderr)
    rounded = f", {counts.rounded} arrays rounded to 32 bits" if counts.rounded else ""
    print(
        f"{summary.output}: {counts.nodes} nodes, {counts.elements} elements, "
        f"{counts.shapes} shapes, {counts.results} results, {counts.steps} steps{rounded}, "
        f"{summary.bytes_in} bytes in, {summary.bytes_out} bytes out"
    )


def main(arguments: Optional[list[str]] = None) -> int:
    parsed = _parse(arguments)
    try:
        _tell(_convert(parsed))
    except (ConversionError, Error, OSError, MemoryError) as error:
        about = getattr(error, "filename", None) or parsed.input
        print(f"{_program}: {about}: {error or type(error).__name__}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
