#!/usr/bin/env python3
"""Runs one benchmark command several times and prints every line of its output with each number
replaced by the median of that number over the runs.

Lines are matched across runs by their text with the numbers taken out, so a line that a run does
not print (a skipped benchmark) simply has fewer values. On a shared machine a single run can land
on a busy moment; the median of a few runs of the same program is what docs/PERFORMANCE.md gives.

    bench/median_of_runs.py --runs 3 -- build/release/bench/usage_timeline_bench
"""
import argparse
import re
import statistics
import subprocess
import sys

# A number standing on its own: not the tail of a name ("BM_Remove/1000", "threads:16", "x1").
NUMBER = re.compile(r"(?<![\w/:.-])-?\d+(?:\.\d+)?(?:[eE][-+]?\d+)?")
COLOUR = re.compile(r"\x1b\[[0-9;]*m")


def text_of(value):
    if value.is_integer():
        return str(int(value))
    return f"{value:.4g}" if abs(value) < 1e4 else f"{value:.1f}"


def shape_and_numbers(line):
    numbers = NUMBER.findall(line)
    return NUMBER.sub("#", line), [float(n) for n in numbers]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=3, help="how many times to run the command")
    parser.add_argument("command", nargs=argparse.REMAINDER, help="the command, after --")
    args = parser.parse_args()
    command = args.command[1:] if args.command[:1] == ["--"] else args.command
    if not command or args.runs < 1:
        parser.error("a command and at least one run are needed")

    order = []
    shapes = {}
    values = {}
    for run in range(args.runs):
        result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if result.returncode != 0:
            print(f"run {run + 1} failed with status {result.returncode}:\n{result.stdout}", file=sys.stderr)
            return 1
        for line in result.stdout.splitlines():
            shape, numbers = shape_and_numbers(COLOUR.sub("", line))
            # Columns are padded to the width of their numbers: lines match whatever the padding.
            key = " ".join(shape.split())
            if key not in values:
                order.append(key)
                shapes[key] = shape
                values[key] = []
            values[key].append(numbers)

    print(f"median of {args.runs} runs of: {' '.join(command)}")
    for key in order:
        shape = shapes[key]
        runs = [numbers for numbers in values[key] if numbers]
        if not runs:
            print(shape)
            continue
        width = min(len(numbers) for numbers in runs)
        medians = [statistics.median(numbers[i] for numbers in runs) for i in range(width)]
        pieces = shape.split("#")
        text = pieces[0]
        for i, piece in enumerate(pieces[1:]):
            text += (text_of(medians[i]) if i < width else "?") + piece
        print(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
