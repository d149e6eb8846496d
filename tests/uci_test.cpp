// Scripted UCI sessions: each file under tests/uci/ runs the varn host as a
// child process and checks its answers. A script line is one of
//   args WORDS        command-line arguments   } before
//   memory KB         address-space limit      } all others
//   > TEXT            sends TEXT as one input line
//   < REGEX           reads lines up to one that matches REGEX as a whole
//   <@MS REGEX        the same, arriving within MS ms of the last input
//   sleep MS          waits MS ms
//   close             closes the host's input
//   exit@MS           the host exits with status 0 within MS ms
// A bestmove or info string line no pattern asked for fails the session.
#include <poll.h>
#include <sys/resource.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;

// Generous limit for an awaited line without a deadline of its own.
constexpr int WaitMs = 20000;

// The host as a child process with its standard input and output on pipes.
class HostProcess {
 public:
  HostProcess(const std::vector<std::string> &arguments, rlim_t memoryKb) {
    int toChild[2], fromChild[2];
    if (pipe(toChild) != 0 || pipe(fromChild) != 0) return;
    signal(SIGPIPE, SIG_IGN);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(toChild[0], 0);
      dup2(fromChild[1], 1);
      close(toChild[1]);
      close(fromChild[0]);
      const rlimit limit{memoryKb * 1024, memoryKb * 1024};
      if (memoryKb) setrlimit(RLIMIT_AS, &limit);
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
  }

  ~HostProcess() {
    CloseInput();
    if (pid_ > 0 && !exited_) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    if (output_ >= 0) close(output_);
  }

  bool Send(const std::string &line) {
    const std::string text = line + "\n";
    return write(input_, text.data(), text.size()) == ssize_t(text.size());
  }

  void CloseInput() {
    if (input_ >= 0) close(input_);
    input_ = -1;
  }

  // Next line before the deadline; false when none came or output ended.
  bool ReadLine(std::string &line, Clock::time_point until) {
    for (;;) {
      const size_t newline = buffer_.find('\n');
      if (newline != std::string::npos) {
        line = buffer_.substr(0, newline);
        buffer_.erase(0, newline + 1);
        return true;
      }
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
      pollfd p{output_, POLLIN, 0};
      if (left <= 0 || poll(&p, 1, int(left)) <= 0) return false;
      char chunk[4096];
      const ssize_t n = read(output_, chunk, sizeof chunk);
      if (n <= 0) return false;
      buffer_.append(chunk, size_t(n));
    }
  }

  // True when the process ends with status 0 before the deadline.
  bool ExitsBy(Clock::time_point until) {
    while (Clock::now() < until) {
      int status = 0;
      if (waitpid(pid_, &status, WNOHANG) == pid_) {
        exited_ = true;
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
      }
      std::string line;
      ReadLine(line, Clock::now() + std::chrono::milliseconds(5));
    }
    return false;
  }

 private:
  pid_t pid_ = -1;
  int input_ = -1, output_ = -1;
  bool exited_ = false;
  std::string buffer_;
};

// The session scripts, by file name.
std::vector<std::string> SessionFiles() {
  std::vector<std::string> names;
  for (const auto &entry : std::filesystem::directory_iterator(VARN_UCI_SESSIONS))
    if (entry.path().extension() == ".txt") names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

class UciSession : public testing::TestWithParam<std::string> {};

TEST_P(UciSession, AnswersAsScripted) {
  std::ifstream script(std::string(VARN_UCI_SESSIONS) + "/" + GetParam());
  std::vector<std::string> lines;
  for (std::string line; std::getline(script, line);)
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  ASSERT_FALSE(lines.empty());
  std::vector<std::string> arguments;
  rlim_t memoryKb = 0;
  size_t number = 0;
  for (; number < lines.size(); ++number) {
    std::istringstream words(lines[number]);
    std::string head;
    words >> head;
    if (head == "memory") {
      words >> memoryKb;
    } else if (head == "args") {
      for (std::string word; words >> word;) arguments.push_back(word);
    } else {
      break;
    }
  }
#ifdef VARN_SANITIZED
  if (memoryKb) GTEST_SKIP() << "sanitizers reserve more address space than the limit";
#endif
  HostProcess host(arguments, memoryKb);
  Clock::time_point lastInput = Clock::now();
  for (; number < lines.size(); ++number) {
    const std::string &step = lines[number];
    SCOPED_TRACE(GetParam() + ": " + step);
    if (step.rfind("> ", 0) == 0) {
      ASSERT_TRUE(host.Send(step.substr(2)));
      lastInput = Clock::now();
    } else if (step.rfind("<", 0) == 0) {
      const size_t blank = step.find(' ');
      const bool timed = step.rfind("<@", 0) == 0;
      const auto until = timed ? lastInput + std::chrono::milliseconds(std::stoi(step.substr(2)))
                               : Clock::now() + std::chrono::milliseconds(WaitMs);
      const std::regex pattern(step.substr(blank + 1));
      std::string line;
      bool found = false;
      while (!found && host.ReadLine(line, until)) {
        found = std::regex_match(line, pattern);
        const bool unasked = line.rfind("bestmove", 0) == 0 || line.rfind("info string", 0) == 0;
        ASSERT_TRUE(found || !unasked) << "unexpected: " << line;
      }
      ASSERT_TRUE(found) << "no such line in time";
    } else if (step.rfind("sleep ", 0) == 0) {
      usleep(useconds_t(std::stoi(step.substr(6)) * 1000));
    } else if (step == "close") {
      host.CloseInput();
      lastInput = Clock::now();
    } else if (step.rfind("exit@", 0) == 0) {
      EXPECT_TRUE(host.ExitsBy(lastInput + std::chrono::milliseconds(std::stoi(step.substr(5)))));
    } else {
      FAIL() << "unknown script line";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Scripts, UciSession, testing::ValuesIn(SessionFiles()),
                         [](const testing::TestParamInfo<std::string> &info) {
                           return std::filesystem::path(info.param).stem().string();
                         });

}  // namespace
