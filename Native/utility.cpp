// Text helpers: the tokenizer, square names, move text and the reports.
#include "utility.h"

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

char *MoveText(Move, char *b) { return b; }
char *LineText(char *b, int) { return b; }
void ReportLine(int, int, int) {}
void ReportCurrentRootMove(int) {}
