// Generation of check evasions.
#pragma once

#include "board.h"

// The legal answers of colour Us, which must be in check, into the list of ply.
template <int Us>
void GenerateEvasions(int ply);
