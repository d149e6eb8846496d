// Where a session's lines go: standard output by default, or wherever the
// front end that embeds the session wants them.
#pragma once

#include <string>

// Writes one line, whole, from any thread.
void Say(const std::string &line);

// Sends every later line to sink instead (null: back to standard output).
// The sink is called under a lock, one line at a time.
void SetOutput(void (*sink)(const std::string &line));
