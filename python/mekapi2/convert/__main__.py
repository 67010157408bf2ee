"""The command ``python3 -m mekapi2.convert``."""

from __future__ import annotations

import argparse
import sys
from typing import Optional

from rich.console import Console
from rich.progress import Progress

from ..errors import Error
from . import ConversionError, Summary, convert

_program = "mekapi2.convert"


def _parse(arguments: Optional[list[str]]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog=f"python3 -m {_program}",
        description="Convert a mesh file of any format that meshio reads to a .mek file.",
    )
    parser.add_argument("input", metavar="INPUT", help="mesh file, time series or collection")
    parser.add_argument(
        "output", metavar="OUTPUT.mek", nargs="?", help="default: INPUT with the suffix .mek"
    )
    parser.add_argument("--overwrite", action="store_true", help="replace an existing output")
    parser.add_argument(
        "--format", metavar="NAME", help="input format by meshio's name (default: by suffix)"
    )
    return parser.parse_args(arguments)


def _convert(arguments: argparse.Namespace) -> Summary:
    """Convert, with a progress bar on standard error if that is a terminal."""
    options = {"overwrite": arguments.overwrite, "file_format": arguments.format}
    console = Console(stderr=True)
    if not console.is_terminal:
        return convert(arguments.input, arguments.output, **options)
    with Progress(console=console, transient=True) as bar:
        task = bar.add_task("converting", total=None)

        def update(done: int, total: int) -> None:
            bar.update(task, completed=done, total=total)

        return convert(arguments.input, arguments.output, progress=update, **options)


def _print_summary(summary: Summary) -> None:
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
    """Run the command.

    Parameters
    ----------
    arguments : list of str, optional
        By default those of the process.

    Returns
    -------
    int
        Exit code: 0, 1 after an error, which is printed, or 130 after an interrupt.

    Raises
    ------
    SystemExit
        With 2 for invalid arguments, with 0 after ``--help``.
    """
    parsed = _parse(arguments)
    try:
        _print_summary(_convert(parsed))
    except (ConversionError, Error, OSError, MemoryError) as error:
        path = getattr(error, "filename", None) or parsed.input
        print(f"{_program}: {path}: {error or type(error).__name__}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
