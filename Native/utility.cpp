// Text of squares and moves in coordinate notation.
#include "utility.h"

#include <cstring>

char FileLetter(int file) { return file >= 0 && file < 8 ? char('a' + file) : '-'; }

char RankDigit(int rank) { return rank >= 0 && rank < 8 ? char('1' + rank) : '-'; }

const char *SquareText(int square, char *buffer) {
  if (square < 0 || square > 63) return "--";
  buffer[0] = FileLetter(File(square));
  buffer[1] = RankDigit(Rank(square));
  buffer[2] = '\0';
  return buffer;
}

// Source and destination square and the promotion letter, if any.
char *MoveText(Move move, char *buffer) {
  char square[3];
  std::memcpy(buffer, SquareText(MoveFrom(move), square), 2);
  std::memcpy(buffer + 2, SquareText(MoveTo(move), square), 2);
  const int promotion = MovePromotion(move);
  buffer[4] = promotion ? (promotion <= King ? PieceLetters[promotion] : 'X') : '\0';
  buffer[5] = '\0';
  return buffer;
}
