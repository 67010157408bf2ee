"""The command ``mekapi2-convert``, also ``python3 -m mekapi2.convert``."""

from __future__ import annotations

import argparse
import contextlib
import os
import re
import signal
import sys
import threading
from collections.abc import Iterator
from types import FrameType
from typing import IO, Any, NoReturn, Optional

from .. import _core
from ..errors import Error
from . import ConversionError, Summary, convert

_program = "mekapi2-convert"
_notes = f"""\
exit codes:
  0  the file is converted; one line on standard output gives its numbers
  1  the input is invalid, or the output cannot be written
  2  the arguments are invalid

examples:
  {_program} part.msh                      writes part.mek
  {_program} part.msh out.mek --overwrite  replaces out.mek
  {_program} part.mek part.vtu             writes the last step of a model
"""


class _Parser(argparse.ArgumentParser):
    """Reports errors in one line, and raises `OSError` if the help cannot be written."""

    def error(self, message: str) -> NoReturn:
        invalid = re.match(r"argument (?:-\w/)?(\S+): (ignored|expected)", message)
        if invalid:  # the words of the other programs
            problem = "takes no value" if invalid[2] == "ignored" else "needs a value"
            message = f"{invalid[1]} {problem}"
        _report(f"{message}; see {self.prog} --help")
        raise SystemExit(2)

    def format_help(self) -> str:
        """Begin with the word that help2man recognises."""
        return super().format_help().replace("usage: ", "Usage: ", 1)

    def print_help(self, file: Optional[IO[str]] = None) -> None:
        _print(self.format_help())


class _Version(argparse.Action):
    def __call__(self, parser: argparse.ArgumentParser, *_: Any) -> None:
        _print(f"{_program} {_core.version}\n")
        parser.exit()


class _Killed(BaseException):
    """A signal that ends the process after unfinished files are removed."""


def _parse(arguments: Optional[list[str]]) -> argparse.Namespace:
    parser = _Parser(
        prog=_program,
        usage="%(prog)s [OPTION]... INPUT [OUTPUT]",
        description="Convert a mesh file of any format that meshio reads to a .mek file,\n"
        "or a .mek file to a format that meshio writes.",
        epilog=_notes,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        allow_abbrev=False,
    )
    parser.add_argument("input", metavar="INPUT", help="mesh file, time series or collection")
    parser.add_argument(
        "output", metavar="OUTPUT", nargs="?", help="default: INPUT with the suffix .mek"
    )
    parser.add_argument(
        "--overwrite", action="store_true", help="replace OUTPUT if it exists"
    )
    parser.add_argument(
        "--format",
        metavar="NAME",
        help="format of the mesh file by meshio's name (default: by suffix)",
    )
    parser.add_argument(
        "--keep-blocks",
        action="store_true",
        help="one shape for each cell block of meshio, such as each entity of Gmsh, "
        "instead of one for each region and element type",
    )
    parser.add_argument(
        "--step",
        metavar="NAME",
        help="step of a .mek file to write (default: the last one; all steps for XDMF)",
    )
    parser.add_argument("-V", "--version", action=_Version, nargs=0, help="show the version")
    arguments = sys.argv[1:] if arguments is None else arguments
    if "" in arguments or "--format=" in arguments or "--step=" in arguments:
        parser.error("an argument is empty")
    parsed, unexpected = parser.parse_known_intermixed_args(arguments)
    for argument in unexpected:
        if argument.startswith("-") and argument != "-":
            parser.error(f"unknown option {argument}")
        parser.error(f"too many arguments: {argument}")
    if parsed.format is not None:
        from ._reading import is_format  # not at the top: it needs meshio

        if not is_format(parsed.format):
            parser.error(f"unknown format {parsed.format}")
    return parsed


@contextlib.contextmanager
def _progress_bar() -> Iterator[Any]:
    """Provide a callback that draws a progress bar, or None without a terminal or rich."""
    try:
        from rich.console import Console
        from rich.progress import Progress
    except ImportError:
        yield None
        return
    console = Console(stderr=True)
    if not console.is_terminal:
        yield None
        return
    with Progress(console=console, transient=True) as bar:
        task = bar.add_task("converting", total=None)
        yield lambda done, total: bar.update(task, completed=done, total=total)


def _convert(arguments: argparse.Namespace) -> Summary:
    with _progress_bar() as progress:
        return convert(
            arguments.input,
            arguments.output,
            overwrite=arguments.overwrite,
            file_format=arguments.format,
            keep_blocks=arguments.keep_blocks,
            step=arguments.step,
            progress=progress,
        )


def _print_summary(summary: Summary) -> None:
    counts = summary.counts
    for warning in dict.fromkeys(counts.warnings):
        _report(f"{summary.input}: warning: {warning}")
    rounded = f", {_counted(counts.rounded, 'array')} rounded to 32 bits" if counts.rounded else ""
    _print(
        f"{summary.output}: {_counted(counts.nodes, 'node')}, "
        f"{_counted(counts.elements, 'element')}, {_counted(counts.shapes, 'shape')}, "
        f"{_counted(counts.results, 'result')}, {_counted(counts.steps, 'step')}{rounded}, "
        f"{summary.bytes_in} bytes in, {summary.bytes_out} bytes out\n"
    )


def _counted(count: int, noun: str) -> str:
    return f"{count} {noun}" if count == 1 else f"{count} {noun}s"


def _print(text: str) -> None:
    """Write to standard output.

    Raises
    ------
    OSError
        That failed. The rest is discarded, so that the interpreter does not report it again.
    """
    try:
        sys.stdout.write(text)
        sys.stdout.flush()
    except OSError as error:
        with contextlib.suppress(OSError, ValueError):
            os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        error.filename = "standard output"
        raise


def _report(message: str) -> None:
    print(f"{_program}: {' '.join(message.split())}", file=sys.stderr)


def _raise_killed(number: int, _: Optional[FrameType]) -> NoReturn:
    raise _Killed(number)


@contextlib.contextmanager
def _ending_by_signals() -> Iterator[None]:
    """Let the block end before the process dies of SIGINT, SIGTERM or SIGHUP."""
    if threading.current_thread() is not threading.main_thread():
        yield  # only the main thread receives signals
        return
    names = ("SIGINT", "SIGTERM", "SIGHUP")  # Windows has no SIGHUP
    numbers = [getattr(signal, name) for name in names if hasattr(signal, name)]
    previous = {number: signal.getsignal(number) for number in numbers}
    for number, handler in previous.items():
        if handler is not signal.SIG_IGN:  # nohup ignores SIGHUP
            signal.signal(number, _raise_killed)
    try:
        yield
    except _Killed as killed:
        signal.signal(killed.args[0], signal.SIG_DFL)
        signal.raise_signal(killed.args[0])
    finally:
        for number, handler in previous.items():
            signal.signal(number, handler)


def main(arguments: Optional[list[str]] = None) -> int:
    """Run the command.

    Parameters
    ----------
    arguments : list of str, optional
        By default those of the process.

    Returns
    -------
    int
        Exit code: 0, or 1 after an error, which is printed.

    Raises
    ------
    SystemExit
        With 2 for invalid arguments, with 0 after ``--help`` and ``--version``.
    """
    path: Any = None
    try:
        parsed = _parse(arguments)
        path = parsed.input
        with _ending_by_signals():
            summary = _convert(parsed)
        _print_summary(summary)
        return 0
    except BrokenPipeError:
        pass
    except ConversionError as error:
        _report(f"{error.path or path}: {error.reason}")
    except OSError as error:
        _report(f"{error.filename or path}: {error.strerror or error}")
    except ModuleNotFoundError as error:
        _report(f"the Python package {error.name} is missing; on Debian: python3-{error.name}")
    except (Error, MemoryError) as error:
        _report(f"{path}: {error or 'not enough memory'}")
    return 1


if __name__ == "__main__":
    sys.exit(main())
