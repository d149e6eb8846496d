// The game a front end set: a start position checked by the rules and the
// legal moves played on it. The library learns it from GameHandover.
#pragma once

#include <string>
#include <vector>

#include "../Native/varn504.h"

// The most game moves the library keeps; older ones reach it as a FEN.
constexpr size_t MaxLibraryMoves = VARN_MAX_GAME_MOVES;

// Reads the words after "position" ("startpos" or "fen <fields>", then
// optionally "moves ..."). Returns what a GUI should be told, one text per
// line: why the position was refused, which impossible FEN fields were
// dropped, or the first illegal move (it and the moves after it are ignored).
std::vector<std::string> SetGamePosition(const std::vector<std::string> &words, size_t first);

// False when the last position was refused: no move may be played on it.
bool GameIsLegal();

// The current position in four FEN fields.
const std::string &GameFen();

// True when White is to move in the current position.
bool GameWhiteToMove();

// The moves played since the position's FEN or the start position.
const std::vector<std::string> &GameMoves();

// The current position for "d": a board diagram, its FEN with the move
// counters and the side to move. Only for a legal position.
std::vector<std::string> GameDiagram();

// What the library needs: a FEN ("" for the start position) and the last
// moves, separated by blanks: at most MaxLibraryMoves of them, less spare so
// that as many more can be played on them.
void GameHandover(std::string &fen, std::string &moves, size_t spare = 0);
