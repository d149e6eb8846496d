// The benchmark run through the library's exports.
#pragma once

// Searches every benchmark position to the benchmark depth (or to depth when
// it is 1 or more) and prints the total node count and the speed. No search
// may run.
void RunBench(int depth);
