// Generation of captures and queen promotions.
#pragma once

#include "board.h"

// Captures (en passant included) and queen promotions of colour Us into the
// list of ply.
template <int Us>
void GenerateCaptures(int ply);
