// The evaluation graph of a reviewed game: one point per position, White's
// advantage upwards, mistakes and blunders marked on the move that made them.
import { DecidedCp } from 'varn';

const Width = 600;
const Height = 160;
const svgNs = 'http://www.w3.org/2000/svg';

// Height of a White score on the graph: decided values, within +-DecidedCp.
function graphY(value) {
  return Height / 2 - (value / DecidedCp) * (Height / 2 - 6);
}

function graphX(index, count) {
  return count <= 1 ? Width / 2 : 6 + (index * (Width - 12)) / (count - 1);
}

function element(name, attributes) {
  const node = document.createElementNS(svgNs, name);
  for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, String(value));
  return node;
}

// evals: per position { value (White's centipawns), text }.
export function drawGraph(svg, evals, verdicts, cursor, onPick) {
  svg.replaceChildren();
  svg.style.display = evals.length ? '' : 'none';
  if (evals.length === 0) return;
  const points = evals.map((score, i) => [graphX(i, evals.length), graphY(score.value)]);
  // White's share is the light area under the line.
  const area = `M${points[0][0]},${Height} ` + points.map(([x, y]) => `L${x},${y}`).join(' ') + ` L${points.at(-1)[0]},${Height} Z`;
  svg.append(element('rect', { x: 0, y: 0, width: Width, height: Height, class: 'graph-back' }));
  svg.append(element('path', { d: area, class: 'graph-area' }));
  svg.append(element('line', { x1: 0, y1: Height / 2, x2: Width, y2: Height / 2, class: 'graph-axis' }));
  svg.append(element('polyline', { points: points.map((p) => p.join(',')).join(' '), class: 'graph-line' }));
  if (cursor < evals.length) {
    const x = points[cursor][0];
    svg.append(element('line', { x1: x, y1: 0, x2: x, y2: Height, class: 'graph-cursor' }));
  }
  points.forEach(([x, y], i) => {
    // Move i - 1 led to position i: its verdict marks this point.
    const verdict = i > 0 ? verdicts[i - 1] : null;
    const point = element('circle', { cx: x, cy: y, r: verdict ? 4.5 : 2.5, class: `point${verdict ? ` ${verdict}` : ''}`, 'data-ply': i });
    const title = element('title', {});
    title.textContent = `Position ${i}: ${evals[i].text}${verdict ? ` (${verdict})` : ''}`;
    point.append(title);
    svg.append(point);
  });
  svg.onclick = (event) => {
    const box = svg.getBoundingClientRect();
    const x = ((event.clientX - box.left) / box.width) * Width;
    const index = Math.round(((x - 6) * (evals.length - 1)) / (Width - 12));
    onPick(Math.max(0, Math.min(evals.length - 1, index)));
  };
}
