// The host's board: FEN checking, legal moves and the game's positions, with
// the engine core's own move generator and make routine.
#include "game.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "attacks.h"
#include "board.h"
#include "init.h"
#include "interface.h"
#include "moves.h"
#include "utility.h"

namespace {

// The game: its first position, every position after it, the moves between.
struct Game {
  bool fromStart = true;
  bool legal = true;
  std::vector<std::string> fens{StartFen};
  std::vector<std::string> moves;
  int halfmoveClock = 0;   // of the last position
  int fullmoveNumber = 1;
};

Game Current;

// Sets the core's board from a FEN the host has checked or written.
void LoadCore(const std::string &fen) {
  static bool tablesBuilt = false;
  if (!tablesBuilt) {
    InitEngineTables();
    tablesBuilt = true;
  }
  static TokenSlot slots[MaxTokens];
  std::vector<char> text(fen.begin(), fen.end());
  text.push_back('\0');
  const int count = SplitTokens(text.data(), slots);
  GameMoveCount = 0;
  SideToMove = ReadFenFields(slots, count);
  ResetSearchState();
  DerivePositionState();
}

// The core's board as a FEN of four fields.
std::string CoreFen() {
  std::string fen;
  for (int rank = 7; rank >= 0; --rank) {
    int empty = 0;
    for (int file = 0; file < 8; ++file) {
      const int piece = Board[rank * 8 + file];
      if (!piece) {
        ++empty;
        continue;
      }
      if (empty) fen += char('0' + empty);
      empty = 0;
      const char letter = PieceLetters[piece > 0 ? piece : -piece];
      fen += piece > 0 ? letter : char(std::tolower(letter));
    }
    if (empty) fen += char('0' + empty);
    if (rank) fen += '/';
  }
  fen += SideToMove == White ? " w " : " b ";
  const size_t before = fen.size();
  if (!MoveCounter[E1] && !MoveCounter[H1]) fen += 'K';
  if (!MoveCounter[E1] && !MoveCounter[A1]) fen += 'Q';
  if (!MoveCounter[E8] && !MoveCounter[H8]) fen += 'k';
  if (!MoveCounter[E8] && !MoveCounter[A8]) fen += 'q';
  if (fen.size() == before) fen += '-';
  char square[3];
  fen += ' ';
  fen += Ply[0].epSquare ? SquareText(Ply[0].epSquare, square) : "-";
  return fen;
}

// The piece code of a FEN letter, 0 for none.
int PieceCode(char c) {
  const char *at = std::strchr("PNBRQK", std::toupper(static_cast<unsigned char>(c)));
  if (!c || !at) return 0;
  const int kind = int(at - "PNBRQK") + 1;
  return std::isupper(static_cast<unsigned char>(c)) ? kind : -kind;
}

// Why the FEN fields do not describe a legal position, or "" when they do;
// fen is then the position in four fields.
std::string CheckFen(const std::vector<std::string> &fields, std::string &fen) {
  int board[64] = {};
  int kings[2] = {0, 0};
  const std::string bad = "the board does not have eight ranks of eight squares";
  size_t at = 0;
  for (int rank = 7; rank >= 0; --rank) {
    int file = 0;
    for (; at < fields[0].size() && fields[0][at] != '/'; ++at) {
      const char c = fields[0][at];
      if (c >= '1' && c <= '8') {
        file += c - '0';
      } else if (PieceCode(c) && file < 8) {
        board[rank * 8 + file++] = PieceCode(c);
      } else {
        return bad;
      }
    }
    if (file != 8 || (rank > 0) != (at < fields[0].size())) return bad;
    ++at;
  }
  for (int s = 0; s < 64; ++s) {
    if (board[s] == 6 || board[s] == -6) ++kings[board[s] > 0];
    if ((board[s] == 1 || board[s] == -1) && (s < 8 || s >= 56)) return "a pawn on the first or last rank";
  }
  if (kings[0] != 1 || kings[1] != 1) return "each side needs exactly one king";
  const std::string side = fields.size() > 1 ? fields[1] : "w";
  if (side != "w" && side != "b") return "the side to move is neither w nor b";
  const std::string castling = fields.size() > 2 ? fields[2] : "-";
  struct Right { char letter; int king, kingSquare, rook, rookSquare; };
  constexpr Right Rights[] = {{'K', 6, 4, 4, 7}, {'Q', 6, 4, 4, 0}, {'k', -6, 60, -4, 63}, {'q', -6, 60, -4, 56}};
  for (size_t i = 0; castling != "-" && i < castling.size(); ++i) {
    const Right *right = nullptr;
    for (const Right &r : Rights) right = r.letter == castling[i] ? &r : right;
    if (!right || castling.find(castling[i], i + 1) != std::string::npos) return "the castling field is not valid";
    if (board[right->kingSquare] != right->king || board[right->rookSquare] != right->rook)
      return std::string("castling right ") + castling[i] + " without its king and rook at home";
  }
  const std::string ep = fields.size() > 3 ? fields[3] : "-";
  if (ep != "-") {
    // The pawn that just moved two squares stands in front of the square.
    const bool white = side == "w";
    const int up = white ? 8 : -8;
    const int s = ep.size() == 2 ? SquareFromText(ep.c_str()) : 0;
    if (s / 8 != (white ? 5 : 2) || board[s] || board[s + up] || board[s - up] != (white ? -1 : 1))
      return "the en passant square " + ep + " is impossible";
  }
  fen = fields[0] + " " + side + " " + castling + " " + ep;
  LoadCore(fen);
  if (InCheck(1 - SideToMove)) return "the side not to move is in check";
  return "";
}

// A move in UCI text: the engine's own text with the promotion in lower case.
std::string MoveName(Move move) {
  char buffer[MoveTextSize];
  std::string name = MoveText(move, buffer);
  for (char &c : name) c = char(std::tolower(static_cast<unsigned char>(c)));
  return name;
}

// The legal move of the core's position that text names, or 0.
Move FindMove(const std::string &text) {
  const int count = LegalRootMoves(SideToMove);
  for (int i = 1; i <= count; ++i)
    if (MoveName(MoveStack[i]) == text) return MoveStack[i];
  return 0;
}

}  // namespace

std::string SetGamePosition(const std::vector<std::string> &words, size_t first) {
  Game game;
  size_t i = first + 1;
  if (first < words.size() && words[first] == "fen") {
    std::vector<std::string> fields;
    for (; i < words.size() && words[i] != "moves"; ++i) fields.push_back(words[i]);
    std::string fen;
    const std::string why = fields.empty() ? "no FEN" : CheckFen(fields, fen);
    game.fromStart = false;
    game.fens[0] = fen;
    // The move counters are only shown by "d"; bounded so that counting on
    // cannot overflow.
    if (fields.size() > 4) game.halfmoveClock = std::clamp(ParseDecimal(fields[4].c_str()), 0, 1000000000);
    if (fields.size() > 5) game.fullmoveNumber = std::clamp(ParseDecimal(fields[5].c_str()), 1, 1000000000);
    if (!why.empty()) {
      game.legal = false;
      Current = game;
      return "illegal position: " + why;
    }
  } else if (first >= words.size() || words[first] != "startpos") {
    return "position needs startpos or fen";
  }
  std::string refused;
  if (i < words.size() && words[i] == "moves") {
    LoadCore(game.fens[0]);
    for (++i; i < words.size(); ++i) {
      const Move move = FindMove(words[i]);
      if (!move) {
        refused = "illegal move " + words[i] + ": it and the moves after it are ignored";
        break;
      }
      const int side = SideToMove;
      game.halfmoveClock = MovePiece(move) == 1 || MoveCaptured(move) ? 0 : game.halfmoveClock + 1;
      game.fullmoveNumber += side == Black;
      PlayGameMove(side, move);
      SideToMove = 1 - side;
      game.moves.push_back(words[i]);
      game.fens.push_back(CoreFen());
      LoadCore(game.fens.back());
    }
  }
  Current = game;
  return refused;
}

bool GameIsLegal() { return Current.legal; }

bool GameWhiteToMove() { return Current.fens.back()[Current.fens.back().find(' ') + 1] == 'w'; }

const std::vector<std::string> &GameMoves() { return Current.moves; }

std::vector<std::string> GameLegalMoves() {
  std::vector<std::string> moves;
  if (!Current.legal) return moves;
  LoadCore(Current.fens.back());
  const int count = LegalRootMoves(SideToMove);
  for (int i = 1; i <= count; ++i) moves.push_back(MoveName(MoveStack[i]));
  return moves;
}

bool GameInCheck() {
  if (!Current.legal) return false;
  LoadCore(Current.fens.back());
  return InCheck(SideToMove) != 0;
}

std::vector<std::string> GameDiagram() {
  const std::string &fen = Current.fens.back();
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

void GameHandover(std::string &fen, std::string &moves) {
  const size_t count = Current.moves.size();
  const size_t from = count > MaxLibraryMoves ? count - MaxLibraryMoves : 0;
  fen = Current.fromStart && from == 0 ? "" : Current.fens[from];
  moves.clear();
  for (size_t i = from; i < count; ++i) moves += (moves.empty() ? "" : " ") + Current.moves[i];
}
