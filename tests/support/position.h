// Test helpers: engine tables built once, positions set from FEN text.
#pragma once

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
