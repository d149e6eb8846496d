// Placeholder until this area is built.
#include "board.h"
int32_t Board[64];
int32_t MoveCounter[64];
SideRecord WhiteSide;
SideRecord BlackSide;
Bitboard RotatedFile, RotatedDiag, RotatedAntiDiag;
int32_t SideToMove;
int32_t GamePhase;
PlyRecord Ply[MaxPly];
Move MoveStack[MoveStackSize + MaxListLength];
int32_t MoveScores[MoveStackSize + MaxListLength];
int32_t GameMoveCount;
int32_t LastIrreversibleMove;
KeyPair GameKeyHistory[GameHistorySize];
Bitboard SetMask[64], ClearMask[64], SetMaskFile[64], SetMaskDiag[64], SetMaskAntiDiag[64], ClearMaskFile[64], ClearMaskDiag[64], ClearMaskAntiDiag[64];
Bitboard FileMask[8], RankMask[8], NotFileA, NotFileH, LightSquares, DarkSquares;
int32_t Direction[64][64];
Bitboard Between[64][64];
uint8_t Distance[64][64];
uint8_t FileDistance[64][64];
uint64_t KeyTable[2][7][64];
uint64_t EnPassantKey[64];
const char StartFen[] = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";
void InitDistances() {}
void InitSquareMasks() {}
void InitDerivedSquareMasks() {}
uint64_t Random64() { return 0; }
void InitPositionKeys() {}
void SetStartPosition() {}
void SetUpFromTokens(TokenSlot *, int) {}
int ReadFenFields(TokenSlot *, int) { return 1; }
void DerivePositionState() {}
void ResetSearchState() {}
KeyPair ComputeKeys() { return {}; }
int PositionIsConsistent() { return 1; }
