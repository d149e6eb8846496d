// WebAssembly build: the engine, its search session and the UCI protocol in
// one module. A page, a worker or Node sends UCI command lines and reads the
// session's output lines. With threads, searches run on the session's own
// threads, so no call blocks for long and "stop" is heard at once; a line a
// search writes wakes the module's main thread to hand it on. Without
// them (VARN_SINGLE_THREAD) a "go" runs on the caller's thread and lets the
// JavaScript take new lines at the search's clock reads (an Asyncify sleep).
#include <emscripten/emscripten.h>
#ifndef VARN_SINGLE_THREAD
#include <emscripten/threading.h>
#endif

#include <deque>
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

#ifndef VARN_SINGLE_THREAD
// Tells the JavaScript on the module's main thread that output waits.
EM_JS(void, OutputWaiting, (), { Module["varnOutputWaiting"](); });

void Keep(const std::string &line) {
  bool first = false;
  {
    std::lock_guard<std::mutex> guard(WaitingLock);
    first = Waiting.empty();
    Waiting += line + "\n";
  }
  // The main thread reads after every command; lines a search thread writes
  // wake it, once until it has read them.
  if (first && !emscripten_is_main_runtime_thread())
    emscripten_async_run_in_main_runtime_thread(EM_FUNC_SIG_V, OutputWaiting);
}
#endif

}  // namespace

#ifdef VARN_SINGLE_THREAD

// Each output line goes to the JavaScript at once: nothing else runs to read it.
EM_JS(void, EmitLine, (const char *line), { Module["varnOutput"](UTF8ToString(line)); });

// Sleeps until the JavaScript has taken the messages waiting for it (with
// wait: until a new line came); the lines arrive through VarnUciCommand.
EM_ASYNC_JS(void, AwaitHost, (int wait), { await Module["varnTurn"](wait); });

namespace {

std::deque<std::string> Received;  // lines that came while a command ran
bool Running = false;              // a command runs, perhaps asleep in a turn
double LastTurnMs = 0;

// Least time between two turns during a search: each one unwinds and rewinds
// the search's stack, and clock reads come thousands of times a second near
// the root.
constexpr double TurnIntervalMs = 5;

void Emit(const std::string &line) { EmitLine(line.c_str()); }

// False for the commands that end a running search before they run (as in
// the build with threads): they wait until it has ended.
bool RunsBeside(const std::string &line) {
  for (const std::string &word : SplitWords(line)) {
    if (!IsUciCommandWord(word)) continue;
    return word != "go" && word != "position" && word != "ucinewgame" && word != "bench" && word != "quit";
  }
  return true;
}

}  // namespace

void HostTurn(bool wait) {
  if (!wait && emscripten_get_now() - LastTurnMs < TurnIntervalMs) return;
  AwaitHost(wait ? 1 : 0);
  LastTurnMs = emscripten_get_now();
  while (!Received.empty() && RunsBeside(Received.front())) {
    const std::string line = std::move(Received.front());
    Received.pop_front();
    RunUciCommand(SplitWords(line), false);
  }
  if (!Received.empty()) Stop();
}

#endif

// Starts the session; 1 on success, 0 when the engine could not start.
extern "C" EMSCRIPTEN_KEEPALIVE int VarnUciStart() {
#ifdef VARN_SINGLE_THREAD
  SetOutput(Emit);
#else
  SetOutput(Keep);
#endif
  std::string error;
  if (StartSession(error)) return 1;
  Say("info string " + error);
  return 0;
}

// Runs one UCI command line; 0 after "quit". Without threads a line that
// comes while a command runs waits for it (or, when it can, runs during the
// search), and the call that ran the first line runs the waiting ones too.
extern "C" EMSCRIPTEN_KEEPALIVE int VarnUciCommand(const char *line) {
#ifdef VARN_SINGLE_THREAD
  std::string text = line ? line : "";
  if (Running) {
    Received.push_back(text);
    return 1;
  }
  Running = true;
  bool alive = RunUciCommand(SplitWords(text), false);
  while (alive && !Received.empty()) {
    text = std::move(Received.front());
    Received.pop_front();
    alive = RunUciCommand(SplitWords(text), false);
  }
  Received.clear();
  Running = false;
  return alive ? 1 : 0;
#else
  return RunUciCommand(SplitWords(line ? line : ""), false) ? 1 : 0;
#endif
}

// The output lines written since the last call, each ended by a newline
// ("" when there are none); valid until the next call.
extern "C" EMSCRIPTEN_KEEPALIVE const char *VarnUciRead() {
  std::lock_guard<std::mutex> guard(WaitingLock);
  Handed.swap(Waiting);
  Waiting.clear();
  return Handed.c_str();
}
