// PGN around chess.js: collections split into games as they stream in, a
// game read with its tags, moves and comments, lines in standard algebraic
// notation, and an annotated game written back.
import { Chess } from 'chess.js';

// A game's result at the end of its text, and one tag pair.
export const Termination = /(?:1-0|0-1|1\/2-1\/2|\*)$/;
export const TagLine = /^\[\s*([A-Za-z0-9_+#=:-]+)\s+"((?:[^"\\]|\\.)*)"\s*\]$/;

// Lines of a stream of text chunks (bytes or strings), one chunk at a time.
export async function* readLines(chunks) {
  const decoder = new TextDecoder();
  let rest = '';
  for await (const chunk of chunks) {
    rest += typeof chunk === 'string' ? chunk : decoder.decode(chunk, { stream: true });
    const lines = rest.split('\n');
    rest = lines.pop();
    for (const line of lines) yield line.endsWith('\r') ? line.slice(0, -1) : line;
  }
  rest += decoder.decode();
  if (rest) yield rest;
}

// The movetext of a line with its comments taken out; depth carries a brace
// comment over line ends. Returns [text outside comments, new depth].
function outsideComments(line, depth) {
  let text = '';
  for (const char of line) {
    if (depth > 0) {
      if (char === '}') depth = 0;
    } else if (char === '{') {
      depth = 1;
    } else if (char === ';') {
      break;
    } else {
      text += char;
    }
  }
  return [text, depth];
}

// The games of a collection, each as its text, from an iterable of lines. A
// game ends where a tag line follows its moves, or where anything follows
// its termination marker. Holds one game at a time.
export async function* splitGames(lines) {
  let game = [];
  let moves = false; // the game has movetext
  let ended = false; // its movetext ended with a termination marker
  let depth = 0; // inside a comment that spans lines
  let first = true;
  for await (let line of lines) {
    if (first && line.charCodeAt(0) === 0xfeff) line = line.slice(1);
    first = false;
    const trimmed = line.trim();
    const isTag = depth === 0 && trimmed.startsWith('[');
    if (trimmed && depth === 0 && ((isTag && moves) || (ended && !isTag))) {
      const text = game.join('\n').trim();
      if (text) yield text;
      game = [];
      moves = false;
      ended = false;
    }
    game.push(line);
    if (!trimmed || isTag || trimmed.startsWith('%')) continue;
    moves = true;
    let outside;
    [outside, depth] = outsideComments(line, depth);
    if (outside.trim()) ended = depth === 0 && Termination.test(outside.trim());
  }
  const text = game.join('\n').trim();
  if (text) yield text;
}

// Plays a move in coordinates ("e2e4", "e7e8q") on a chess.js game; the
// chess.js move, or null when it is not legal there.
export function playCoordinate(chess, text) {
  try {
    return chess.move({ from: text.slice(0, 2), to: text.slice(2, 4), promotion: text[4]?.toLowerCase() });
  } catch {
    return null;
  }
}

// A game's text read: { tags ([name, raw value] in order), start (FEN),
// moves (chess.js moves: san, lan, before, after, color), comments (FEN
// after a move -> text), result }. Throws with the reason for a game that
// cannot be read.
export function readGame(text) {
  const lines = text.split('\n');
  const tags = [];
  let i = 0;
  for (; i < lines.length; i += 1) {
    const line = lines[i].trim();
    if (!line || line.startsWith('%')) continue;
    if (!line.startsWith('[')) break;
    const tag = TagLine.exec(line);
    if (!tag) throw new Error(`broken tag ${line}`);
    tags.push([tag[1], tag[2]]);
  }
  let movetext = '';
  let depth = 0;
  for (const line of lines.slice(i)) {
    let outside;
    [outside, depth] = outsideComments(line, depth);
    movetext += ` ${outside}`;
  }
  const result = Termination.exec(movetext.trim())?.[0];
  if (!result) throw new Error('no result at the end of its moves: the game is cut short');
  const chess = new Chess();
  chess.loadPgn(text);
  const moves = chess.history({ verbose: true });
  const comments = new Map(chess.getComments().map(({ fen, comment }) => [fen, comment]));
  return { tags, start: moves.length ? moves[0].before : chess.fen(), moves, comments, result };
}

// An engine line (coordinate moves) in standard algebraic notation with
// move numbers, from the position fen; it stops at the first move that is
// not legal there.
export function lineSan(fen, moves) {
  const chess = new Chess(fen);
  const parts = [];
  for (const text of moves) {
    const played = playCoordinate(chess, text);
    if (!played) break;
    const number = chess.moveNumber() - (played.color === 'b' ? 1 : 0);
    if (played.color === 'w') parts.push(`${number}.`);
    else if (parts.length === 0) parts.push(`${number}...`);
    parts.push(played.san);
  }
  return parts.join(' ');
}

// A tag value written with PGN's escapes.
export function tagValue(text) {
  return String(text).replace(/\\/g, '\\\\').replace(/"/g, '\\"');
}

// Movetext tokens joined into lines of at most width characters where the
// tokens allow.
function wrap(tokens, width = 80) {
  const lines = [];
  let line = '';
  for (const token of tokens) {
    // A move number stays on the line of its move.
    if (line && line.length + 1 + token.length > width && !line.endsWith('.')) {
      lines.push(line);
      line = token;
    } else {
      line = line ? `${line} ${token}` : token;
    }
  }
  if (line) lines.push(line);
  return lines.join('\n');
}

// A game written as PGN. game: as readGame returns it, plus notes per move
// { nag, eval (the [%eval] value of the position after it), comment (text),
// variation (SAN text) } and extra tags [name, value] that replace tags of the same name.
// keepComments: the game's own comments stay (less any old [%eval]).
export function writeGame(game, notes, extraTags = [], keepComments = true) {
  const replaced = new Set(extraTags.map(([name]) => name));
  const tags = game.tags.filter(([name]) => !replaced.has(name)).map(([name, raw]) => `[${name} "${raw}"]`);
  for (const [name, value] of extraTags) tags.push(`[${name} "${tagValue(value)}"]`);
  const comment = (fen, extra) => {
    const own = keepComments ? (game.comments.get(fen) || '').replace(/\[%eval [^\]]*\]/g, '').trim() : '';
    const text = [extra, own].filter(Boolean).join(' ');
    return text ? `{ ${text.replace(/}/g, ')')} }` : null;
  };
  const tokens = [];
  const opening = comment(game.start, '');
  if (opening) tokens.push(opening);
  let needNumber = true;
  game.moves.forEach((move, i) => {
    const number = Number(move.before.split(' ')[5]);
    if (move.color === 'w') tokens.push(`${number}.`);
    else if (needNumber) tokens.push(`${number}...`);
    tokens.push(move.san);
    const note = notes[i] || {};
    if (note.nag) tokens.push(`$${note.nag}`);
    const after = comment(move.after, [note.eval && `[%eval ${note.eval}]`, note.comment].filter(Boolean).join(' '));
    needNumber = Boolean(after || note.variation);
    if (after) tokens.push(after);
    if (note.variation) {
      const words = note.variation.split(' ');
      words[0] = `(${words[0]}`;
      words[words.length - 1] += ')';
      tokens.push(...words);
    }
  });
  tokens.push(game.result);
  return `${tags.join('\n')}${tags.length ? '\n\n' : ''}${wrap(tokens)}\n`;
}
