// Test helpers: engine tables built once, positions set from FEN text, and
// the colour-mirrored twin of a FEN.
#pragma once

#include <cctype>
#include <sstream>
#include <string>

#include "board.h"
#include "init.h"
#include "utility.h"

// Builds the engine tables on first use.
inline void EnsureEngineTables() {
  static bool built = false;
  if (!built) {
    InitEngineTables();
    built = true;
  }
}

// Sets the position as the host's FEN set-up does.
inline void SetFen(const char *fen) {
  EnsureEngineTables();
  static TokenSlot slots[MaxTokens];
  int count = SplitTokens(fen, slots);
  SetUpFromTokens(slots, count);
  ResetSearchState();
  DerivePositionState();
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
