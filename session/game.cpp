// The game: its first position, every position after it and the moves
// between, with the FEN's move counters carried along.
#include "game.h"

#include <cstdint>

#include "reports.h"
#include "rules.h"
#include "timeplan.h"

namespace {

struct Game {
  bool fromStart = true;
  bool legal = true;
  std::vector<std::string> fens{RulesStartFen()};
  std::vector<std::string> moves;
  int64_t halfmoveClock = 0;  // of the last position
  int64_t fullmoveNumber = 1;
};

Game Current;

// A move counter of the FEN, or fallback when it is missing or unreadable;
// bounded so that counting on cannot overflow.
int64_t Counter(const std::vector<std::string> &fields, size_t index, int64_t minimum, int64_t fallback) {
  int64_t value = fallback;
  if (index >= fields.size() || !ReadWholeNumber(fields[index], minimum, 1000000000, value)) return fallback;
  return value;
}

// The side-to-move letter of a FEN.
char SideOf(const std::string &fen) { return fen[fen.find(' ') + 1]; }

}  // namespace

std::vector<std::string> SetGamePosition(const std::vector<std::string> &words, size_t first) {
  Game game;
  std::vector<std::string> notes;
  size_t i = first + 1;
  if (first < words.size() && words[first] == "fen") {
    std::vector<std::string> fields;
    for (; i < words.size() && words[i] != "moves"; ++i) fields.push_back(words[i]);
    const FenReading reading = fields.empty() ? FenReading{"no FEN", "", {}} : RulesReadFen(fields);
    game.fromStart = false;
    game.fens[0] = reading.fen;
    game.halfmoveClock = Counter(fields, 4, 0, 0);
    game.fullmoveNumber = Counter(fields, 5, 1, 1);
    if (!reading.refused.empty()) {
      game.legal = false;
      Current = game;
      return {"illegal position: " + reading.refused};
    }
    for (const std::string &field : reading.dropped) notes.push_back("position: dropped " + field);
  } else if (first >= words.size() || words[first] != "startpos") {
    return {"position needs startpos or fen"};
  }
  if (i < words.size() && words[i] == "moves") {
    for (++i; i < words.size(); ++i) {
      std::string next;
      bool irreversible = false;
      if (!RulesPlay(game.fens.back(), words[i], next, irreversible)) {
        notes.push_back("illegal move " + words[i] + ": it and the moves after it are ignored");
        break;
      }
      game.halfmoveClock = irreversible ? 0 : game.halfmoveClock + 1;
      game.fullmoveNumber += SideOf(game.fens.back()) == 'b';
      game.moves.push_back(words[i]);
      game.fens.push_back(next);
    }
  }
  Current = game;
  return notes;
}

bool GameIsLegal() { return Current.legal; }

const std::string &GameFen() { return Current.fens.back(); }

bool GameWhiteToMove() { return SideOf(GameFen()) == 'w'; }

const std::vector<std::string> &GameMoves() { return Current.moves; }

std::vector<std::string> GameDiagram() {
  const std::string &fen = GameFen();
  const std::string rule = " +---+---+---+---+---+---+---+---+";
  std::vector<std::string> lines{rule};
  std::string row = " |";
  int rank = 8;
  for (size_t i = 0; i < fen.size() && fen[i] != ' '; ++i) {
    if (fen[i] == '/') continue;
    const bool empty = fen[i] >= '1' && fen[i] <= '8';
    for (int n = empty ? fen[i] - '0' : 1; n > 0; --n) row += std::string(" ") + (empty ? ' ' : fen[i]) + " |";
    if (row.size() >= rule.size()) {
      lines.push_back(row + " " + std::to_string(rank--));
      lines.push_back(rule);
      row = " |";
    }
  }
  lines.push_back("   a   b   c   d   e   f   g   h");
  lines.push_back("Fen: " + fen + " " + std::to_string(Current.halfmoveClock) + " " +
                  std::to_string(Current.fullmoveNumber));
  lines.push_back(std::string("Side to move: ") + (GameWhiteToMove() ? "white" : "black"));
  return lines;
}

void GameHandover(std::string &fen, std::string &moves, size_t spare) {
  const size_t count = Current.moves.size();
  const size_t keep = MaxLibraryMoves - spare;
  const size_t from = count > keep ? count - keep : 0;
  fen = Current.fromStart && from == 0 ? "" : Current.fens[from];
  moves = JoinWords(Current.moves, from);
}
