// WebAssembly build only: the address of the engine's stop word. The engine
// runs inside a worker over shared memory, so the page stops a search by
// storing 1 there, exactly what VarnStopAnalyse does from a second thread.
#include <emscripten/emscripten.h>

#include <cstdint>

#include "interface.h"

static_assert(sizeof(StopSearch) == sizeof(int32_t), "the page writes the stop word as one 32-bit word");

extern "C" EMSCRIPTEN_KEEPALIVE uintptr_t WebStopWord() { return reinterpret_cast<uintptr_t>(&StopSearch); }
