// Writes N games of an engine against itself as PGN, for the annotator's
// benchmark and the check of its verdicts when no collection of real games
// is at hand: each starts from one of the openings in an EPD file, takes four
// random moves for variety, then searches each move to a low depth (or a
// number of nodes); unfinished ("*") after 160 half-moves. The engine is
// Varn's built-in one unless --engine names a UCI program.
// Usage: node scripts/make-games.mjs OPENINGS.epd N [depth] [seed]
//          [--engine PATH] [--nodes N] > games.pgn
import { readFileSync } from 'node:fs';
import { parseArgs } from 'node:util';
import { Chess } from 'chess.js';
import { VarnEngine } from '../src/index.js';
import { startProgram } from '../src/annotate/program.js';

const { values, positionals } = parseArgs({ allowPositionals: true, options: { engine: { type: 'string' }, nodes: { type: 'string' } } });
const [openingsFile, count = '100', depthText = '5', seedText = '1'] = positionals;
if (!openingsFile) {
  console.error('Usage: node scripts/make-games.mjs OPENINGS.epd N [depth] [seed] [--engine PATH] [--nodes N] > games.pgn');
  process.exit(2);
}
const limits = values.nodes ? { nodes: Number(values.nodes) } : { depth: Number(depthText) };
const openings = readFileSync(openingsFile, 'utf8').split('\n').filter(Boolean).map((line) => `${line.split(' ').slice(0, 4).join(' ')} 0 1`);
let seed = Number(seedText);
const random = (n) => {
  seed = (seed * 1103515245 + 12345) % 2147483648;
  return Math.floor((seed / 2147483648) * n);
};
const engine = values.engine ? await startProgram(values.engine) : await VarnEngine.start();
const name = engine.name.split(' ')[0];
for (let game = 1; game <= Number(count); game += 1) {
  const start = openings[(game - 1) % openings.length];
  const chess = new Chess(start);
  const moves = [];
  await engine.newGame();
  while (!chess.isGameOver() && moves.length < 160) {
    let lan;
    if (moves.length < 4) {
      const legal = chess.moves({ verbose: true });
      lan = legal[random(legal.length)].lan;
    } else {
      lan = (await engine.position(start, moves).limits(limits).analyse()).bestmove;
    }
    chess.move({ from: lan.slice(0, 2), to: lan.slice(2, 4), promotion: lan[4] });
    moves.push(lan);
  }
  const result = chess.isCheckmate() ? (chess.turn() === 'w' ? '0-1' : '1-0') : chess.isGameOver() ? '1/2-1/2' : '*';
  chess.setHeader('Event', `${name} self-play`);
  chess.setHeader('Round', String(game));
  chess.setHeader('White', name);
  chess.setHeader('Black', name);
  chess.setHeader('Result', result);
  chess.setHeader('SetUp', '1');
  chess.setHeader('FEN', start);
  process.stdout.write(`${chess.pgn()}\n\n`);
  if (game % 10 === 0) process.stderr.write(`${game} games\n`);
}
await engine.quit();
