#!/usr/bin/env python3
"""Simulates the time that an MPI program spends in writing, and prints a table in Markdown.

The program has RANKS ranks with equal shares and writes STEPS steps, one array each. In each step,
as in `ParallelModel`:

1. Each rank shuffles and compresses its rows. The slowest rank decides.
2. Three broadcasts and one reduction pass a tree of all ranks, and rank 0 gathers 208 bytes of each.
3. Rank 0 receives the compressed bytes of all ranks through its link: one message from each rank,
   or one for each plane if the array completes a block.
4. When the content of a block has reached its limit, rank 0 writes the block. All ranks wait.

With groups, each group of ranks writes its own file, all at the same time; the groups share
the file system. An array of 4 GiB or more does not fit one file: the table leaves it out.

Usage: simulate.py [--NAME VALUE]... ; --help lists the parameters and their defaults.
"""
import argparse
import math
import random

HEAD = 208  # bytes
LARGEST_ARRAY = 2**32 - 1
MIB = 2**20

PARAMETERS = {
    "share": (4e6, "bytes of an array on one rank"),
    "steps": (50, "arrays, one after the other"),
    "compression": (50e6, "bytes per second that one rank shuffles and compresses"),
    "spread": (0.1, "the slowest rank needs this fraction more than the fastest"),
    "ratio": (2.5, "bytes before compression, by bytes after it"),
    "planes": (4, "of an array: 4 for each column"),
    "latency": (2e-6, "seconds of a message between two ranks"),
    "message": (1e-6, "seconds of rank 0 for each message that it receives"),
    "link": (10e9, "bytes per second through the network link of rank 0"),
    "stream": (1e9, "bytes per second that one process writes to the file system"),
    "filesystem": (100e9, "bytes per second that the file system takes from all processes"),
    "block": (200 * MIB, "limit of a block, in bytes of content"),
}


def simulate(ranks, groups, p, seed=1):
    """Times of one write cycle in seconds: compression, network, file system."""
    source = random.Random(seed)
    size = math.ceil(ranks / groups)  # of a group
    array = size * p["share"]
    if array > LARGEST_ARRAY:
        return None
    stream = min(p["stream"], p["filesystem"] / groups)
    depth = math.ceil(math.log2(max(size, 2)))
    compress = network = write = content = 0.0
    for _ in range(int(p["steps"])):
        # the largest of `ranks` uniform numbers
        slowest = source.random() ** (1 / ranks)
        compress += p["share"] / p["compression"] * (1 + p["spread"] * slowest)
        content += array
        others = size - 1
        messages = others * (p["planes"] if content >= p["block"] else 1)
        network += 5 * depth * p["latency"] + messages * p["message"]
        network += others * (p["share"] / p["ratio"] + HEAD) / p["link"]
        if content >= p["block"]:
            write += content / p["ratio"] / stream
            content = 0.0
    write += content / p["ratio"] / stream
    return compress, network, write


def print_table(p):
    print("| Ranks | Files | GB of arrays | Compression | Network | File system | Sum | MB/s |")
    print("|---:|---:|---:|---:|---:|---:|---:|---:|")
    for ranks in (10, 1_000, 100_000):
        amount = ranks * p["share"] * p["steps"]
        for groups in (1, 10, 100, 1_000, 10_000):
            if groups > ranks:
                continue
            start = f"| {ranks:,} | {groups:,} | {amount / 1e9:,.0f} |"
            times = simulate(ranks, groups, p)
            if times is None:
                print(start, "an array does not fit one file | | | | |")
                continue
            cells = " | ".join(f"{time:,.1f} s" for time in (*times, sum(times)))
            print(start, cells, f"| {amount / sum(times) / 1e6:,.0f} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", 1)[0])
    for name, (default, text) in PARAMETERS.items():
        parser.add_argument(f"--{name}", type=float, default=default, help=f"{text}: {default:g}")
    print_table(vars(parser.parse_args()))


if __name__ == "__main__":
    main()
