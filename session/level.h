// Levels: Varn at a chosen strength, for players who want an opponent near
// their own. Every root move is scored by a short search of the position after
// it, and the move played is drawn at random with chances that fall as its
// loss against the best move grows. Weaker levels spread their chances wider,
// allow larger losses and misjudge more moves: a misjudged move that loses
// looks to them as good as the best, one that wins looks ordinary, so they
// leave pieces en prise and miss captures as weak players do. A mate found is
// always played, and from 1000 up a free queen is always taken.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// The range of UCI_Elo, up to full strength at the top.
constexpr int LevelEloMin = 800;
constexpr int LevelEloMax = 2045;

// How a level plays.
struct LevelStyle {
  int childPlies;       // depth of the search after each root move
  int spreadCp;         // a loss of this many centipawns divides a move's chance by e
  int largestLossCp;    // moves losing more are never chosen
  int misjudgedPerMil;  // the share of moves, per thousand, whose score the level does not see
};

// The Elo of the marks whose styles are set; styles between two marks are
// drawn from the lower one's depth and straight lines for the rest.
std::span<const int> LevelMarks();

// The style of the level with this Elo (clamped to the range); full strength
// has no style and is played by the ordinary search.
LevelStyle LevelStyleFor(int elo);

// A root move with the score of the position after it, seen from the side to
// move at the root.
struct ScoredMove {
  std::string move;
  int32_t score = 0;
  std::string line;  // the move and the search's line after it
};

// Chances (not normalised) of moves that look this many centipawns worse
// than the best-looking one.
std::vector<double> LevelChances(const std::vector<int32_t> &losses, const LevelStyle &style);

// What a move loses against the best score; mates count beyond every other
// score, and a longer mate less than a shorter one.
int32_t ScoreLoss(int32_t best, int32_t score);

// The index of the move a level plays among scored moves (at least one): a
// mate found is always played; otherwise some moves are misjudged, and the
// move is drawn by LevelChances of how much worse each looks, among the moves
// that lose no more than the style allows.
size_t ChooseLevelMove(const std::vector<ScoredMove> &moves, const LevelStyle &style);

// Starts the level's random choices anew: from the Level Seed option when it
// is set, else from the clock. Called while no search runs: at the start, for
// a new game, and at the next go after the seed changed, so a set seed
// replays a game move for move.
void ReseedLevel();

// Asks for ReseedLevel at the next go (the seed may change during a search).
void RequestLevelReseed();

// Reseeds when asked to since the last go.
void ReseedLevelIfAsked();
