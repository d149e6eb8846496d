// The engine's two WebAssembly builds in Chromium, in one run: the speed of
// the build without threads against the one with threads (the benchmark's
// nodes per second, the two alternated round by round), and how long a stop
// takes to end a running search in each (from stop() to its bestmove). Then
// the same in Node by processor time, which other work on the machine does
// not stretch.
// Usage: node web/scripts/bench-builds.mjs [rounds] [stops] [depth]
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';
import { chromiumArgs, isolationHeaders, serve } from '../tests/browser-kit.js';

const [rounds = 7, stops = 40, depth = 7] = process.argv.slice(2).map(Number);
const npm = fileURLToPath(new URL('../../npm/', import.meta.url));

// Both engines loaded, their benchmarks alternated, then endless searches of
// varied positions stopped after a random wait; clock() is what is timed.
// Runs in the page, and in Node.
async function measure({ rounds, stops, depth, entry, processorTime }) {
  const { VarnEngine } = await import(entry);
  const clock = processorTime ? () => { const used = process.cpuUsage(); return (used.user + used.system) / 1000; } : () => performance.now();
  const engines = { threads: await VarnEngine.start({ threads: true }), single: await VarnEngine.start({ threads: false }) };
  const nps = { threads: [], single: [] };
  for (let round = 0; round < rounds; round += 1) {
    // Which build goes first changes every round.
    const order = round % 2 ? ['single', 'threads'] : ['threads', 'single'];
    for (const name of order) {
      const start = clock();
      const { nodes } = await engines[name].bench(depth);
      nps[name].push(Math.round(nodes / ((clock() - start) / 1000)));
    }
  }
  const fens = ['r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3',
    'r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1',
    '8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1', 'rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8'];
  const latency = { threads: [], single: [] };
  for (let i = 0; i < stops; i += 1) {
    for (const name of ['threads', 'single']) {
      const engine = engines[name];
      await engine.newGame();
      const search = engine.position(fens[i % fens.length]).limits({}).analyse();
      await new Promise((resolve) => setTimeout(resolve, 300 + Math.random() * 1200));
      const asked = clock();
      await engine.stop();
      await search;
      latency[name].push(clock() - asked);
    }
  }
  await engines.threads.quit();
  await engines.single.quit();
  return { nps, latency };
}

const quantile = (values, q) => [...values].sort((a, b) => a - b)[Math.round(q * (values.length - 1))];

function report(where, { nps, latency }) {
  const ratios = nps.single.map((value, i) => value / nps.threads[i]);
  console.log(`${where}: bench depth ${depth}, ${rounds} rounds, nodes per second:`);
  console.log(`  with threads    ${nps.threads.join(' ')} (median ${quantile(nps.threads, 0.5)})`);
  console.log(`  without threads ${nps.single.join(' ')} (median ${quantile(nps.single, 0.5)})`);
  console.log(`  without / with: median of the rounds' ratios ${quantile(ratios, 0.5).toFixed(3)} (${ratios.map((r) => r.toFixed(3)).join(' ')})`);
  for (const name of ['single', 'threads']) {
    const ms = latency[name];
    console.log(`  stop to bestmove, ${ms.length} stops, build ${name === 'single' ? 'without' : 'with'} threads: median ${quantile(ms, 0.5).toFixed(1)} ms, p95 ${quantile(ms, 0.95).toFixed(1)} ms, max ${Math.max(...ms).toFixed(1)} ms`);
  }
}

const server = await serve(npm, { isolated: true });
const browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: chromiumArgs });
try {
  const page = await browser.newPage();
  // A blank page of the package's origin whose import map finds chess.js, as
  // the README's page does; cross-origin isolated, so that both builds run.
  await page.route('**/bench.html', (request) => request.fulfill({
    contentType: 'text/html',
    headers: isolationHeaders,
    body: '<script type="importmap">{ "imports": { "chess.js": "/node_modules/chess.js/dist/esm/chess.js" } }</script>',
  }));
  await page.goto(`${server.url}bench.html`);
  report('Chromium, wall-clock time', await page.evaluate(measure, { rounds, stops, depth, entry: '/src/index.js' }));
} finally {
  await browser.close();
  await server.close();
}
report('Node, processor time', await measure({ rounds, stops, depth, entry: `${npm}src/index.js`, processorTime: true }));
