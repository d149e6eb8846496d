// Reading the engine's UCI output lines and writing its commands. Words
// only: every decision (time, stop, fallback move, score text) is the
// engine's own.

const InfoNumbers = ['depth', 'seldepth', 'multipv', 'nodes', 'time', 'nps', 'hashfull', 'currmovenumber', 'tbhits'];

// An "info" line as an object: numbers, score ({ cp } or { mate }, with
// bound 'lower' or 'upper' for a window failure), currmove, pv (moves) or
// string (the text of "info string").
export function parseInfo(line) {
  const words = line.trim().split(/\s+/);
  const info = {};
  for (let i = 1; i < words.length; i += 1) {
    const word = words[i];
    if (word === 'string') {
      info.string = words.slice(i + 1).join(' ');
      break;
    }
    if (word === 'pv') {
      info.pv = words.slice(i + 1);
      break;
    }
    if (InfoNumbers.includes(word)) {
      info[word] = Number(words[++i]);
    } else if (word === 'score') {
      const kind = words[++i];
      info.score = { [kind === 'mate' ? 'mate' : 'cp']: Number(words[++i]) };
      if (words[i + 1] === 'lowerbound' || words[i + 1] === 'upperbound') info.score.bound = words[++i].slice(0, 5);
    } else if (word === 'currmove') {
      info.currmove = words[++i];
    }
  }
  return info;
}

// True for a note by which the engine refuses a position or a move; the
// game it would search then is not the one asked for.
export function isRefusal(note) {
  return /^(illegal position|illegal move|position needs)\b/.test(note);
}

// An "option name ... type ..." line as { name, type, default, min, max }.
export function parseOption(line) {
  const match = /^option name (.+?) type (\w+)(.*)$/.exec(line.trim());
  if (!match) return null;
  const option = { name: match[1], type: match[2] };
  const rest = match[3];
  const field = (key) => new RegExp(`\\b${key} (\\S+)`).exec(rest)?.[1];
  if (option.type === 'spin') {
    option.default = Number(field('default'));
    option.min = Number(field('min'));
    option.max = Number(field('max'));
  } else if (option.type === 'check') {
    option.default = field('default') === 'true';
  } else if (option.type === 'string') {
    option.default = / default ?(.*)$/.exec(rest)?.[1] ?? '';
  }
  return option;
}

// A "position" command for a FEN ("startpos" or undefined for the start
// position) and coordinate moves played on it.
export function positionCommand(fen, moves = []) {
  const start = !fen || fen === 'startpos' ? 'startpos' : `fen ${fen}`;
  return `position ${start}${moves.length ? ` moves ${moves.join(' ')}` : ''}`;
}

const LimitWords = ['wtime', 'btime', 'winc', 'binc', 'movestogo', 'depth', 'nodes', 'mate', 'movetime'];

// A "go" command for limits such as { depth: 10 }, { movetime: 500 } or
// { wtime, btime, winc, binc }, and searchmoves (the root moves to search);
// without any limit the search runs until stop.
export function goCommand(limits = {}) {
  const words = ['go'];
  if (limits.ponder) words.push('ponder');
  for (const key of LimitWords) {
    if (limits[key] !== undefined && limits[key] !== null) words.push(key, String(Math.max(0, Math.round(limits[key]))));
  }
  if (words.length === 1 || limits.infinite) words.push('infinite');
  if (limits.searchmoves?.length) words.push('searchmoves', ...limits.searchmoves);
  return words.join(' ');
}

// True when White is to move after the moves on a FEN (or the start position).
export function whiteToMove(fen, moves = []) {
  const white = !fen || fen === 'startpos' || fen.split(/\s+/)[1] !== 'b';
  return moves.length % 2 === 0 ? white : !white;
}
