#!/usr/bin/env python3
"""Runs a UCI engine over an EPD test suite at a fixed time per position and
prints how many positions it solves: its best move must be one of the `bm`
moves (and none of the `am` moves) of the record.

Usage: scripts/epd.py [--ms 500] [--option Name=Value ...] [--quiet] SUITE.epd ENGINE [ARGS ...]

The suite is any EPD file with standard algebraic `bm`/`am` moves, for
example the 299 "Win At Chess" positions (wac.epd).
"""
import argparse
import re
import subprocess
import sys
import time

FILES = "abcdefgh"


def read_board(placement):
    """Square name -> piece letter (upper case White) for a FEN placement."""
    board = {}
    for rank_index, row in enumerate(placement.split("/")):
        file_index = 0
        for char in row:
            if char.isdigit():
                file_index += int(char)
            else:
                board[FILES[file_index] + str(8 - rank_index)] = char
                file_index += 1
    return board


SAN = re.compile(r"^([NBRQK])?([a-h])?([1-8])?x?([a-h][1-8])(?:=?([NBRQ]))?$")


def matches(san, uci, board):
    """1 when the engine's coordinate move is the standard algebraic move.

    A SAN move names the piece, the destination and just enough of the origin
    to tell it apart from other legal moves, so a legal engine move matches
    when piece, destination, promotion and any named origin agree."""
    san = san.rstrip("+#!?")
    origin, target, promotion = uci[:2], uci[2:4], uci[4:].upper()
    piece = board.get(origin, "").upper()
    if san in ("O-O", "0-0"):
        return piece == "K" and origin[0] == "e" and target[0] == "g"
    if san in ("O-O-O", "0-0-0"):
        return piece == "K" and origin[0] == "e" and target[0] == "c"
    found = SAN.match(san)
    if not found:
        return False
    kind, from_file, from_rank, to, promote = found.groups()
    if (kind or "P") != piece or to != target or (promote or "") != promotion:
        return False
    if from_file and origin[0] != from_file:
        return False
    return not (from_rank and origin[1] != from_rank)


def parse_record(line):
    """FEN (four fields), bm list, am list and id of one EPD line, or None."""
    fields = line.split()
    if len(fields) < 4:
        return None
    fen = " ".join(fields[:4])
    operations = {}
    for operation in " ".join(fields[4:]).split(";"):
        parts = operation.strip().split(None, 1)
        if len(parts) == 2:
            operations[parts[0]] = parts[1].strip().strip('"')
    return fen, operations.get("bm", "").split(), operations.get("am", "").split(), operations.get("id", "")


class Engine:
    def __init__(self, command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        universal_newlines=True, bufsize=1)

    def send(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def wait_for(self, prefix):
        while True:
            line = self.process.stdout.readline()
            if not line:
                sys.exit("the engine closed its output")
            if line.startswith(prefix):
                return line.split()

    def quit(self):
        try:
            self.send("quit")
            self.process.wait(timeout=5)
        except (BrokenPipeError, subprocess.TimeoutExpired):
            self.process.kill()


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    arguments.add_argument("--ms", type=int, default=500, help="milliseconds per position")
    arguments.add_argument("--option", action="append", default=[], help="UCI option Name=Value")
    arguments.add_argument("--quiet", action="store_true", help="print only the result line")
    arguments.add_argument("suite")
    arguments.add_argument("engine", nargs=argparse.REMAINDER)
    options = arguments.parse_args()
    if not options.engine:
        arguments.error("no engine command given")

    with open(options.suite) as suite:
        records = [r for r in (parse_record(line) for line in suite) if r and (r[1] or r[2])]
    engine = Engine(options.engine)
    engine.send("uci")
    engine.wait_for("uciok")
    for option in options.option:
        name, _, value = option.partition("=")
        engine.send("setoption name %s value %s" % (name, value))
    engine.send("isready")
    engine.wait_for("readyok")

    solved = 0
    started = time.time()
    for number, (fen, best, avoid, name) in enumerate(records, 1):
        engine.send("ucinewgame")
        engine.send("position fen %s 0 1" % fen)
        engine.send("go movetime %d" % options.ms)
        move = engine.wait_for("bestmove")[1]
        board = read_board(fen.split()[0])
        good = (not best or any(matches(m, move, board) for m in best)) and \
            not any(matches(m, move, board) for m in avoid)
        solved += good
        if not options.quiet:
            wanted = ("bm " + " ".join(best) if best else "") + (" am " + " ".join(avoid) if avoid else "")
            print("%4d %-10s %-6s %-16s %s" % (number, name, move, wanted.strip(), "ok" if good else "--"))
            sys.stdout.flush()
    engine.quit()
    print("solved %d/%d at %d ms per position (%.0f s)" % (solved, len(records), options.ms, time.time() - started))


if __name__ == "__main__":
    main()
