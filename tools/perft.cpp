// Perft: counts the leaves of the legal move tree of a position, with a split
// by root move, for checking the move generator and measuring its speed.
#include <chrono>
#include <cstdio>
#include <ctime>
#include <cstdlib>
#include <cstring>

#include "attacks.h"
#include "init.h"
#include "interface.h"
#include "make.h"
#include "moves.h"
#include "undo.h"
#include "utility.h"

namespace {

// Deeper trees cannot be counted in any reasonable time; the cap also keeps
// every ply's list well inside the move stack.
constexpr int MaxPerftDepth = 12;

// Coordinate text of a move, promotions with a lower-case letter.
void PrintMove(Move move, unsigned long long nodes) {
  char from[3], to[3];
  const char promotion[2] = {" pnbrqk"[MovePromotion(move)], 0};
  std::printf("%s%s%s %llu\n", SquareText(MoveFrom(move), from), SquareText(MoveTo(move), to),
              promotion[0] == ' ' ? "" : promotion, nodes);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: varn-perft \"<fen>\"|startpos <depth> [divide]\n");
    return 2;
  }
  InitEngineTables();
  SetUpPositionText(std::strcmp(argv[1], "startpos") == 0 ? StartFen : argv[1]);
  const int asked = std::atoi(argv[2]);
  const int depth = asked < 0 ? 0 : asked > MaxPerftDepth ? MaxPerftDepth : asked;
  if (depth != asked) std::fprintf(stderr, "depth %d used\n", depth);
  const bool divide = argc > 3 && std::strcmp(argv[3], "divide") == 0;
  const int side = SideToMove;

  const auto start = std::chrono::steady_clock::now();
  const std::clock_t cpuStart = std::clock();
  uint64_t total = 0;
  if (depth == 0) {
    total = 1;
  } else {
    const int count = LegalRootMoves(side);
    for (int i = 1; i <= count; ++i) {
      const Move move = MoveStack[i];
      MakeMove(side, move, 1);
      const uint64_t nodes = depth > 1 ? Perft(1 - side, depth - 1, 2) : 1;
      UndoMove(side, move, 1);
      total += nodes;
      if (divide) PrintMove(move, nodes);
    }
  }
  // Wall time and processor time: on a shared machine the second is the
  // steadier measure of speed.
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double cpuSeconds = double(std::clock() - cpuStart) / CLOCKS_PER_SEC;
  std::printf("nodes %llu\ntime %.3f s (cpu %.3f s)\nnps %.0f (per cpu second %.0f)\n",
              static_cast<unsigned long long>(total), seconds, cpuSeconds,
              seconds > 0 ? total / seconds : 0.0, cpuSeconds > 0 ? total / cpuSeconds : 0.0);
  return 0;
}
