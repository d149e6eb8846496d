// The rules of chess for front ends, taken from the engine core: checking a
// FEN, listing and playing legal moves. Positions are FENs of four fields
// (board, side, castling, en passant); each call sets the core's board from
// the FEN it is given and keeps nothing. This is the one file of the session
// that reaches into the core.
#pragma once

#include <string>
#include <vector>

// The FEN's four fields as a position, or why not. Fields the rules can
// repair are dropped and named: a castling right without its king and rook at
// home, an en passant square without the pawn that made it.
struct FenReading {
  std::string refused;               // "" when the position is legal
  std::string fen;                   // the position in four fields
  std::vector<std::string> dropped;  // what was dropped, in words
};
FenReading RulesReadFen(const std::vector<std::string> &fields);

// The legal moves of the position in UCI text (e7e8q), in the core's order.
std::vector<std::string> RulesLegalMoves(const std::string &fen);

// Plays a legal move; false when move is not one. next is the position after
// it; irreversible tells whether it moved a pawn or captured.
bool RulesPlay(const std::string &fen, const std::string &move, std::string &next, bool &irreversible);

// True when the side to move is in check.
bool RulesInCheck(const std::string &fen);

// The FEN of the start position, four fields.
std::string RulesStartFen();
