// One line at a time, under a lock, so lines from two threads never mix.
#include "output.h"

#include <cstdio>
#include <mutex>

namespace {
std::mutex OutputLock;
void (*Sink)(const std::string &) = nullptr;
}  // namespace

void Say(const std::string &line) {
  std::lock_guard<std::mutex> guard(OutputLock);
  if (Sink) {
    Sink(line);
    return;
  }
  const std::string text = line + "\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

void SetOutput(void (*sink)(const std::string &line)) {
  std::lock_guard<std::mutex> guard(OutputLock);
  Sink = sink;
}
