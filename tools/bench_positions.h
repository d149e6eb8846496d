// The benchmark set: openings, middlegames, endgames, tactical and quiet
// positions, each searched to BenchDepth plies.
//
// Procedure, the same in varn-bench and in the host's "bench" command, so
// that both print the same total node count for the same build: with the
// default parameters and a 32 MB table (VarnInit with 32768 KB, no
// parameter set), for each position in order:
//   1. VarnClearHashtable();
//   2. VarnSetPosition(fen);
//   3. VarnSetDepth(BenchDepth);
//   4. VarnAnalyse(0);
// and add up NodeCount of each search (the last ReportNodes value of the
// search equals it only when a report came late enough; varn-bench reads
// NodeCount directly). The history counters carry over from one position
// to the next (divided by 65536 at each search), so the set is always run
// whole and in this order. The count is a signature of the search: any
// change of search, ordering or evaluation behaviour changes it.
#pragma once

struct BenchPosition {
  const char *fen;
};

constexpr BenchPosition BenchPositions[] = {
    // Openings.
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"},
    {"rnbqkb1r/pp1p1ppp/4pn2/2p5/2PP4/2N5/PP2PPPP/R1BQKBNR w KQkq - 0 4"},
    {"r1bqkbnr/pppp1ppp/2n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3"},
    {"rnbqkb1r/ppp2ppp/4pn2/3p4/2PP4/2N5/PP2PPPP/R1BQKBNR w KQkq - 2 4"},
    {"rnbqk2r/ppp1ppbp/3p1np1/8/2PPP3/2N5/PP3PPP/R1BQKBNR w KQkq - 1 5"},
    {"r1bqk2r/pppp1ppp/2n2n2/2b1p3/2B1P3/3P1N2/PPP2PPP/RNBQK2R w KQkq - 4 5"},
    // Middlegames.
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"},
    {"r1bq1rk1/pp2bppp/2n2n2/2pp4/3P4/2PBPN2/P1Q2PPP/R1B2RK1 w - - 0 10"},
    {"r2q1rk1/pp1bbppp/2nppn2/8/3NP3/2N1B3/PPPQBPPP/R4RK1 w - - 6 10"},
    {"2rq1rk1/pp1bppbp/3p1np1/4n3/3NP2P/1BN1BP2/PPPQ2P1/2KR3R w - - 1 13"},
    {"r1b2rk1/2q1bppp/p2ppn2/1p6/3BPP2/2NB4/PPPQ2PP/R4R1K w - - 2 14"},
    {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10"},
    {"rnbq1rk1/pp3pbp/3p1np1/2pP4/4P3/2N2N2/PP2BPPP/R1BQK2R w KQ - 2 9"},
    {"r1bqr1k1/ppp2ppp/2np1n2/2b1p3/2B1P3/2PP1N2/PP1N1PPP/R1BQR1K1 w - - 5 8"},
    // Tactical positions.
    {"r1b1kb1r/pp1n1ppp/2q1p3/1N1pP3/3P4/5N2/PP3PPP/R2QKB1R w KQkq - 1 11"},
    {"2r3k1/1p3ppp/p1n1b3/3pP3/1P1N4/P3B3/5PPP/2R3K1 w - - 0 25"},
    {"r1bqk2r/ppp2ppp/2n5/3np3/1bB5/2N2N2/PPPP1PPP/R1BQK2R w KQkq - 0 6"},
    {"r1b1k2r/ppppnppp/2n2q2/2b5/3NP3/2P1B3/PP3PPP/RN1QKB1R w KQkq - 0 1"},
    {"3q1rk1/p4pp1/2pb3p/3p4/6Pr/1PNQ4/P1PB1PP1/4RRK1 b - - 0 1"},
    {"5rk1/1ppb3p/p1pb4/6q1/3P1p1r/2P1R2P/PP1BQ1P1/5RKN w - - 0 1"},
    {"3r1k2/4npp1/1ppr3p/p6P/P2PPPP1/1NR5/5K2/2R5 w - - 0 1"},
    // Endgames.
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1"},
    {"8/8/4k3/8/2p5/8/B2P2K1/8 w - - 0 1"},
    {"8/pp2r1k1/2p1p3/3pP2p/P2P1P2/1P4K1/6R1/8 w - - 0 30"},
    {"8/5pk1/6p1/8/8/6P1/5PK1/3R4 w - - 0 1"},
    {"8/3k4/8/2P5/5p2/2K5/8/8 w - - 0 1"},
    {"8/8/1p1r1k2/p1pPN1p1/P3KnP1/1P6/8/3R4 b - - 0 1"},
    {"8/3k4/8/8/3PK3/8/8/8 w - - 0 1"},
    {"4k3/8/8/8/8/8/8/4K2R w K - 0 1"},
    {"8/k7/3p4/p2P1p2/P2P1P2/8/8/K7 w - - 0 1"},
};

// Plies searched per position.
constexpr int BenchDepth = 9;
