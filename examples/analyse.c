/* A minimal host for the Varn504 library: searches one position to a fixed
   depth, prints every report the engine sends and then the best move.

     analyse ["<fen>"] [depth]      (start position and depth 8 by default)

   The library keeps one engine per process and runs the search on the
   caller's thread; the order of calls below is the one it expects. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <varn504.h>

static const char StartFen[] = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

/* First move of the last exact line: the engine's best move so far. */
static char BestMove[8];

/* Report callbacks. Texts are valid only during the call: copy what you keep. */
static void OnNodes(uint32_t nodes, int32_t zero1, int32_t zero2) {
  (void)zero1, (void)zero2;
  printf("nodes %lu\n", (unsigned long)nodes);
}

static void OnDepth(int32_t depth, int32_t zero) {
  (void)zero;
  printf("depth %ld\n", (long)depth);
}

static void OnCurrentMove(const char *move, int32_t index, int32_t count) {
  printf("current move %s (%ld of %ld)\n", move, (long)index, (long)count);
}

/* An exact line ends with a blank; "e2e4!" and "e2e4?" only say that the first
   move's score left the search window, and are searched again. */
static void OnLine(const char *line, int32_t score) {
  size_t length = strlen(line);
  printf("line %s score %ld\n", line, (long)score);
  if (length > 0 && line[length - 1] == ' ') {
    size_t move = strcspn(line, " ");
    if (move < sizeof BestMove) {
      memcpy(BestMove, line, move);
      BestMove[move] = '\0';
    }
  }
}

int main(int argc, char **argv) {
  /* Slots 1 and 6 are never called; the table is copied by VarnInit. */
  VarnCallbacks callbacks = {NULL, OnNodes, OnDepth, OnCurrentMove, OnLine, NULL};
  const char *fen = argc > 1 ? argv[1] : StartFen;
  int depth = argc > 2 ? atoi(argv[2]) : 8;
  char *writableFen;
  int32_t hashKb;

  /* Lines are reported from the fifth ply on; a shallower search names no move. */
  if (depth < 5) depth = 5;
  if (depth > 31) depth = 31;

  /* 1. Once, before anything but the three getters: builds the tables and the
        32 MB transposition table; returns the size actually used. */
  printf("%s by %s\n", VarnGetVersion(), VarnGetAuthor());
  hashKb = VarnInit(&callbacks, 0, 32 * 1024);
  printf("hash %ld KB\n", (long)hashKb);

  /* 2. A position. The FEN is split in place, so pass a writable copy
        (VarnSetGame would then play moves such as "e2e4 e7e5" on it). */
  writableFen = malloc(strlen(fen) + 1);
  if (!writableFen) return 1;
  strcpy(writableFen, fen);
  VarnSetPosition(writableFen);
  free(writableFen);

  /* 3. A limit, kept for later searches until another is set. */
  VarnSetDepth(depth);

  /* 4. The search runs here and calls back on this thread. Another thread may
        call VarnStopAnalyse or VarnPonderingOff meanwhile, and nothing else. */
  if (VarnAnalyse(0) == 1) {
    printf("no legal move\n");
  } else {
    printf("bestmove %s\n", BestMove[0] ? BestMove : "(none)");
  }

  /* 5. Repeat 2 to 4 for further searches; VarnQuit once at the end. */
  VarnQuit();
  return 0;
}
