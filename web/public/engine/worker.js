// The engine's worker: loads the WebAssembly build and runs the eighteen
// exports on request from the page, one message at a time. Search reports go
// back as messages while VarnAnalyse runs; the page stops a search by writing
// the stop word in the shared memory, since this worker is busy until then.
/* global createVarn */
importScripts('varn.js');

let varn = null;
let report = { depth: 0, nodes: 0 };
let searchStart = 0;

function withText(text, call) {
  const size = varn.lengthBytesUTF8(text) + 1;
  const pointer = varn._malloc(size);
  varn.stringToUTF8(text, pointer, size);
  try {
    return call(pointer);
  } finally {
    varn._free(pointer);
  }
}

function onNodes(nodes) {
  report.nodes = nodes >>> 0;
}
function onDepth(depth) {
  report.depth = depth;
}
function onCurrentMove(move, index, count) {
  postMessage({ type: 'currmove', move: varn.UTF8ToString(move), index, count, depth: report.depth, nodes: report.nodes, ms: performance.now() - searchStart });
}
function onLine(line, score) {
  postMessage({ type: 'line', text: varn.UTF8ToString(line), score, depth: report.depth, nodes: report.nodes, ms: performance.now() - searchStart });
}

async function init(hashKb) {
  varn = await createVarn();
  const table = varn._malloc(6 * 4);
  const slots = [0, varn.addFunction(onNodes, 'viii'), varn.addFunction(onDepth, 'vii'),
    varn.addFunction(onCurrentMove, 'viii'), varn.addFunction(onLine, 'vii'), 0];
  slots.forEach((slot, index) => { varn.HEAP32[(table >> 2) + index] = slot; });
  const usedKb = varn._VarnInit(table, 0, hashKb);
  const params = [];
  for (let entry = varn._VarnGetParamList() >> 2; varn.HEAP32[entry]; entry++) params.push(varn.UTF8ToString(varn.HEAP32[entry]));
  return {
    type: 'ready', hashKb: usedKb, version: varn.UTF8ToString(varn._VarnGetVersion()),
    author: varn.UTF8ToString(varn._VarnGetAuthor()), params,
    memory: varn.wasmMemory.buffer, stopWord: varn._WebStopWord(),
  };
}

const handlers = {
  init: (m) => init(m.hashKb),
  startPosition: () => varn._VarnSetStartPosition(),
  position: (m) => withText(m.fen, (p) => varn._VarnSetPosition(p)),
  game: (m) => withText(m.moves, (p) => varn._VarnSetGame(p)),
  infinite: () => varn._VarnSetInfinite(),
  depth: (m) => varn._VarnSetDepth(m.plies),
  blitz: (m) => varn._VarnSetBlitz(m.baseSeconds, m.incrementSeconds),
  time: (m) => varn._VarnSetTime(m.moves, m.seconds),
  param: (m) => withText(m.name, (n) => withText(m.value, (v) => varn._VarnSetParam(n, v))),
  clearHash: () => varn._VarnClearHashtable(),
  analyse: (m) => {
    report = { depth: 0, nodes: 0 };
    searchStart = performance.now();
    postMessage({ type: 'started', id: m.id });
    const noMove = varn._VarnAnalyse(m.ponder ? 1 : 0);
    return { type: 'done', id: m.id, noMove: noMove === 1, nodes: report.nodes, ms: performance.now() - searchStart };
  },
};

// Messages are handled strictly in order, so a search never overlaps a setting.
let queue = Promise.resolve();
onmessage = (event) => {
  const message = event.data;
  queue = queue.then(async () => {
    try {
      const handler = handlers[message.type];
      if (!handler) throw new Error(`unknown request ${message.type}`);
      if (!varn && message.type !== 'init') throw new Error('the engine is not loaded yet');
      const answer = await handler(message);
      if (answer) postMessage(answer);
    } catch (error) {
      postMessage({ type: 'error', request: message.type, message: String(error && error.message || error) });
    }
  });
};
