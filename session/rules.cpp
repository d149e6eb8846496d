// The rules from the engine core's own board, move generator and make routine.
#include "rules.h"

#include <cctype>
#include <cstring>

#include "attacks.h"
#include "board.h"
#include "init.h"
#include "interface.h"
#include "moves.h"
#include "utility.h"

namespace {

// Sets the core's board from a FEN the rules have checked or written. The
// tables are built on first use; in a build that links the core into the
// same program as the library, the library's start-up has built them already
// and its parameters must not be reset.
void LoadCore(const std::string &fen) {
  static bool tablesBuilt = false;
  if (!tablesBuilt) {
#ifndef VARN_SHARED_CORE
    InitEngineTables();
#endif
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

// Reads the board field into board; false when it is not eight ranks of
// eight squares.
bool ReadBoard(const std::string &field, int board[64]) {
  size_t at = 0;
  for (int rank = 7; rank >= 0; --rank) {
    int file = 0;
    for (; at < field.size() && field[at] != '/'; ++at) {
      const char c = field[at];
      if (c >= '1' && c <= '8') {
        file += c - '0';
      } else if (PieceCode(c) && file < 8) {
        board[rank * 8 + file++] = PieceCode(c);
      } else {
        return false;
      }
    }
    if (file != 8 || (rank > 0) != (at < field.size())) return false;
    ++at;
  }
  return true;
}

// The castling field without the rights whose king or rook has left home;
// "" when the field is not a castling field at all.
std::string KeptCastling(const std::string &castling, const int board[64], std::vector<std::string> &dropped) {
  struct Right { char letter; int king, kingSquare, rook, rookSquare; };
  constexpr Right Rights[] = {
      {'K', King, E1, Rook, H1}, {'Q', King, E1, Rook, A1}, {'k', -King, E8, -Rook, H8}, {'q', -King, E8, -Rook, A8}};
  if (castling == "-") return castling;
  std::string kept;
  for (size_t i = 0; i < castling.size(); ++i) {
    const Right *right = nullptr;
    for (const Right &r : Rights) right = r.letter == castling[i] ? &r : right;
    if (!right || castling.find(castling[i], i + 1) != std::string::npos) return "";
    if (board[right->kingSquare] == right->king && board[right->rookSquare] == right->rook) {
      kept += castling[i];
    } else {
      dropped.push_back(std::string("castling right ") + castling[i] + " (its king or rook is not at home)");
    }
  }
  return kept.empty() ? "-" : kept;
}

// The en passant field, or "-" when no pawn can just have made the square.
std::string KeptEnPassant(const std::string &ep, bool white, const int board[64], std::vector<std::string> &dropped) {
  if (ep == "-") return ep;
  // The pawn that just moved two squares stands in front of the square,
  // which it and the square behind it have just left empty.
  const int up = white ? 8 : -8;
  const int s = SquareFromText(ep.c_str());
  if (s / 8 == (white ? 5 : 2) && !board[s] && !board[s + up] && board[s - up] == (white ? -Pawn : Pawn)) return ep;
  dropped.push_back("en passant square " + ep + " (no pawn has just passed it)");
  return "-";
}

// A move in UCI text: the engine's own text with the promotion in lower case.
std::string MoveName(Move move) {
  char buffer[MoveTextSize];
  std::string name = MoveText(move, buffer);
  for (char &c : name) c = char(std::tolower(static_cast<unsigned char>(c)));
  return name;
}

}  // namespace

FenReading RulesReadFen(const std::vector<std::string> &fields) {
  FenReading reading;
  int board[64] = {};
  int kings[2] = {0, 0};
  if (fields.empty() || !ReadBoard(fields[0], board)) {
    reading.refused = "the board does not have eight ranks of eight squares";
    return reading;
  }
  for (int s = 0; s < 64; ++s) {
    if (board[s] == King || board[s] == -King) ++kings[board[s] > 0];
    if ((board[s] == Pawn || board[s] == -Pawn) && (s < 8 || s >= 56)) reading.refused = "a pawn on the first or last rank";
  }
  if (!reading.refused.empty()) return reading;
  if (kings[0] != 1 || kings[1] != 1) {
    reading.refused = "each side needs exactly one king";
    return reading;
  }
  const std::string side = fields.size() > 1 ? fields[1] : "w";
  if (side != "w" && side != "b") {
    reading.refused = "the side to move is neither w nor b";
    return reading;
  }
  const std::string castling = KeptCastling(fields.size() > 2 ? fields[2] : "-", board, reading.dropped);
  const std::string ep = fields.size() > 3 ? fields[3] : "-";
  const bool epReadable = ep == "-" || (ep.size() == 2 && ep[0] >= 'a' && ep[0] <= 'h' && ep[1] >= '1' && ep[1] <= '8');
  if (castling.empty() || !epReadable) {
    reading.refused = castling.empty() ? "the castling field is not valid" : "the en passant field is not a square";
    return reading;
  }
  reading.fen = fields[0] + " " + side + " " + castling + " " + KeptEnPassant(ep, side == "w", board, reading.dropped);
  LoadCore(reading.fen);
  if (InCheck(1 - SideToMove)) reading.refused = "the side not to move is in check";
  return reading;
}

std::vector<std::string> RulesLegalMoves(const std::string &fen) {
  LoadCore(fen);
  std::vector<std::string> moves;
  const int count = LegalRootMoves(SideToMove);
  for (int i = 1; i <= count; ++i) moves.push_back(MoveName(MoveStack[i]));
  return moves;
}

bool RulesPlay(const std::string &fen, const std::string &move, std::string &next, bool &irreversible) {
  LoadCore(fen);
  const int count = LegalRootMoves(SideToMove);
  for (int i = 1; i <= count; ++i) {
    const Move legal = MoveStack[i];
    if (MoveName(legal) != move) continue;
    irreversible = MovePiece(legal) == Pawn || MoveCaptured(legal);
    const int side = SideToMove;
    PlayGameMove(side, legal);
    SideToMove = 1 - side;
    next = CoreFen();
    return true;
  }
  return false;
}

bool RulesInCheck(const std::string &fen) {
  LoadCore(fen);
  return InCheck(SideToMove) != 0;
}

std::string RulesStartFen() { return StartFen; }
