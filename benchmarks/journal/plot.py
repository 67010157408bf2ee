#!/usr/bin/env python3
"""Plots the cost of checkpoints from the table in docs/benchmarks.md.

Usage: plot.py BENCHMARKS.md PICTURE.png
"""

import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
from matplotlib import pyplot as plt

TITLE = "### CPU milliseconds of a checkpoint after each step"


def rows(page: str) -> list[list[str]]:
    """Return the cells of the table below `TITLE`, without its two head lines."""
    table = page.split(TITLE)[1].split("\n\n")[1].splitlines()
    return [[cell.strip() for cell in line.strip("|").split("|")] for line in table[2:]]


def main(page: Path, picture: Path) -> None:
    figure, axes = plt.subplots(figsize=(6, 3), layout="constrained")
    for name, *milliseconds in rows(page.read_text(encoding="utf-8")):
        ends = range(100, 100 * len(milliseconds) + 1, 100)
        axes.plot(ends, [float(value) for value in milliseconds], marker="o", label=name)
    axes.set(xlabel="step", ylabel="CPU ms of a checkpoint", yscale="log", ylim=(0.01, 100))
    axes.legend(title="added per step")
    axes.grid(alpha=0.3)
    figure.savefig(picture, dpi=90)


if __name__ == "__main__":
    main(Path(sys.argv[1]), Path(sys.argv[2]))
