// The game as the GUI set it: a start position checked for legality and the
// legal moves played on it. The host's own board, kept with the engine core's
// rules; the library learns the position from GameHandover.
#pragma once

#include <string>
#include <vector>

// The most game moves the library keeps; older ones reach it as a FEN.
constexpr size_t MaxLibraryMoves = 999;

// Reads the words after "position". Returns "" when all was taken, else the
// reason the position, or a move and those after it, were refused.
std::string SetGamePosition(const std::vector<std::string> &words, size_t first);

// False when the last "position" was refused: no move may be played on it.
bool GameIsLegal();

// True when White is to move in the current position.
bool GameWhiteToMove();

// The moves played since the position's FEN or the start position.
const std::vector<std::string> &GameMoves();

// The legal moves of the current position in UCI text.
std::vector<std::string> GameLegalMoves();

// True when the side to move is in check.
bool GameInCheck();

// The current position for "d": a board diagram, its FEN with move counters
// and the side to move. Only for a legal position.
std::vector<std::string> GameDiagram();

// What the library needs: a FEN ("" for the start position) and the last
// moves, at most MaxLibraryMoves of them, separated by blanks.
void GameHandover(std::string &fen, std::string &moves);
