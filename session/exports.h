// The engine library as every front end reaches it: its eighteen exports in
// one table, filled by a loader (the shared library, found at run time) or by
// linking the engine in (WebAssembly).
#pragma once

#include "../Native/varn504.h"

// Addresses of the eighteen exports: Varn.Analyse for VarnAnalyse and so on.
struct VarnExports {
#define VARN_SLOT(name, result, parameters) Varn##name##Fn name;
  VARN_EXPORTS(VARN_SLOT)
#undef VARN_SLOT
};

// The table of a program that links the library in: the exports themselves.
#define VARN_LINKED_SLOT(name, result, parameters) Varn##name,
#define VARN_LINKED_EXPORTS {VARN_EXPORTS(VARN_LINKED_SLOT)}

// The exports of the library in use; every slot is set before a session starts.
extern VarnExports Varn;
