// Scripted UCI sessions with the varn host running as a child process.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "moves.h"
#include "support/position.h"

namespace {

using Clock = std::chrono::steady_clock;

// Generous limit for any awaited line: the tests check results, not speed.
constexpr int WaitMs = 20000;

constexpr const char *StartFen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

// The host as a child process with its standard input and output on pipes.
class HostProcess {
 public:
  explicit HostProcess(const std::vector<std::string> &arguments = {}) {
    int toChild[2], fromChild[2];
    if (pipe(toChild) != 0 || pipe(fromChild) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      dup2(toChild[0], 0);
      dup2(fromChild[1], 1);
      close(toChild[1]);
      close(fromChild[0]);
      std::vector<char *> argv{const_cast<char *>(VARN_HOST_PATH)};
      for (const std::string &a : arguments) argv.push_back(const_cast<char *>(a.c_str()));
      argv.push_back(nullptr);
      execv(VARN_HOST_PATH, argv.data());
      _exit(127);
    }
    close(toChild[0]);
    close(fromChild[1]);
    input_ = toChild[1];
    output_ = fromChild[0];
    signal(SIGPIPE, SIG_IGN);
  }

  ~HostProcess() {
    if (input_ >= 0) close(input_);
    if (pid_ > 0 && !exited_) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    if (output_ >= 0) close(output_);
  }

  void Send(const std::string &line) {
    std::string text = line + "\n";
    ASSERT_EQ(write(input_, text.data(), text.size()), ssize_t(text.size()));
  }

  void CloseInput() {
    close(input_);
    input_ = -1;
  }

  // Next line, or false when none came within ms milliseconds or output ended.
  bool ReadLine(std::string &line, int ms = WaitMs) {
    const auto until = Clock::now() + std::chrono::milliseconds(ms);
    for (;;) {
      size_t newline = buffer_.find('\n');
      if (newline != std::string::npos) {
        line = buffer_.substr(0, newline);
        buffer_.erase(0, newline + 1);
        lines_.push_back(line);
        return true;
      }
      const int left = int(std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count());
      if (left <= 0) return false;
      pollfd p{output_, POLLIN, 0};
      if (poll(&p, 1, left) <= 0) continue;
      char chunk[4096];
      ssize_t n = read(output_, chunk, sizeof chunk);
      if (n <= 0) return false;
      buffer_.append(chunk, size_t(n));
    }
  }

  // Reads up to and including the first line starting with prefix; "" if none.
  std::string WaitFor(const std::string &prefix, int ms = WaitMs) {
    std::string line;
    while (ReadLine(line, ms))
      if (line.rfind(prefix, 0) == 0) return line;
    return "";
  }

  // Exit status once the process ends within ms milliseconds, else -1.
  int WaitExit(int ms = WaitMs) {
    const auto until = Clock::now() + std::chrono::milliseconds(ms);
    while (Clock::now() < until) {
      int status = 0;
      if (waitpid(pid_, &status, WNOHANG) == pid_) {
        exited_ = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
      }
      std::string line;
      ReadLine(line, 10);
    }
    return -1;
  }

  // Every line read so far.
  const std::vector<std::string> &Lines() const { return lines_; }

  int CountStartingWith(const std::string &prefix) const {
    return int(std::count_if(lines_.begin(), lines_.end(), [&](const std::string &l) { return l.rfind(prefix, 0) == 0; }));
  }

 private:
  pid_t pid_ = -1;
  int input_ = -1, output_ = -1;
  bool exited_ = false;
  std::string buffer_;
  std::vector<std::string> lines_;
};

// The move of a "bestmove" line.
std::string BestMove(const std::string &line) {
  std::istringstream words(line);
  std::string head, move;
  words >> head >> move;
  return move;
}

// Legal moves of a position in UCI text (promotion letters in lower case).
std::vector<std::string> LegalMoves(const std::string &fen) {
  SetFen(fen.c_str());
  std::vector<std::string> moves;
  const int count = LegalRootMoves(SideToMove);
  for (int i = 1; i <= count; ++i) {
    Move m = MoveStack[i];
    std::string text = {char('a' + MoveFrom(m) % 8), char('1' + MoveFrom(m) / 8), char('a' + MoveTo(m) % 8),
                        char('1' + MoveTo(m) / 8)};
    if (MovePromotion(m)) text += " pnbrqk"[MovePromotion(m)];
    moves.push_back(text);
  }
  return moves;
}

bool IsLegal(const std::string &fen, const std::string &move) {
  std::vector<std::string> moves = LegalMoves(fen);
  return std::find(moves.begin(), moves.end(), move) != moves.end();
}

TEST(UciHandshake, AnnouncesIdentityAndEveryOption) {
  HostProcess host;
  host.Send("uci");
  ASSERT_NE(host.WaitFor("uciok"), "");
  const std::vector<std::string> &lines = host.Lines();
  const std::vector<std::string> expected = {
      "id name Varn 504",
      "id author Kaspo Trem",
      "option name RecaptureExtensions type spin default 45 min 0 max 60",
      "option name PawnPushExtensions type spin default 45 min 0 max 60",
      "option name ThreatExtensions type spin default 36 min 0 max 60",
      "option name SingleMoveExtensions type spin default 45 min 0 max 60",
      "option name DrawScore type spin default 15 min -50 max 50",
      "option name BlitzPlayingSpeed type spin default 26 min 25 max 35",
      "option name CheckExtensions type spin default 60 min 0 max 60",
      "option name FutilityPruning type spin default 0 min 0 max 500",
      "option name MaterialTrade type spin default 120 min 0 max 150",
      "option name OffensiveAsymmetry type spin default 0 min -50 max 50",
      "option name SafetyAsymmetry type spin default 0 min -50 max 50",
      "option name OffensiveScale type spin default 100 min 0 max 200",
      "option name SafetyScale type spin default 100 min 0 max 200",
      "option name Hash type spin default 32 min 1 max 1024",
      "option name Ponder type check default false",
      "option name Clear Hash type button",
      "uciok"};
  EXPECT_EQ(lines, expected);
  host.Send("isready");
  EXPECT_EQ(host.WaitFor("readyok"), "readyok");
}

// Malformed and unknown input changes nothing; a command after unknown words
// on its line still runs.
TEST(UciInput, GarbageIsIgnored) {
  HostProcess host;
  for (const char *line : {"", "   \t ", "xyzzy", "position", "position fen", "position banana moves e2e4",
                           "setoption", "setoption name", "setoption name Hash value banana",
                           "setoption name NoSuchOption value 3", "setoption name DrawScore", "stop", "ponderhit",
                           "debug on", "register later", "isready\r"})
    host.Send(line);
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  host.Send("joho isready");
  EXPECT_EQ(host.WaitFor("readyok"), "readyok");
  EXPECT_EQ(host.CountStartingWith("bestmove"), 0);
  // Bad limits are skipped; the clock that remains is an empty one.
  host.Send("go wtime -5 btime x movetime");
  EXPECT_TRUE(IsLegal(StartFen, BestMove(host.WaitFor("bestmove"))));
  host.Send("position startpos moves f2f3 e7e5 g2g4");
  host.Send("go depth 5");
  EXPECT_EQ(BestMove(host.WaitFor("bestmove")), "d8h4");
}

// Moves after the position reach the library, and the reports show the mate.
TEST(UciSearch, PositionWithMovesAndMateScores) {
  HostProcess host;
  host.Send("position startpos moves f2f3 e7e5 g2g4");
  host.Send("go depth 6");
  ASSERT_EQ(host.WaitFor("bestmove"), "bestmove d8h4");
  bool mateLine = false;
  for (const std::string &line : host.Lines())
    mateLine |= line.find(" score mate 1 ") != std::string::npos && line.find(" pv d8h4") != std::string::npos;
  EXPECT_TRUE(mateLine);
  // White's only move allows mate at once: mated after the opponent's reply.
  host.Send("position fen 6k1/8/8/8/8/1r6/r7/7K w - - 0 1");
  host.Send("go depth 6");
  EXPECT_EQ(host.WaitFor("bestmove"), "bestmove h1g1 ponder b3b1");
  EXPECT_GT(host.CountStartingWith("info depth 5 nodes"), 0);
  bool matedLine = false;
  for (const std::string &line : host.Lines()) matedLine |= line.find(" score mate -1 pv h1g1") != std::string::npos;
  EXPECT_TRUE(matedLine);
}

TEST(UciSearch, InfoLinesCarryDepthNodesTimeAndLine) {
  HostProcess host;
  host.Send("position startpos moves e2e4");
  host.Send("go depth 7");
  ASSERT_NE(host.WaitFor("bestmove"), "");
  int depth = 4;
  for (const std::string &line : host.Lines()) {
    if (line.rfind("info depth", 0) != 0 || line.find(" pv ") == std::string::npos) continue;
    std::istringstream words(line);
    std::string info, key;
    int d = 0;
    words >> info >> key >> d;
    EXPECT_GE(d, depth) << line;
    depth = d;
    EXPECT_NE(line.find(" nodes "), std::string::npos) << line;
    EXPECT_NE(line.find(" time "), std::string::npos) << line;
    EXPECT_NE(line.find(" nps "), std::string::npos) << line;
    EXPECT_NE(line.find(" score "), std::string::npos) << line;
  }
  EXPECT_EQ(depth, 7);
}

// Promotions come from the GUI in lower case and go back in lower case.
TEST(UciSearch, PromotionsInBothDirections) {
  HostProcess host;
  const std::string fen = "8/P6k/8/8/8/8/8/K7 w - - 0 1";
  host.Send("position fen " + fen);
  host.Send("go depth 6");
  EXPECT_EQ(BestMove(host.WaitFor("bestmove")), "a7a8q");
  host.Send("position fen " + fen + " moves a7a8q");
  host.Send("go depth 6");
  EXPECT_EQ(BestMove(host.WaitFor("bestmove")).substr(0, 2), "h7");
}

// Checkmate and stalemate answer 0000; in infinite mode only after stop.
TEST(UciSearch, NoLegalMoveAnswersNullMove) {
  HostProcess host;
  host.Send("position startpos moves f2f3 e7e5 g2g4 d8h4");
  host.Send("go depth 8");
  EXPECT_EQ(host.WaitFor("bestmove"), "bestmove 0000");
  host.Send("position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
  host.Send("go infinite");
  host.Send("isready");
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  EXPECT_EQ(host.CountStartingWith("bestmove"), 1);
  host.Send("stop");
  EXPECT_EQ(host.WaitFor("bestmove"), "bestmove 0000");
}

TEST(UciSearch, InfiniteWaitsForStop) {
  HostProcess host;
  host.Send("position startpos");
  host.Send("go infinite");
  // Root moves are reported once the search has run for a second.
  std::string line;
  bool currentMove = false;
  while (!currentMove && host.ReadLine(line)) currentMove = line.find(" currmovenumber ") != std::string::npos;
  EXPECT_TRUE(currentMove);
  host.Send("isready");
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  EXPECT_EQ(host.CountStartingWith("bestmove"), 0);
  EXPECT_GT(host.CountStartingWith("info depth"), 0);
  host.Send("stop");
  std::string best = BestMove(host.WaitFor("bestmove"));
  EXPECT_TRUE(IsLegal(StartFen, best)) << best;
  host.Send("stop");
  host.Send("isready");
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  EXPECT_EQ(host.CountStartingWith("bestmove"), 1);
}

TEST(UciSearch, PonderWaitsForPonderhitOrStop) {
  HostProcess host;
  host.Send("position startpos moves e2e4 e7e5");
  host.Send("go ponder wtime 2000 btime 2000 winc 0 binc 0");
  usleep(300 * 1000);
  host.Send("isready");
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  EXPECT_EQ(host.CountStartingWith("bestmove"), 0);
  host.Send("ponderhit");
  std::string best = BestMove(host.WaitFor("bestmove"));
  EXPECT_TRUE(IsLegal("rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - 0 2", best)) << best;
  // A ponder miss: the GUI stops the search and ignores its move.
  host.Send("go ponder wtime 2000 btime 2000");
  host.Send("stop");
  EXPECT_NE(host.WaitFor("bestmove"), "");
  host.Send("isready");
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  EXPECT_EQ(host.CountStartingWith("bestmove"), 2);
}

// Every go ends with exactly one bestmove, whatever ends it, and the move is
// legal even on clocks too short for the library's own time rules.
TEST(UciSearch, EveryGoEndsWithOneLegalBestmove) {
  HostProcess host;
  const std::string fen = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3";
  host.Send("position fen " + fen);
  const std::vector<std::string> goes = {"go depth 5",
                                         "go depth 1",
                                         "go movetime 150",
                                         "go movetime 0",
                                         "go wtime 1 btime 1",
                                         "go wtime 60 btime 60 winc 0 binc 0",
                                         "go wtime 700 btime 700 winc 100 binc 100",
                                         "go wtime 1500 btime 1500 movestogo 1",
                                         "go wtime 3000 btime 3000 movestogo 40",
                                         "go wtime 2000 btime 2000 winc 1000 binc 1000",
                                         "go depth 20 wtime 400 btime 400",
                                         "go nodes 20000",
                                         "go mate 1"};
  for (const std::string &go : goes) {
    host.Send(go);
    std::string best = BestMove(host.WaitFor("bestmove"));
    EXPECT_TRUE(IsLegal(fen, best)) << go << " gave " << best;
  }
  // A go while searching ends the running search first.
  host.Send("go infinite");
  host.Send("go depth 5");
  host.Send("go infinite");
  host.Send("stop");
  for (int i = 0; i < 3; ++i) EXPECT_NE(host.WaitFor("bestmove"), "");
  host.Send("isready");
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  EXPECT_EQ(host.CountStartingWith("bestmove"), int(goes.size()) + 3);
}

// Options reach the library between searches; a new hash size restarts it.
TEST(UciOptions, HashParametersAndClearHash) {
  HostProcess host;
  host.Send("setoption name Hash value 1");
  host.Send("setoption name drawscore value -80");
  host.Send("setoption name BlitzPlayingSpeed value 35");
  host.Send("setoption name Clear Hash");
  host.Send("setoption name Ponder value true");
  host.Send("isready");
  ASSERT_EQ(host.WaitFor("readyok"), "readyok");
  host.Send("ucinewgame");
  host.Send("position startpos moves f2f3 e7e5 g2g4");
  host.Send("setoption name Hash value 64");
  host.Send("go depth 5");
  EXPECT_EQ(BestMove(host.WaitFor("bestmove")), "d8h4");
  host.Send("go infinite");
  host.Send("setoption name Hash value 2");
  host.Send("isready");
  EXPECT_EQ(host.WaitFor("readyok"), "readyok");
  host.Send("stop");
  EXPECT_EQ(BestMove(host.WaitFor("bestmove")), "d8h4");
}

TEST(UciLifetime, QuitAndEndOfInput) {
  {
    HostProcess host;
    host.Send("go infinite");
    host.Send("quit");
    EXPECT_EQ(host.WaitExit(), 0);
  }
  {
    // At the end of input a finite search still finishes and answers.
    HostProcess host;
    host.Send("position startpos moves f2f3 e7e5 g2g4");
    host.Send("go depth 6");
    host.CloseInput();
    EXPECT_EQ(host.WaitFor("bestmove"), "bestmove d8h4");
    EXPECT_EQ(host.WaitExit(), 0);
  }
}

TEST(UciCommandLine, RunsArgumentsAsCommands) {
  {
    HostProcess host({"position", "fen", "rnbqkbnr/pppp1ppp/8/4p3/6P1/5P2/PPPPP2P/RNBQKBNR b KQkq - 0 2", "go",
                      "depth", "6"});
    EXPECT_EQ(host.WaitFor("bestmove"), "bestmove d8h4");
    EXPECT_EQ(host.WaitExit(), 0);
  }
  {
    // Commands may also come as one argument each.
    HostProcess host({"position startpos moves f2f3 e7e5 g2g4", "go depth 5", "isready"});
    EXPECT_EQ(host.WaitFor("bestmove"), "bestmove d8h4");
    EXPECT_EQ(host.WaitFor("readyok"), "readyok");
    EXPECT_EQ(host.WaitExit(), 0);
  }
  {
    // A shallower depth keeps the run short; the full set still runs.
    HostProcess host({"bench", "5"});
    std::string nodes = host.WaitFor("nodes ");
    ASSERT_NE(nodes, "");
    EXPECT_GT(std::stoll(nodes.substr(6)), 0);
    EXPECT_NE(host.WaitFor("nps "), "");
    EXPECT_EQ(host.WaitExit(), 0);
  }
}

}  // namespace
