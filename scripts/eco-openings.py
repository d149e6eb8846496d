#!/usr/bin/env python3
"""Draws an opening set for matches from an ECO classification file (the
format of scid.eco: `CODE "Name" 1.e4 e5 2.Nf3 *`, one line or more per
opening) and writes it as PGN for scripts/match.sh (MATCH_OPENINGS).

The lines with from --min to --max plies, each move sequence once, are
shuffled by a seeded splitmix64 generator (the same on every machine and
Python version) and the first --count are written in the file's order. The
levels' measurement set is made by

    scripts/eco-openings.py --seed 35 /usr/share/scid/data/scid.eco > eco35.pgn

with scid.eco from Debian's scid-data package (1:4.7.4+dfsg1-2).

Usage: scripts/eco-openings.py [--seed 35] [--count 100] [--min 8] [--max 16] ECO_FILE
"""
import argparse
import re
import sys

MASK = (1 << 64) - 1


def splitmix64(state):
    """The next state and its output."""
    state = (state + 0x9E3779B97F4A7C15) & MASK
    z = state
    z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & MASK
    z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & MASK
    return state, z ^ (z >> 31)


def read_eco(text):
    """(code, name, [SAN moves]) of every opening, in the file's order."""
    body = "\n".join(line for line in text.splitlines() if not line.lstrip().startswith("#"))
    openings = []
    for match in re.finditer(r'(\S+)\s+"([^"]*)"\s*([^*]*)\*', body):
        moves = [word for word in re.sub(r"\d+\.(\.\.)?", " ", match.group(3)).split() if word]
        openings.append((match.group(1), match.group(2), moves))
    return openings


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seed", type=int, default=35)
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--min", type=int, default=8)
    parser.add_argument("--max", type=int, default=16)
    parser.add_argument("eco")
    args = parser.parse_args()
    with open(args.eco, encoding="latin-1") as source:
        openings = read_eco(source.read())
    seen, pool = set(), []
    for index, (code, name, moves) in enumerate(openings):
        key = " ".join(moves)
        if args.min <= len(moves) <= args.max and key not in seen:
            seen.add(key)
            pool.append((index, code, name, moves))
    if len(pool) < args.count:
        sys.exit(f"only {len(pool)} openings of {args.min} to {args.max} plies")
    state = args.seed
    for i in range(len(pool) - 1, 0, -1):
        state, number = splitmix64(state)
        j = number % (i + 1)
        pool[i], pool[j] = pool[j], pool[i]
    for index, code, name, moves in sorted(pool[: args.count]):
        text = " ".join((f"{n // 2 + 1}. " if n % 2 == 0 else "") + move for n, move in enumerate(moves))
        print(f'[Event "{code} {name}"]\n[Site "?"]\n[Date "????.??.??"]\n[Round "?"]\n'
              f'[White "?"]\n[Black "?"]\n[Result "*"]\n\n{text} *\n')


if __name__ == "__main__":
    main()
