// WebAssembly build: the engine, its search session and the UCI protocol in
// one module. A page, a worker or Node sends UCI command lines and reads the
// session's output lines; searches run on the session's own threads, so no
// call blocks for long and "stop" is heard at once.
#include <emscripten/emscripten.h>

#include <mutex>
#include <string>

#include "../../host/uci.h"
#include "../../session/exports.h"
#include "../../session/output.h"
#include "../../session/reports.h"
#include "../../session/session.h"

// The library is linked in: its exports are the functions themselves.
VarnExports Varn = VARN_LINKED_EXPORTS;

namespace {

std::mutex WaitingLock;
std::string Waiting;  // output lines not yet read, each ended by a newline
std::string Handed;   // the text of the last read, valid until the next one

void Keep(const std::string &line) {
  std::lock_guard<std::mutex> guard(WaitingLock);
  Waiting += line + "\n";
}

}  // namespace

// Starts the session; 1 on success, 0 when the engine could not start.
extern "C" EMSCRIPTEN_KEEPALIVE int VarnUciStart() {
  SetOutput(Keep);
  std::string error;
  if (StartSession(error)) return 1;
  Keep("info string " + error);
  return 0;
}

// Runs one UCI command line; 0 after "quit".
extern "C" EMSCRIPTEN_KEEPALIVE int VarnUciCommand(const char *line) {
  return RunUciCommand(SplitWords(line ? line : ""), false) ? 1 : 0;
}

// The output lines written since the last call, each ended by a newline
// ("" when there are none); valid until the next call.
extern "C" EMSCRIPTEN_KEEPALIVE const char *VarnUciRead() {
  std::lock_guard<std::mutex> guard(WaitingLock);
  Handed.swap(Waiting);
  Waiting.clear();
  return Handed.c_str();
}
