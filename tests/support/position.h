// Test helpers: engine tables built once, positions set from FEN text, the
// colour-mirrored twin of a FEN, and a copy of the board's whole state.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "board.h"
#include "init.h"
#include "interface.h"
#include "utility.h"

// Builds the engine tables on first use.
inline void EnsureEngineTables() {
  static bool built = false;
  if (!built) {
    SetParameterDefaults();
    InitEngineTables();
    built = true;
  }
}

// Sets the position as the host's FEN set-up does.
inline void SetFen(const char *fen) {
  EnsureEngineTables();
  SetUpPositionText(fen);
}

// A move list in a fixed order, to compare lists whatever their order.
inline std::vector<Move> Sorted(std::vector<Move> moves) {
  std::sort(moves.begin(), moves.end());
  return moves;
}

// Swaps upper and lower case: White's pieces and rights become Black's.
inline std::string SwapCase(std::string text) {
  for (char &c : text) c = std::isupper(c) ? char(std::tolower(c)) : char(std::toupper(c));
  return text;
}

// The same position with the board flipped by rank and the colours, the side
// to move, the castling rights and the en-passant square exchanged.
inline std::string MirrorFen(const std::string &fen) {
  std::istringstream in(fen);
  std::string board, side = "w", castling = "-", ep = "-";
  in >> board >> side >> castling >> ep;
  std::istringstream ranks(board);
  std::string rank, flipped;
  while (std::getline(ranks, rank, '/')) flipped.insert(0, flipped.empty() ? rank : rank + '/');
  if (ep.size() == 2) ep[1] = char('1' + '8' - ep[1]);
  std::string result = SwapCase(flipped);
  result.append(side == "w" ? " b " : " w ");
  result.append(castling == "-" ? castling : SwapCase(castling));
  result.append(" ").append(ep);
  return result;
}

// Every field that make and undo must keep in step, with the side to move
// and the en-passant square a position is set from.
struct Snapshot {
  int32_t board[64], counters[64];
  SideRecord white, black;
  Bitboard file, diag, antiDiag;
  int side, ep;
  static Snapshot Take() {
    Snapshot s;
    std::memcpy(s.board, Board, sizeof Board);
    std::memcpy(s.counters, MoveCounter, sizeof MoveCounter);
    s.white = WhiteSide;
    s.black = BlackSide;
    s.file = RotatedFile;
    s.diag = RotatedDiag;
    s.antiDiag = RotatedAntiDiag;
    s.side = SideToMove;
    s.ep = Ply[0].epSquare;
    return s;
  }
  bool operator==(const Snapshot &o) const {
    return !std::memcmp(board, o.board, sizeof board) && !std::memcmp(counters, o.counters, sizeof counters) &&
           white == o.white && black == o.black && file == o.file && diag == o.diag && antiDiag == o.antiDiag;
  }
};
