// The benchmark set: openings, middlegames and endgames, quiet and tactical.
//
// Procedure (the same through the exports and through the core, so both give
// the same signature): VarnInit with a 32 MB table once; then for each
// position in order: VarnClearHashtable, VarnSetPosition(fen),
// VarnSetDepth(BenchDepth), VarnAnalyse(0). The signature is the sum, over the
// positions, of the node count sent with the last line report of each
// search. The same binary always gives the same signature; a change that
// alters it changes what the search does.
#pragma once

struct BenchPosition {
  const char *fen;
};

constexpr BenchPosition BenchPositions[] = {
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"},
    {"rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -"},
    {"r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -"},
    {"r1bqkb1r/pppp1ppp/2n2n2/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R w KQkq -"},
    {"rnbqkb1r/pp2pppp/3p1n2/8/3NP3/8/PPP2PPP/RNBQKB1R w KQkq -"},
    {"rnbqk2r/ppp1bppp/4pn2/3p4/2PP4/2N2N2/PP2PPPP/R1BQKB1R w KQkq -"},
    {"r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N2N2/PP2BPPP/R2QKB1R w KQ -"},
    {"r2q1rk1/pp1bbppp/2n1pn2/3p4/3P4/2NBPN2/PP3PPP/R1BQ1RK1 w - -"},
    {"r1bqr1k1/pp1nbppp/2p2n2/3p2B1/3P4/2NBP3/PPQ1NPPP/R3K2R w KQ -"},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -"},
    {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P3/P1NP1N2/1PP1QPPP/R4RK1 w - -"},
    {"2rq1rk1/pb2bppp/1p2pn2/2pp4/2PP4/1P2PN2/PB1NBPPP/2RQ1RK1 w - -"},
    {"r1b2rk1/2q1bppp/p2ppn2/1p6/3NP3/1BN1B3/PPP2PPP/R2Q1RK1 w - -"},
    {"2r2rk1/1bqnbppp/p2ppn2/1p6/3NP3/P1N1BP2/1PPQB1PP/2KR3R w - -"},
    {"r2qr1k1/1p1b1pp1/p1np1n1p/2p1p3/2P1P3/2NPBN1P/PP1Q1PP1/R3R1K1 w - -"},
    {"3r1rk1/pp3pp1/2n1b2p/q1bpP3/8/P1NB1N2/1PQ2PPP/3RR1K1 w - -"},
    {"r1b1k2r/ppppnppp/2n2q2/2b5/3NP3/2P1B3/PP3PPP/RN1QKB1R w KQkq -"},
    {"r3r1k1/ppq2pp1/2p1bn1p/8/2BP4/2N1Q3/PP3PPP/3RR1K1 w - -"},
    {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - -"},
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -"},
    {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -"},
    {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -"},
    {"2r3k1/pp3ppp/8/3q4/8/1P3Q2/P4PPP/2R3K1 w - -"},
    {"8/8/4k3/3p4/3P4/4K3/8/8 w - -"},
    {"8/5pk1/6p1/8/5P2/6P1/6K1/8 w - -"},
    {"8/8/1p6/1P1k4/8/3K4/8/8 w - -"},
    {"4k3/8/8/8/8/8/4P3/4K3 w - -"},
    {"8/8/8/4k3/8/8/2B1N3/4K3 w - -"},
    {"6k1/6p1/8/8/8/8/4R3/6K1 w - -"},
    {"1r4k1/5ppp/8/8/8/8/5PPP/1R4K1 b - -"},
};

constexpr int BenchDepth = 10;
