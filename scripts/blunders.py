#!/usr/bin/env python3
"""How often each player of a match blundered: the share of its moves (book
moves left out) that lose 300 centipawns or more, judged by a UCI engine that
scores every position of every game at a fixed depth.

A move's loss is the score before it less the score after it, both from the
mover's side, each clamped to +/-1000 centipawns (a mate counts as 1000), so
moves in a game already decided by more than ten pawns lose nothing. The games
are those scripts/match.sh writes: coordinate moves, `{book}` on the opening.

Usage: scripts/blunders.py [--depth 12] [--engine stockfish] [--threshold 300] GAMES.pgn
"""
import argparse
import re
import shutil
import subprocess
import sys
from collections import defaultdict

CLAMP = 1000


def read_games(text):
    """(tags, [(move, book)]) of each game."""
    games = []
    for block in re.split(r"\n(?=\[Event )", text.strip()):
        tags = dict(re.findall(r'^\[(\w+) "(.*)"\]$', block, re.M))
        body = "\n".join(line for line in block.splitlines() if not line.startswith("["))
        moves = []
        for token, comment in re.findall(r"([a-h][1-8][a-h][1-8][qrbn]?)\s*(\{[^}]*\})?", body):
            moves.append((token, comment == "{book}"))
        if tags:
            games.append((tags, moves))
    return games


class Engine:
    def __init__(self, command):
        self.process = subprocess.Popen(command, shell=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.send("uci")
        self.wait("uciok")

    def send(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def wait(self, word):
        lines = []
        while True:
            line = self.process.stdout.readline()
            if not line:
                raise RuntimeError("the engine ended")
            lines.append(line.strip())
            if line.startswith(word):
                return lines

    def new_game(self):
        self.send("ucinewgame")
        self.send("isready")
        self.wait("readyok")

    def score(self, start, moves, depth):
        """The score of the position for the side to move, clamped."""
        self.send(f"position {start}" + (" moves " + " ".join(moves) if moves else ""))
        self.send(f"go depth {depth}")
        score = 0
        for line in self.wait("bestmove"):
            found = re.search(r" score (cp|mate) (-?\d+)", line)
            if found and " bound" not in line:
                value = int(found.group(2))
                score = value if found.group(1) == "cp" else (CLAMP if value > 0 else -CLAMP)
        return max(-CLAMP, min(CLAMP, score))

    def quit(self):
        self.send("quit")
        self.process.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--depth", type=int, default=12)
    # Debian installs Stockfish outside the usual PATH.
    parser.add_argument("--engine", default=shutil.which("stockfish") or "/usr/games/stockfish")
    parser.add_argument("--threshold", type=int, default=300)
    parser.add_argument("pgn")
    args = parser.parse_args()
    with open(args.pgn) as source:
        games = read_games(source.read())
    try:
        engine = Engine(args.engine)
    except (OSError, RuntimeError):
        sys.exit(f"blunders.py: the engine {args.engine} did not start as a UCI engine")
    counts = defaultdict(lambda: [0, 0, 0])  # moves, blunders, total loss
    for tags, moves in games:
        start = f"fen {tags['FEN']}" if "FEN" in tags else "startpos"
        white_first = " w " in tags.get("FEN", " w ")
        engine.new_game()
        scores = [engine.score(start, [m for m, _ in moves[:i]], args.depth) for i in range(len(moves) + 1)]
        for i, (move, book) in enumerate(moves):
            if book:
                continue
            player = tags["White"] if (i % 2 == 0) == white_first else tags["Black"]
            loss = max(0, scores[i] + scores[i + 1])
            counts[player][0] += 1
            counts[player][1] += loss >= args.threshold
            counts[player][2] += loss
    engine.quit()
    for player, (moves, blunders, total) in sorted(counts.items()):
        print(f"{player}: {moves} moves, {blunders} lose {args.threshold} or more ({100 * blunders / max(1, moves):.1f}%), "
              f"mean loss {total / max(1, moves):.0f} cp")


if __name__ == "__main__":
    main()
