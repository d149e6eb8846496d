// How well one annotation's ?? marks agree with a reference annotation of the
// same games: precision (the share of its ?? that the reference marks ?? too)
// and recall (the share of the reference's ?? that it marks), with the ??
// the reference does not fault at all.
// Usage: node scripts/compare-verdicts.mjs REFERENCE.pgn ANNOTATED.pgn
import { createReadStream } from 'node:fs';
import { readLines, splitGames } from '../src/pgn.js';

// Each main-line move's NAG (0 for none), from a game's text.
function mainLineNags(text) {
  let body = text.split('\n').filter((line) => !line.trim().startsWith('[')).join(' ');
  body = body.replace(/\{[^}]*\}/g, ' ').replace(/;[^\n]*/g, ' ');
  while (/\([^()]*\)/.test(body)) body = body.replace(/\([^()]*\)/g, ' ');
  const nags = [];
  for (const token of body.split(/\s+/)) {
    if (!token || /^\d+\.+$/.test(token) || /^(1-0|0-1|1\/2-1\/2|\*)$/.test(token)) continue;
    if (token.startsWith('$')) nags[nags.length - 1] = Number(token.slice(1));
    else nags.push(0);
  }
  return nags;
}

async function gameNags(file) {
  const games = [];
  for await (const text of splitGames(readLines(createReadStream(file)))) games.push(mainLineNags(text));
  return games;
}

const [referenceFile, annotatedFile] = process.argv.slice(2);
if (!annotatedFile) {
  console.error('Usage: node scripts/compare-verdicts.mjs REFERENCE.pgn ANNOTATED.pgn');
  process.exit(2);
}
const [reference, annotated] = await Promise.all([gameNags(referenceFile), gameNags(annotatedFile)]);
if (reference.length !== annotated.length) throw new Error(`${reference.length} games against ${annotated.length}`);
let marked = 0;
let found = 0;
let both = 0;
let clean = 0;
reference.forEach((moves, g) => {
  if (moves.length !== annotated[g].length) throw new Error(`game ${g + 1}: ${moves.length} moves against ${annotated[g].length}`);
  moves.forEach((nag, i) => {
    const mine = annotated[g][i];
    if (nag === 4) found += 1;
    if (mine !== 4) return;
    marked += 1;
    if (nag === 4) both += 1;
    if (nag === 0) clean += 1;
  });
});
const ratio = (a, b) => (b ? (a / b).toFixed(2) : '-');
console.log(`${annotatedFile}: ${marked} ??, ${both} of them ?? in the reference too, ${clean} no fault there; the reference has ${found} ??`);
console.log(`precision ${ratio(both, marked)}, recall ${ratio(both, found)}`);
