#!/usr/bin/env python3
"""Measures what several lines (MultiPV) cost: the time the UCI host takes to
reach the same depth with 1, 3 and 5 lines on every benchmark position.

For each position and round the line counts run one after another in a
rotating order, each from an empty table (ucinewgame), so a busy machine
disturbs them alike. A search's time is the processor time of the host
process (less disturbed by other work than the clock) and its own reported
time. Printed: per line count the total over all positions of each
position's median round, its ratio to one line, and the median of the
per-position ratios.

Usage: scripts/bench-lines.py [--depth 8] [--rounds 3] [--lines 1,3,5] [--positions FILE] VARN
  FILE holds the benchmark set (tools/bench_positions.h by default).
"""
import argparse
import os
import re
import statistics
import subprocess
import sys


def read_positions(path):
    """The FENs of the benchmark set's header."""
    with open(path, encoding="utf-8") as header:
        return re.findall(r'\{"([^"]+)"\}', header.read())


def cpu_seconds(pid):
    """User and system processor time of a process so far."""
    with open(f"/proc/{pid}/stat", encoding="ascii") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Host:
    """The UCI host as a child process."""

    def __init__(self, command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
        self.send("uci")
        self.wait("uciok")

    def send(self, line):
        self.process.stdin.write(line + "\n")

    def wait(self, word):
        """Lines up to the one that starts with word, that one last."""
        lines = []
        while True:
            line = self.process.stdout.readline()
            if not line:
                sys.exit("the host ended early")
            lines.append(line.strip())
            if line.startswith(word):
                return lines

    def search(self, fen, lines, depth):
        """(processor seconds, reported ms) of one search from an empty table."""
        self.send(f"setoption name MultiPV value {lines}")
        self.send("ucinewgame")
        self.send(f"position fen {fen}")
        self.send("isready")
        self.wait("readyok")
        before = cpu_seconds(self.process.pid)
        self.send(f"go depth {depth}")
        output = self.wait("bestmove")
        used = cpu_seconds(self.process.pid) - before
        times = [int(m.group(1)) for m in (re.search(r" time (\d+)", line) for line in output) if m]
        return used, times[-1] if times else 0

    def close(self):
        self.send("quit")
        self.process.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--depth", type=int, default=8)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--lines", default="1,3,5")
    parser.add_argument("--positions", default=os.path.join(os.path.dirname(__file__), "..", "tools", "bench_positions.h"))
    parser.add_argument("varn", nargs="+", help="the host and its arguments")
    args = parser.parse_args()
    counts = [int(n) for n in args.lines.split(",")]
    positions = read_positions(args.positions)
    host = Host(args.varn)
    # cpu[count][position] and wall[count][position]: one entry per round.
    cpu = {n: [[] for _ in positions] for n in counts}
    wall = {n: [[] for _ in positions] for n in counts}
    turn = 0
    for round_number in range(args.rounds):
        for index, fen in enumerate(positions):
            order = counts[turn % len(counts):] + counts[:turn % len(counts)]
            turn += 1
            for n in order:
                used, ms = host.search(fen, n, args.depth)
                cpu[n][index].append(used)
                wall[n][index].append(ms / 1000)
        print(f"round {round_number + 1} of {args.rounds} done", file=sys.stderr)
    host.close()
    base = counts[0]
    print(f"{len(positions)} positions, depth {args.depth}, {args.rounds} rounds; medians per position")
    print(f"{'lines':>5} {'cpu s':>8} {'ratio':>6} {'median':>7} {'wall s':>8} {'ratio':>6} {'median':>7}")
    for n in counts:
        row = [f"{n:>5}"]
        for table in (cpu, wall):
            medians = [statistics.median(rounds) for rounds in table[n]]
            bases = [statistics.median(rounds) for rounds in table[base]]
            ratios = [m / b for m, b in zip(medians, bases) if b > 0]
            row += [f"{sum(medians):8.2f}", f"{sum(medians) / sum(bases):6.2f}", f"{statistics.median(ratios):7.2f}"]
        print(" ".join(row))


if __name__ == "__main__":
    main()
