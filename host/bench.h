// The benchmark run through the library's exports.
#pragma once

// Searches every benchmark position to the benchmark depth and prints the
// total node count and the speed. No search may run.
void RunBench();
