// Text helpers: the tokenizer, square names, move text and the reports.
#include "utility.h"

#include <cstring>

#include "interface.h"
#include "root.h"
#include "timer.h"

namespace {

constexpr bool IsSeparator(char c) {
  return c == ',' || c == ';' || c == '=' || c == '+' || c == '/' || c == ' ';
}

}  // namespace

// Tokens longer than 31 characters are cut to their first 31; the host's
// text is only read, so a constant text is as good as a writable one.
int SplitTokens(const char *text, TokenSlot *slots) {
  int count = 0;
  const char *p = text ? text : "";
  while (*p) {
    while (*p && IsSeparator(*p)) ++p;
    if (!*p) break;
    int length = 0;
    char *slot = count < MaxTokens ? slots[count] : nullptr;
    for (; *p && !IsSeparator(*p); ++p) {
      if (slot && length < TokenSize - 1) slot[length++] = *p;
    }
    if (slot) {
      slot[length] = '\0';
      ++count;
    }
  }
  return count;
}

char FileLetter(int file) { return file >= 0 && file < 8 ? char('a' + file) : '-'; }

char RankDigit(int rank) { return rank >= 0 && rank < 8 ? char('1' + rank) : '-'; }

int SquareFromText(const char *text) {
  if (text[0] < 'a' || text[0] > 'h') return 0;
  if (text[1] < '1' || text[1] > '8') return 0;
  return (text[0] - 'a') + 8 * (text[1] - '1');
}

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

// Record 1's line from index 1 up to the first empty word.
char *LineText(char *buffer, int kind) {
  const Move *line = Ply[1].pvRow;
  buffer[0] = '\0';
  if (kind == ReportKindFailHigh || kind == ReportKindFailLow) {
    MoveText(line[1], buffer);
    const size_t length = std::strlen(buffer);
    buffer[length] = kind == ReportKindFailHigh ? '!' : '?';
    buffer[length + 1] = '\0';
    return buffer;
  }
  size_t length = 0;
  for (int i = 1; i < MaxPly && line[i]; ++i) {
    if (length + MoveTextSize + 1 > size_t(LineTextSize)) break;
    MoveText(line[i], buffer + length);
    length += std::strlen(buffer + length);
    buffer[length++] = ' ';
    buffer[length] = '\0';
  }
  return buffer;
}

// Depth, nodes, then the line: a best line or a window failure.
void ReportLine(int score, int depth, int kind) {
  if (depth < 300) return;
  char text[LineTextSize];
  LineText(text, kind);
  if (Callbacks.ReportDepth) Callbacks.ReportDepth(depth / 60, 0);
  if (Callbacks.ReportNodes) Callbacks.ReportNodes(NodeCount, 0, 0);
  if (Callbacks.ReportPrincipalVariation) Callbacks.ReportPrincipalVariation(text, score);
}

// Depth, nodes, then the root move with its number and the number of root moves.
void ReportCurrentRootMove(int depth) {
  if (ElapsedMs() <= 1000) return;
  char text[MoveTextSize];
  MoveText(RootMove, text);
  if (Callbacks.ReportDepth) Callbacks.ReportDepth(depth / 60, 0);
  if (Callbacks.ReportNodes) Callbacks.ReportNodes(NodeCount, 0, 0);
  if (Callbacks.ReportCurrentMove) Callbacks.ReportCurrentMove(text, RootMoveIndex, Ply[1].listEnd - 1);
}
