// PGN for the package: collections split into games as they stream in, each
// game read into a tree of moves that keeps every comment, NAG and variation,
// Varn's own notes added beside them, and the tree written back as PGN.
import { Chess } from 'chess.js';
import parser from '@mliebelt/pgn-parser';

export const StartFen = 'rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1';

// A game's result at the end of its text, and one tag pair.
export const Termination = /(?:1-0|0-1|1\/2-1\/2|\*)$/;
export const TagLine = /^\[\s*([A-Za-z0-9_+#=:-]+)\s*"((?:[^"\\]|\\.)*)"\s*\]$/;
const TagPair = /^\[\s*([A-Za-z0-9_+#=:-]+)\s*"((?:[^"\\]|\\.)*)"\s*\]/;
// Results as the movetext gives them; "1/2" is a common short form.
const ResultToken = /^(?:1-0|0-1|1\/2-1\/2|1\/2|\*)$/;

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

// The end of the tag that opens at line[start]: the index after its "]".
function tagEnd(line, start) {
  let quoted = false;
  for (let i = start + 1; i < line.length; i += 1) {
    if (quoted && line[i] === '\\') i += 1;
    else if (line[i] === '"') quoted = !quoted;
    else if (!quoted && line[i] === ']') return i + 1;
  }
  return line.length;
}

// The games of a collection, each as its text, from an iterable of lines. A
// game ends where a tag follows its moves, or where a move follows its result,
// also within a line ("1-0[Event ..."). Holds one game at a time.
export async function* splitGames(lines) {
  let game = [];
  let moves = false; // the game has movetext
  let ended = false; // its last movetext token is a result
  let comment = false; // inside a brace comment, which may span lines
  let first = true;
  const finish = function* (part) {
    game.push(part);
    const text = game.join('\n').trim();
    if (text) yield text;
    game = [];
    moves = false;
    ended = false;
  };
  for await (let line of lines) {
    if (first && line.charCodeAt(0) === 0xfeff) line = line.slice(1);
    first = false;
    if (!comment && line.startsWith('%')) {
      game.push(line);
      continue;
    }
    let from = 0; // where this line's part of the current game begins
    let token = -1; // where the movetext token being read begins
    for (let i = 0; i <= line.length; i += 1) {
      const char = i < line.length ? line[i] : ' ';
      if (comment) {
        if (char === '}') comment = false;
        continue;
      }
      if (!/[\s{};[()]/.test(char)) {
        if (token < 0) token = i;
        continue;
      }
      if (token >= 0) {
        if (ended) {
          yield* finish(line.slice(from, token));
          from = token;
        }
        moves = true;
        ended = ResultToken.test(line.slice(token, i));
        token = -1;
      }
      if (char === '{') comment = true;
      else if (char === ';') break;
      else if (char === '(' || char === ')') {
        moves = true;
        ended = false;
      } else if (char === '[') {
        if (moves) {
          yield* finish(line.slice(from, i));
          from = i;
        }
        i = tagEnd(line, i) - 1;
      }
    }
    game.push(line.slice(from));
  }
  yield* finish('');
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

// ---- The game tree ---------------------------------------------------------
//
// A game is { tags: [name, value][], root, result, varnTags? }. The root is
// { fen, comments, children }: the start position and the comments before
// the first move. Each move is a node { san, lan, fen (after it), nags,
// comments (after it), startComments (before it, where a variation begins or
// after one), children }. children[0] continues the line, the others are its
// variations. What Varn adds is kept apart: node.varn { nags, comments },
// moves of a line it added carry fromVarn, and game.varnTags.

// A new game from a position (FEN), with the tags a set-up position needs.
export function newGame(fen = StartFen) {
  const tags = fen === StartFen ? [] : [['SetUp', '1'], ['FEN', fen]];
  return { tags, root: { fen, comments: [], children: [] }, result: '*' };
}

// A move as a node, from the position fen: move in coordinates or in
// algebraic notation (read leniently: "Ng1f3", "e2-e4"). null when illegal.
export function moveNode(fen, move) {
  const chess = new Chess(fen);
  let played = /^[a-h][1-8][a-h][1-8][nbrqNBRQ]?$/.test(move) ? playCoordinate(chess, move) : null;
  if (!played) {
    try {
      played = chess.move(move, { strict: false });
    } catch {
      return null;
    }
  }
  return { san: played.san, lan: played.lan, fen: chess.fen(), nags: [], comments: [], startComments: [], children: [] };
}

// Plays a move after parent: the child that already has it, or a new child
// (the continuation when parent has none, else a variation). null if illegal.
export function addMove(parent, move) {
  const node = moveNode(parent.fen, move);
  if (!node) return null;
  const known = parent.children.find((child) => child.lan === node.lan);
  if (known) return known;
  parent.children.push(node);
  return node;
}

// The nodes of the main line, first move first.
export function mainline(game) {
  const nodes = [];
  for (let node = game.root.children[0]; node; node = node.children[0]) nodes.push(node);
  return nodes;
}

// The move number and side of the move made from fen, as PGN writes them.
function moveNumber(fen, black) {
  const fields = fen.split(' ');
  const number = fields[5] || '1';
  return fields[1] === 'b' ? (black ? `${number}...` : null) : `${number}.`;
}

// ---- Reading -----------------------------------------------------------------

// The movetext with each comment replaced by a numbered stand-in ({0}, {1},
// ...) and escape lines dropped. The parser gets the stand-ins: it would join
// comments in a row and rewrite the markup inside them ([%clk], [%eval]).
function takeComments(movetext) {
  const comments = [];
  let text = '';
  for (let i = 0; i < movetext.length; i += 1) {
    const char = movetext[i];
    if (char === '{' || char === ';') {
      let end = movetext.indexOf(char === '{' ? '}' : '\n', i + 1);
      if (end < 0) {
        if (char === '{') throw new Error('a comment has no closing }');
        end = movetext.length;
      }
      text += ` {${comments.length}} `;
      comments.push(movetext.slice(i + 1, end));
      i = char === '{' ? end : end - 1;
    } else if (char === '%' && (i === 0 || movetext[i - 1] === '\n')) {
      const end = movetext.indexOf('\n', i);
      i = end < 0 ? movetext.length : end - 1;
    } else {
      text += char;
    }
  }
  return { text, comments };
}

const isStandIn = (token) => /^\{\d+\}$/.test(token);
const isNag = (token) => /^(?:\$\d+|[!?]{1,2})$/.test(token);
// Position assessments older programs write in ASCII, as NAGs.
const AsciiNags = { '+/=': '$14', '=/+': '$15', '+/-': '$16', '-/+': '$17' };

// The index of the "(" that the ")" at tokens[close] ends.
function openingOf(tokens, close) {
  let depth = 0;
  for (let i = close; i >= 0; i -= 1) {
    if (tokens[i] === ')') depth += 1;
    if (tokens[i] === '(' && --depth === 0) return i;
  }
  return 0;
}

// Rewrites the movetext tokens into shapes the parser takes without changing
// what they mean: castling written with zeros, assessments such as +/=,
// variations with nothing in them, NAGs after a comment, and comments after a
// variation with no move after them (which belong to the move before the
// variations).
function normalise(tokens) {
  let out = [];
  for (const token of tokens) {
    if (token === ')' && out.at(-1) === '(') out.pop();
    else out.push(AsciiNags[token] ?? token.replace(/^(\d*\.*)0-0(-0)?(?=[+#!?]*$)/, (_, number, long) => `${number}O-O${long ? '-O' : ''}`));
  }
  for (let i = 0; i < out.length; i += 1) {
    if (!isStandIn(out[i])) continue;
    let end = i;
    while (isStandIn(out[end + 1] ?? '')) end += 1;
    let nagEnd = end;
    while (isNag(out[nagEnd + 1] ?? '')) nagEnd += 1;
    if (nagEnd > end && i > 0 && !['(', ')'].includes(out[i - 1])) {
      out = [...out.slice(0, i), ...out.slice(end + 1, nagEnd + 1), ...out.slice(i, end + 1), ...out.slice(nagEnd + 1)];
      i = nagEnd;
      continue;
    }
    const next = out[end + 1];
    if (out[i - 1] === ')' && (next === undefined || next === '(' || next === ')')) {
      // Back over the variations to their move's own comments. Comments
      // between earlier variations have been moved there already.
      let at = i;
      while (out[at - 1] === ')') at = openingOf(out, at - 1);
      const run = out.slice(i, end + 1);
      out = [...out.slice(0, at), ...run, ...out.slice(at, i), ...out.slice(end + 1)];
      i = end;
    }
  }
  return out;
}

// The comment texts a parsed stand-in list ("3 4") names, each marked used.
function standIns(list, comments, used) {
  if (!list) return [];
  return String(list).trim().split(/\s+/).map((n) => {
    used.add(Number(n));
    return comments[Number(n)];
  });
}

// A parse error as a reason a user can follow: the text where it failed.
function unreadable(error, text) {
  const at = error.location?.start?.offset ?? 0;
  const near = text.slice(Math.max(0, at - 12), at + 12).replace(/\{\d+\}/g, '{…}').replace(/\s+/g, ' ').trim();
  return new Error(`the moves cannot be read near "${near}"`);
}

// Adds a parsed line of moves after parent. root: the game's root, whose
// first move's leading comments are the game's. A move's leading comments
// stay its own only where a written game can show them before it: at the
// start of a variation or after the variations of the move before; elsewhere
// they follow the move before, as a reader of the written game takes them.
function buildLine(parent, moves, comments, used, root) {
  let node = parent;
  let above = null; // node's parent
  for (const move of moves) {
    const text = move.notation.notation;
    if (text === 'Z0') throw new Error(`a null move after ${node.san ?? 'the start'}`);
    const child = moveNode(node.fen, text);
    if (!child) {
      const number = moveNumber(node.fen, true);
      throw new Error(`illegal move ${number} ${text}`);
    }
    const before = standIns(move.commentMove, comments, used);
    if (node === root && node.children.length === 0) root.comments.push(...before);
    else if (node.children.length > 0 || (above?.children[0] === node && above.children.length > 1)) child.startComments = before;
    else node.comments.push(...before);
    child.comments = standIns(move.commentAfter, comments, used);
    child.nags = (move.nag || []).map((nag) => Number(String(nag).slice(1)));
    node.children.push(child);
    for (const variation of move.variations || []) buildLine(node, variation, comments, used, root);
    above = node;
    node = child;
  }
}

// The tag pairs at the start of a game's text, and where its movetext begins.
function readTags(text) {
  const tags = [];
  let at = 0;
  for (;;) {
    const space = /^(?:\s|%[^\n]*)*/.exec(text.slice(at))[0];
    at += space.length;
    if (text[at] !== '[') break;
    const pair = TagPair.exec(text.slice(at));
    if (!pair) throw new Error(`broken tag ${text.slice(at).split('\n')[0]}`);
    tags.push([pair[1], pair[2].replace(/\\(.)/g, '$1')]);
    at += pair[0].length;
  }
  return { tags, movetext: text.slice(at) };
}

// A game's text read into a tree (see above). Throws with the reason for a
// game that cannot be read: a broken tag, an illegal move, moves that
// cannot be parsed, a variant other than standard chess.
export function readGame(text) {
  const { tags, movetext } = readTags(text.replace(/^\ufeff/, '').replace(/\r\n?/g, '\n'));
  const tag = (name) => tags.find(([key]) => key.toLowerCase() === name.toLowerCase())?.[1];
  const variant = tag('Variant');
  if (variant && !/^(standard|chess|from position)$/i.test(variant.trim())) throw new Error(`a game of the variant ${variant}`);
  let fen = StartFen;
  if (tag('FEN')) {
    const chess = new Chess();
    try {
      chess.load(tag('FEN').trim());
    } catch (error) {
      throw new Error(`its FEN tag is not a position: ${error.message}`);
    }
    fen = chess.fen();
  }
  const { text: marked, comments } = takeComments(movetext);
  const tokens = marked.match(/\{\d+\}|[()]|[^\s{}()]+/g) || [];
  let result = tag('Result') || '*';
  if (ResultToken.test(tokens.at(-1) ?? '')) result = tokens.pop().replace(/^1\/2$/, '1/2-1/2');
  const game = { tags, root: { fen, comments: [], children: [] }, result };
  const used = new Set();
  const moveText = normalise(tokens).join(' ');
  if (tokens.some((token) => !isStandIn(token))) {
    let parsed;
    try {
      parsed = parser.parse(moveText, { startRule: 'pgn' });
    } catch (error) {
      throw unreadable(error, moveText);
    }
    game.root.comments = standIns(parsed.gameComment?.comment, comments, used);
    buildLine(game.root, parsed.moves, comments, used, game.root);
  } else {
    game.root.comments = standIns(tokens.map((token) => token.slice(1, -1)).join(' '), comments, used);
  }
  if (used.size !== comments.length) throw new Error('a comment has no place among the moves');
  return game;
}

// ---- Writing -----------------------------------------------------------------

// A tag value written with PGN's escapes.
export function tagValue(text) {
  return String(text).replace(/\\/g, '\\\\').replace(/"/g, '\\"');
}

// A comment's text as a token: in braces, or to the end of the line when
// it holds a "}" (a ";" comment read from the input can).
function commentToken(text) {
  return text.includes('}') ? [`;${text}`, '\n'] : [`{${text}}`];
}

// Movetext tokens joined into lines of at most width characters where the
// tokens allow; "\n" ends a line, and so may a comment that holds one.
function wrap(tokens, width = 80) {
  const lines = [];
  let line = '';
  const lastLength = (text) => text.length - text.lastIndexOf('\n') - 1;
  for (const token of tokens) {
    if (token === '\n') {
      lines.push(line);
      line = '';
    } else if (line && lastLength(line) + 1 + token.split('\n')[0].length > width) {
      lines.push(line);
      line = token;
    } else {
      line = line ? `${line} ${token}` : token;
    }
  }
  if (line) lines.push(line);
  return lines.join('\n');
}

// Tokens of the movetext with "(" joined to the token after it and ")" to the
// one before (never into a ";" comment).
class Tokens {
  constructor() {
    this.list = [];
    this.open = '';
  }

  push(...tokens) {
    for (const token of tokens) {
      if (token === '\n') this.list.push(token);
      else {
        this.list.push(this.open + token);
        this.open = '';
      }
    }
  }

  close() {
    if (this.list.at(-1) === '\n') this.list.push(')');
    else this.list[this.list.length - 1] += ')';
  }
}

// Writes one move: its leading comments, number, SAN, NAGs and comments
// (Varn's first, so that its [%eval] is the one readers take). Returns
// whether the next move needs its number.
function writeMove(tokens, before, node, needNumber, own) {
  const lead = own ? node.startComments : [];
  for (const text of lead) tokens.push(...commentToken(text));
  // The number, the move and its NAGs stay on one line.
  const number = moveNumber(before, needNumber || lead.length > 0);
  tokens.push([number, node.san, ...[...node.nags, ...(node.varn?.nags || [])].map((nag) => `$${nag}`)].filter(Boolean).join(' '));
  const after = [...(node.varn?.comments || []), ...(own ? node.comments : [])];
  for (const text of after) tokens.push(...commentToken(text));
  return after.length > 0;
}

// Writes the line that goes on from parent, with the variations on the way.
function writeLine(tokens, parent, needNumber, own) {
  let node = parent;
  let number = needNumber;
  while (node.children.length) {
    const [main, ...others] = node.children;
    number = writeMove(tokens, node.fen, main, number, own);
    for (const other of others) {
      tokens.open += '(';
      writeLine(tokens, { fen: node.fen, children: [other] }, true, own);
      tokens.close();
      number = true;
    }
    node = main;
  }
}

// A game written as PGN: its tags (then Varn's, for names it does not have),
// its moves with every comment, NAG and variation, and its result.
// comments: false leaves out the game's own comments (Varn's stay).
export function writeGame(game, { comments = true } = {}) {
  const names = new Set(game.tags.map(([name]) => name));
  const tags = [...game.tags, ...(game.varnTags || []).filter(([name]) => !names.has(name))];
  const tokens = new Tokens();
  if (comments) for (const text of game.root.comments) tokens.push(...commentToken(text));
  writeLine(tokens, game.root, true, comments);
  tokens.push(game.result);
  const header = tags.map(([name, value]) => `[${name} "${tagValue(value)}"]`).join('\n');
  return `${header}${header ? '\n\n' : ''}${wrap(tokens.list)}\n`;
}

// ---- Varn's notes --------------------------------------------------------------

// A comment text as Varn writes it, set off by a space inside the braces.
const padded = (text) => ` ${text} `;

// Adds a review to the game's main line. review: { moves: per main-line move
// { nag, comment, line (coordinate moves from the position before it) },
// tags: [name, value][] }. A verdict's NAG is left out where the move has
// its own move assessment ($1 to $6): the comment still names it.
export function addReview(game, review) {
  const nodes = mainline(game);
  review.moves.forEach((note, i) => {
    const node = nodes[i];
    if (!node || !note) return;
    const assessed = node.nags.some((nag) => nag >= 1 && nag <= 6);
    node.varn = { nags: note.nag && !assessed ? [note.nag] : [], comments: note.comment ? [padded(note.comment)] : [] };
    let at = i === 0 ? game.root : nodes[i - 1];
    for (const move of note.line || []) {
      const child = moveNode(at.fen, move);
      if (!child) break;
      child.fromVarn = true;
      at.children.push(child);
      at = child;
    }
  });
  game.varnTags = review.tags || [];
}

// A copy of the game without what Varn added: what it was read as.
export function withoutVarn(game) {
  const copy = structuredClone(game);
  delete copy.varnTags;
  const clean = (node) => {
    delete node.varn;
    node.children = node.children.filter((child) => !child.fromVarn);
    node.children.forEach(clean);
  };
  clean(copy.root);
  return copy;
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
