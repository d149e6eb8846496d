// One "go" at a time: the library's search on its own thread, a watchdog that
// stops it on the host's deadlines, and the reports turned into UCI lines.
// Built with VARN_SINGLE_THREAD the search runs on the caller's thread and the
// watchdog's check runs whenever the search reads the clock.
#include "session.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <iterator>
#include <mutex>
#ifndef VARN_SINGLE_THREAD
#include <thread>
#endif

#include "exports.h"
#include "game.h"
#include "level.h"
#include "lines.h"
#include "options.h"
#include "output.h"
#include "reports.h"
#include "rules.h"

#include "../tools/bench_positions.h"

namespace {

using Clock = std::chrono::steady_clock;

// The bestmove of a position without a legal move, as GUIs read it.
constexpr const char *NoMove = "(none)";

// What the reports of the current go told so far; written by the callbacks,
// which run on the thread inside VarnAnalyse.
struct ReportState {
  int32_t depth = 0;
  NodeCounter counter;        // the running VarnAnalyse call's nodes
  uint64_t earlierNodes = 0;  // earlier calls of this go (follow-up, level)
  uint64_t nodes = 0;         // all of this go's nodes so far
  int64_t nodesMs = 0;        // ms since the go when the library last counted them
  uint64_t lineNodes = 0;     // the running call's count at its last line report
  std::string bestLine;       // last exact line, moves in UCI notation
  int32_t bestDepth = 0;      // its depth and score
  int32_t bestScore = 0;
  std::string fallbackMove;   // the root list's front move, or the last fail high
  std::string fallbackScore;  // " score ..." of a fail high, "" for a front move
  std::vector<ScoredMove> lines;  // several lines: those of bestDepth, best first
  bool quiet = false;         // reports are read, not printed (bench, level, lines)
};

// State shared by the caller's thread, the search thread and the watchdog.
struct SharedState {
  bool active = false;       // from the go until bestmove is written
  bool analysing = false;    // inside VarnAnalyse
  bool phasePonder = false;  // the running VarnAnalyse was started to ponder
  bool stopRequested = false;
  bool ponderHit = false;
  bool nodesReached = false; // a report reached the plan's node limit
  bool mateFound = false;    // a line reached the plan's mate limit
  bool uncut = false;        // the running VarnAnalyse is a short search for a move
  Clock::time_point uncutStart;
  bool watchdogQuit = false;
  SearchPlan plan;
  Clock::time_point goTime;
  Clock::time_point clockBase;  // go, or ponderhit for a ponder search
};

// What a go hands to its search thread.
struct SearchOrder {
  SearchPlan plan;
  std::string hostMove;     // played when the library reports nothing
  std::string noMoveScore;  // score shown when there is no legal move
  bool level = false;       // a level chooses the move
  int elo = LevelEloMax;
  size_t lines = 0;         // several lines, or only some root moves: how many lines
  std::string fen, moves;   // the game as the library gets it, for the level and the lines
  std::vector<RootChild> children;
  bool allMoves = true;     // no searchmoves left out a legal move
};

ReportState Report;
SharedState State;
std::mutex StateLock;
std::condition_variable StateChanged;
#ifndef VARN_SINGLE_THREAD
std::thread SearchThread;
std::thread WatchdogThread;
#endif
std::string PreviousLine;  // the exact line of the search before the current one

// The word at index in a line ("" when missing).
std::string WordAt(const std::string &line, size_t index) {
  std::vector<std::string> words = SplitWords(line);
  return index < words.size() ? words[index] : "";
}

// Milliseconds since the current go.
int64_t ElapsedSinceGo() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - State.goTime).count();
}

// The words of an info line from depth to score: the nodes the library last
// counted with the time they took, so the speed is true also when a search
// ends long after its last report (a deadline, a held bestmove); line is the
// line's number among several (0: one line only).
std::string InfoHead(int32_t depth, const std::string &score, size_t line = 0) {
  const int64_t ms = Report.nodesMs;
  const uint64_t nps = Report.nodes * 1000 / uint64_t(std::max<int64_t>(1, ms));
  return "info depth " + std::to_string(depth) + (line ? " multipv " + std::to_string(line) : "") + " nodes " +
         std::to_string(Report.nodes) + " time " + std::to_string(ms) + " nps " + std::to_string(nps) + score;
}

// The report of a root move about to be searched at depth.
void SayCurrentMove(int32_t depth, const std::string &move, size_t index) {
  Say("info depth " + std::to_string(depth) + " currmove " + move + " currmovenumber " + std::to_string(index));
}

// Tells the watchdog when a report reached the plan's node limit.
void NoteNodes() {
  std::lock_guard<std::mutex> guard(StateLock);
  if (State.plan.nodeLimit >= 0 && Report.nodes >= uint64_t(State.plan.nodeLimit)) State.nodesReached = true;
#ifdef VARN_SINGLE_THREAD
  // No watchdog runs beside the search here: the report stops it itself.
  if (State.nodesReached) Varn.StopAnalyse();
#endif
  StateChanged.notify_all();
}

// Ends a "go mate N" search once an exact line mates in N moves or fewer. The
// stop is set here, inside the report, so no deeper line follows it.
void NoteMate(int32_t score) {
  std::lock_guard<std::mutex> guard(StateLock);
  const int32_t mate = MateMoves(score);
  if (mate < 1 || mate > State.plan.mateMoves) return;
  State.mateFound = true;
  Varn.StopAnalyse();
  StateChanged.notify_all();
}

// Slots 1 and 6: the library never calls them.
void OnReserved() {}

// Node count, sent before every line or root-move report.
void OnNodes(uint32_t nodes, int32_t, int32_t) {
  Report.nodes = Report.earlierNodes + Report.counter.Add(nodes);
  Report.nodesMs = ElapsedSinceGo();
}

// Iteration depth in plies, sent first in every report.
void OnDepth(int32_t depth, int32_t) { Report.depth = depth; }

// A root move about to be searched.
void OnCurrentMove(const char *move, int32_t index, int32_t) {
  if (!move || !*move) return;
  // The front of the root list is the best move of the last iteration.
  if (index == 1) {
    Report.fallbackMove = LowerCase(move);
    Report.fallbackScore.clear();
  }
  NoteNodes();
  if (Report.quiet) return;
  SayCurrentMove(Report.depth, LowerCase(move), size_t(index));
}

// A new best line ("m1 m2 ... "), or a window failure ("m1!" or "m1?").
void OnLine(const char *text, int32_t score) {
  if (!text || !*text) return;
  const LineReport report = ReadLineReport(text);
  const std::string &bound = report.bound;
  if (report.moves.empty()) return;
  Report.lineNodes = Report.counter.Total();
  const std::string pv = JoinWords(report.moves);
  if (bound.empty()) {
    Report.bestLine = pv;
    Report.bestDepth = Report.depth;
    Report.bestScore = score;
    if (!Report.quiet) NoteMate(score);
  } else if (bound == " lowerbound") {
    Report.fallbackMove = report.moves[0];
    Report.fallbackScore = " score " + ScoreText(score) + bound;
  }
  NoteNodes();
  if (Report.quiet) return;
  Say(InfoHead(Report.depth, " score " + ScoreText(score) + bound) + " pv " + pv);
}

// True once the search must end: a stop, the node limit or the deadline
// (whose clock does not run while pondering).
bool StopDue(Clock::time_point now) {
  const SharedState &s = State;
  const int64_t deadline = HostDeadlineMs(s.plan, s.ponderHit);
  const bool timeUp = deadline >= 0 && now >= s.clockBase + std::chrono::milliseconds(deadline);
  return s.stopRequested || s.nodesReached || s.mateFound || timeUp;
}

bool StopDueNow() {
  std::lock_guard<std::mutex> guard(StateLock);
  return StopDue(Clock::now());
}

// Waits until released() holds: on the condition variable, or without threads
// by giving the front end turns to take the host's commands.
template <class Released>
void WaitUntil(Released released) {
#ifdef VARN_SINGLE_THREAD
  while (!released()) HostTurn(true);
#else
  std::unique_lock<std::mutex> lock(StateLock);
  StateChanged.wait(lock, released);
#endif
}

// When the running short search for a move may be cut (see ShortSearch).
Clock::time_point ShortSearchCut() {
  return State.uncutStart + std::chrono::milliseconds(ShortSearchCutMs(State.plan, State.stopRequested));
}

// True once the running VarnAnalyse must be stopped: a short search for a
// move only when its grace is over, any other search when StopDue says so.
bool CutDue(Clock::time_point now) {
  return State.uncut ? now >= ShortSearchCut() : StopDue(now);
}

#ifndef VARN_SINGLE_THREAD
// The deadline after now, if any.
bool NextDeadline(Clock::time_point now, Clock::time_point &wake) {
  const SharedState &s = State;
  if (!s.analysing) return false;
  if (s.uncut) {
    wake = ShortSearchCut();
    return true;
  }
  const int64_t deadline = HostDeadlineMs(s.plan, s.ponderHit);
  if (deadline < 0) return false;
  wake = s.clockBase + std::chrono::milliseconds(deadline);
  return wake > now;
}

// Stops searches at the host's deadlines and on request; the stop is repeated
// until VarnAnalyse returns, since a stop sent just before the library's own
// start of search would be cleared by it.
void Watchdog() {
  std::unique_lock<std::mutex> lock(StateLock);
  while (!State.watchdogQuit) {
    Clock::time_point now = Clock::now();
    Clock::time_point wake;
    const bool deadline = NextDeadline(now, wake);
    if (State.analysing && CutDue(now)) {
      Varn.StopAnalyse();
      StateChanged.wait_for(lock, std::chrono::milliseconds(StopRepeatMs));
      continue;
    }
    if (deadline) {
      StateChanged.wait_until(lock, wake);
    } else {
      StateChanged.wait(lock);
    }
  }
}
#endif

// One VarnAnalyse call with the watchdog informed; returns its result. An
// uncut call is left to end by its own limit.
int32_t Analyse(bool ponder, bool uncut = false) {
  bool asPonder = false;
  {
    std::lock_guard<std::mutex> guard(StateLock);
    asPonder = ponder && !State.ponderHit;
    State.phasePonder = asPonder;
    State.analysing = true;
    State.uncut = uncut;
    State.uncutStart = Clock::now();
    Report.earlierNodes = Report.nodes;
    Report.counter = NodeCounter();
    StateChanged.notify_all();
  }
#ifdef VARN_SINGLE_THREAD
  // The library reads no clock while it ponders, and this build hears the host
  // only at clock reads: it ponders as an endless search instead.
  if (asPonder) Varn.SetInfinite();
  const int32_t result = Varn.Analyse(0);
#else
  const int32_t result = Varn.Analyse(asPonder ? 1 : 0);
#endif
  {
    std::lock_guard<std::mutex> guard(StateLock);
    State.analysing = false;
    State.phasePonder = false;
    State.uncut = false;
    StateChanged.notify_all();
  }
  return result;
}

// Gives the library the plan's search limit.
void SetLimit(const SearchPlan &plan) {
  switch (plan.mode) {
    case LimitMode::Infinite: Varn.SetInfinite(); break;
    case LimitMode::Depth: Varn.SetDepth(plan.depth); break;
    case LimitMode::Blitz: Varn.SetBlitz(plan.clockSeconds, plan.incrementSeconds); break;
    case LimitMode::MovesInTime: Varn.SetTime(plan.moves, plan.clockSeconds); break;
  }
}

// A writable copy of text for the library's in-place tokenizer.
std::vector<char> Writable(const std::string &text) {
  std::vector<char> buffer(text.begin(), text.end());
  buffer.push_back('\0');
  return buffer;
}

// Hands a position to the library: a FEN ("" for the start position) and
// moves played on it.
void SendPosition(const std::string &fen, const std::string &moves) {
  if (fen.empty()) {
    Varn.SetStartPosition();
  } else {
    std::vector<char> text = Writable(fen);
    Varn.SetPosition(text.data());
  }
  if (!moves.empty()) {
    std::vector<char> text = Writable(moves);
    Varn.SetGame(text.data());
  }
}

// The search of the position after root moves for the level and the lines:
// the game's position with the moves played on it, searched to plies.
PositionSearch SearchAfter(const SearchOrder &order) {
  return [&order](const std::string &moves, int plies, int32_t &score, std::string &line) {
    if (StopDueNow()) return false;
    SendPosition(order.fen, order.moves.empty() ? moves : order.moves + " " + moves);
    Varn.SetDepth(plies);
    Report.bestLine.clear();
    Analyse(false);
    score = Report.bestScore;
    line = Report.bestLine;
    return !line.empty();
  };
}

// A level's move: passes over the root moves, each a ply deeper than the last
// up to the level's depth while time allows, then the choice among the last
// complete pass. Without a complete pass the level has no move of its own.
void RunLevel(const SearchOrder &order) {
  const LevelStyle style = LevelStyleFor(order.elo);
  Report.quiet = true;
  std::vector<ScoredMove> scored;
  int32_t depth = 0;
  for (int plies = MinimumReportedDepth; plies <= style.childPlies; ++plies) {
    std::vector<ScoredMove> pass = ScoreRootMoves(order.children, plies, SearchAfter(order));
    // A pass the clock cut short may lack the best move: the last complete one stands.
    if (pass.size() < order.children.size()) break;
    scored = std::move(pass);
    depth = plies + 1;
    if (!LevelMayDeepen(order.plan, ElapsedSinceGo())) break;
  }
  Report.quiet = false;
  Report.bestLine.clear();
  Report.fallbackMove.clear();
  if (scored.empty()) return;
  const ScoredMove &chosen = scored[ChooseLevelMove(scored, style)];
  Report.bestLine = chosen.line;
  Report.bestScore = chosen.score;
  Report.bestDepth = depth;
}

// A short ordinary search of the root: the move of a go that ended before it
// found one. Neither a stop nor the deadline cuts it before its grace is over;
// it costs a few hundredths of a second.
void ShortSearch(const SearchOrder &order) {
  SendPosition(order.fen, order.moves);
  Varn.SetDepth(MinimumReportedDepth);
  Analyse(false, true);
}

// The info line of line number index at depth.
std::string LineInfo(int depth, size_t index, const ScoredMove &line) {
  return InfoHead(depth, " score " + ScoreText(line.score), index) + " pv " + line.line;
}

// Several lines, or only the root moves a GUI named: passes over those root
// moves, each completed one reported line by line, while the plan allows.
void RunLines(const SearchOrder &order) {
  LinesRequest request;
  request.count = order.lines;
  request.lastDepth = order.plan.mode == LimitMode::Depth ? std::max(order.plan.depth, LinesMinimumDepth) : 31;
  request.search = SearchAfter(order);
  request.stopped = StopDueNow;
  request.mayDeepen = [](int) {
    std::lock_guard<std::mutex> guard(StateLock);
    const Clock::time_point now = Clock::now();
    const bool clockRuns = !(State.plan.ponder && !State.ponderHit);
    const int64_t elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now - State.clockBase).count();
    return !StopDue(now) && LinesMayDeepen(State.plan, clockRuns, elapsed);
  };
  request.searching = [](int depth, size_t index, const std::string &move) {
    if (ElapsedSinceGo() > 1000) SayCurrentMove(depth, move, index);
  };
  request.completed = [](int depth, const std::vector<ScoredMove> &lines) {
    for (size_t i = 0; i < lines.size(); ++i) Say(LineInfo(depth, i + 1, lines[i]));
    if (State.plan.mateMoves >= 0) NoteMate(lines[0].score);
  };
  Report.quiet = true;
  // The library's own best move at the fewest plies leads the first pass, and
  // is played when no pass got far enough to score a move.
  Varn.SetDepth(MinimumReportedDepth);
  Analyse(false);
  const std::string lead = WordAt(Report.bestLine, 0);
  std::vector<RootChild> children = order.children;
  const auto at = std::find_if(children.begin(), children.end(), [&](const RootChild &c) { return c.move == lead; });
  if (at != children.end()) std::rotate(children.begin(), at, at + 1);
  int depth = 0;
  Report.lines = SearchLines(children, request, depth);
  Report.quiet = false;
  Report.bestLine.clear();
  Report.fallbackMove = at != children.end() ? lead : "";
  Report.fallbackScore.clear();
  if (Report.lines.empty()) return;
  Report.bestLine = Report.lines[0].line;
  Report.bestScore = Report.lines[0].score;
  Report.bestDepth = depth;
}

// The search thread: the planned search (or a level's), a depth-5 follow-up
// when it ended before it reported a line (cut by the host's deadline only
// when a fail high or the front root move can be played instead), the wait a
// held bestmove needs, then bestmove.
void RunSearch(SearchOrder order) {
  const SearchPlan &plan = order.plan;
  int32_t result = 0;
  if (order.level) {
    RunLevel(order);
  } else if (order.lines) {
    RunLines(order);
  } else {
    SetLimit(plan);
    result = Analyse(plan.ponder);
#ifdef VARN_SINGLE_THREAD
    // A ponderhit ended the endless ponder search: search again on the clock,
    // starting from the table the pondering filled.
    if (plan.ponder && State.ponderHit && !State.stopRequested) {
      SetLimit(plan);
      result = Analyse(false);
    }
#endif
    if (!Report.fallbackMove.empty() && FollowUpDue(result == 0, !Report.bestLine.empty(), StopDueNow())) {
      Varn.SetDepth(MinimumReportedDepth);
      Analyse(false);
    }
  }
  // Nothing to play yet (a stop or the deadline came first): a short ordinary
  // search gives the move, never the first legal one. It searches every move,
  // so moves a GUI named fall back to the first of them instead.
  if (result == 0 && Report.bestLine.empty() && Report.fallbackMove.empty() && order.allMoves) ShortSearch(order);
  WaitUntil([&] { return State.stopRequested || !plan.hold || (plan.ponder && State.ponderHit); });
  std::string best = WordAt(Report.bestLine, 0);
  std::string ponder = WordAt(Report.bestLine, 1);
  // The last word before bestmove: the line played, with its depth and score
  // where the library reported them.
  std::string info = InfoHead(Report.bestDepth, " score " + ScoreText(Report.bestScore)) + " pv " + Report.bestLine;
  if (best.empty()) {
    best = Report.fallbackMove.empty() ? order.hostMove : Report.fallbackMove;
    info = InfoHead(Report.depth, Report.fallbackMove.empty() ? "" : Report.fallbackScore) + " pv " + best;
  }
  if (result != 0 || best.empty()) {
    best = NoMove;
    ponder.clear();
    info = InfoHead(Report.depth, order.noMoveScore.empty() ? "" : " score " + order.noMoveScore);
  }
  if (!Report.lines.empty()) {
    for (size_t i = 0; i < Report.lines.size(); ++i) Say(LineInfo(Report.bestDepth, i + 1, Report.lines[i]));
  } else {
    Say(info);
  }
  Say("bestmove " + best + (ponder.empty() ? "" : " ponder " + ponder));
  std::lock_guard<std::mutex> guard(StateLock);
  State.active = false;
  StateChanged.notify_all();
}

// Starts the order on a new search thread (and the watchdog on first use);
// false when no thread could be started, then nothing was written.
bool StartSearch(const SearchOrder &order) {
#ifndef VARN_SINGLE_THREAD
  if (SearchThread.joinable()) SearchThread.join();
#endif
  if (!Report.bestLine.empty()) PreviousLine = Report.bestLine;
  Report = ReportState();
  {
    std::lock_guard<std::mutex> guard(StateLock);
    const bool quit = State.watchdogQuit;
    State = SharedState();
    State.watchdogQuit = quit;
    State.active = true;
    State.plan = order.plan;
    State.goTime = Clock::now();
    State.clockBase = State.goTime;
  }
#ifdef VARN_SINGLE_THREAD
  RunSearch(order);
#else
  try {
    if (!WatchdogThread.joinable()) WatchdogThread = std::thread(Watchdog);
    SearchThread = std::thread(RunSearch, order);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "varn: cannot start a search thread (%s); answering without a search\n", error.what());
    std::lock_guard<std::mutex> guard(StateLock);
    State.active = false;
    return false;
  }
#endif
  return true;
}

// Answers a go without a search: a final info line (with the score text when
// one is known) and "bestmove move", NoMove when move is "".
void AnswerAtOnce(const std::string &move, const std::string &score) {
  Say("info depth 0 nodes 0 time 0" + (score.empty() ? "" : " score " + score) + (move.empty() ? "" : " pv " + move));
  Say("bestmove " + (move.empty() ? NoMove : move));
}

// The move played when the library reports none in time: the previous
// search's line continued when the game followed it, else the first legal
// move; "" when there is none.
std::string HostMove(const std::vector<std::string> &legal) {
  const std::vector<std::string> line = SplitWords(Report.bestLine.empty() ? PreviousLine : Report.bestLine);
  const std::vector<std::string> &played = GameMoves();
  const size_t n = played.size();
  if (line.size() > 2 && n >= 2 && played[n - 2] == line[0] && played[n - 1] == line[1] &&
      std::find(legal.begin(), legal.end(), line[2]) != legal.end())
    return line[2];
  return legal.empty() ? "" : legal[0];
}

}  // namespace

const VarnCallbacks SessionCallbacks = {OnReserved, OnNodes, OnDepth, OnCurrentMove, OnLine, OnReserved};

bool StartSession(std::string &error) {
  {
    std::lock_guard<std::mutex> guard(StateLock);
    State.watchdogQuit = false;
  }
  if (!StartEngine(error)) return false;
  ReseedLevel();
  return true;
}

void EndSession() {
  JoinSearch(true);
  {
    std::lock_guard<std::mutex> guard(StateLock);
    State.watchdogQuit = true;
    StateChanged.notify_all();
  }
#ifndef VARN_SINGLE_THREAD
  if (WatchdogThread.joinable()) WatchdogThread.join();
#endif
  StopEngine();
}

void SetPosition(const std::vector<std::string> &words, size_t first) {
#ifdef VARN_SHARED_CORE
  // The rules share the core with the library here: no search may run.
  JoinSearch(true);
#endif
  for (const std::string &note : SetGamePosition(words, first)) Say("info string " + note);
}

void Go(const GoRequest &request, bool wait) {
  JoinSearch(true);
  if (!GameIsLegal()) {
    AnswerAtOnce("", "");
    return;
  }
  SearchOrder order;
  std::vector<std::string> notes;
  const std::vector<std::string> legal = RulesLegalMoves(GameFen());
  const std::vector<std::string> roots = ChosenRootMoves(legal, request.searchMoves, notes);
  order.hostMove = HostMove(roots);
  order.noMoveScore = legal.empty() ? (RulesInCheck(GameFen()) ? "mate 0" : "cp 0") : "";
  if (request.perft >= 0) {
    Say("info string perft is not supported: answering with a move at once");
    AnswerAtOnce(order.hostMove, order.noMoveScore);
    return;
  }
  for (const std::string &note : notes) Say("info string " + note);
  order.elo = int(OptionValue(EloOption));
  order.level = OptionValue(LimitStrengthOption) && order.elo < LevelEloMax && !legal.empty();
  const size_t lines = size_t(OptionValue(MultiPVOption));
  // A single legal move is answered by the ordinary search, which plays it at once.
  if (!order.level && legal.size() > 1 && (lines > 1 || roots.size() < legal.size())) order.lines = lines;
  const int leastDepth = order.lines ? LinesMinimumDepth : MinimumReportedDepth;
  if (request.depth >= 0 && request.depth < leastDepth)
    Say("info string depth " + std::to_string(request.depth) + " is searched to depth " + std::to_string(leastDepth) +
        ", the least the engine reports" + (order.lines ? " for several lines" : ""));
  order.plan = PlanSearch(request, GameWhiteToMove(), CurrentPlanSettings());
  if (ClockSpent(order.plan)) {
    AnswerAtOnce(order.hostMove, order.noMoveScore);
    return;
  }
  ReseedLevelIfAsked();
  order.allMoves = roots.size() == legal.size();
  if (order.level || order.lines) order.children = RootChildren(GameFen(), roots);
  SyncEngine();
  // Room for a root move and its forced reply.
  GameHandover(order.fen, order.moves, order.level || order.lines ? 2 : 0);
  SendPosition(order.fen, order.moves);
  if (!StartSearch(order)) {
    AnswerAtOnce(order.hostMove, order.noMoveScore);
    return;
  }
  if (wait && !order.plan.hold) JoinSearch(false);
}

void Stop() {
  std::lock_guard<std::mutex> guard(StateLock);
  if (!State.active) return;
  State.stopRequested = true;
  StateChanged.notify_all();
}

void PonderHit() {
  std::lock_guard<std::mutex> guard(StateLock);
  if (!State.active || !State.plan.ponder || State.ponderHit) return;
  State.ponderHit = true;
  State.clockBase = Clock::now();
  // The library's clock starts now too; a search that has not yet entered
  // VarnAnalyse starts without pondering instead.
#ifdef VARN_SINGLE_THREAD
  // Here the pondering is an endless search, which ends to search on the clock.
  if (State.analysing && State.phasePonder) Varn.StopAnalyse();
#else
  if (State.analysing && State.phasePonder) Varn.PonderingOff();
#endif
  StateChanged.notify_all();
}

void NewGame() {
  JoinSearch(true);
  // The last game's line must not choose a move of the new one.
  Report.bestLine.clear();
  PreviousLine.clear();
  RequestClearHash();
  SyncEngine();
  ReseedLevel();
}

void Ready() {
  if (!SearchActive()) SyncEngine();
}

bool SearchActive() {
  std::lock_guard<std::mutex> guard(StateLock);
  return State.active;
}

void JoinSearch(bool stopFirst) {
  if (stopFirst) Stop();
#ifndef VARN_SINGLE_THREAD
  if (SearchThread.joinable()) SearchThread.join();
#endif
}

#ifdef VARN_SINGLE_THREAD
void OnClockRead() {
  // A command taken here may read the clock again (ponderhit).
  static bool inside = false;
  if (inside || !State.analysing) return;
  inside = true;
  HostTurn(false);
  if (CutDue(Clock::now())) Varn.StopAnalyse();
  inside = false;
}
#endif

void RunBench(int depth) {
  JoinSearch(true);
  SyncEngine();
  if (depth < 1) depth = BenchDepth;
  uint64_t total = 0;
  const auto start = Clock::now();
  for (const BenchPosition &position : BenchPositions) {
    // The engine's own benchmark procedure, so both give the same node total.
    Varn.ClearHashtable();
    SendPosition(position.fen, "");
    Varn.SetDepth(depth);
    Report = ReportState();
    Report.quiet = true;
    Varn.Analyse(0);
    total += Report.lineNodes;
  }
  Report = ReportState();
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  Say("positions " + std::to_string(std::size(BenchPositions)) + " depth " + std::to_string(depth));
  Say("nodes " + std::to_string(total));
  Say("time " + std::to_string(ms) + " ms");
  Say("nps " + std::to_string(total * 1000 / uint64_t(ms > 0 ? ms : 1)));
}
