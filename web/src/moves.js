// The move list: the main line one button per half-move, each variation in
// brackets under the move it replaces, comments in grey, the current move
// marked and the review's verdicts coloured. Picking a move reports its path
// (child indices from the start).
// NAGs as the symbols players read: move assessments, then positions.
const Symbols = {
  1: '!', 2: '?', 3: '!!', 4: '??', 5: '!?', 6: '?!', 7: ' □', 10: ' =', 13: ' ∞', 14: ' ⩲', 15: ' ⩱',
  16: ' ±', 17: ' ∓', 18: ' +−', 19: ' −+', 22: ' ⨀', 23: ' ⨀', 32: ' ⟳', 33: ' ⟳', 36: ' ↑', 37: ' ↑', 40: ' →', 41: ' →', 44: ' =∞', 45: ' =∞', 132: ' ⇆', 133: ' ⇆', 146: ' N',
};

const comment = (text) => Object.assign(document.createElement('span'), { className: 'comment', textContent: text });

// A comment as a reader wants it: without the [%...] markup for programs.
export function commentText(text) {
  return text.replace(/\[%[^\]]*\]/g, '').replace(/\s+/g, ' ').trim();
}

export class MoveList {
  constructor(list, onPick) {
    this.list = list;
    list.addEventListener('click', (event) => {
      const path = event.target.closest('[data-path]')?.dataset.path;
      if (path !== undefined) onPick(path ? path.split('.').map(Number) : []);
    });
  }

  // game: the page's Game; verdicts: the review's verdict per main-line move.
  draw(game, verdicts = []) {
    this.current = game.node();
    this.root = game.tree.root;
    this.verdicts = verdicts;
    const items = [];
    this.line(items, game.tree.root, [], true, 'li');
    this.list.replaceChildren(...items);
    this.list.querySelector('.current')?.scrollIntoView({ block: 'nearest' });
  }

  // Adds the elements of the line that starts with parent's child `first`
  // to out, with its variations: for the main line one list item per move.
  line(out, parent, path, main, tag, first = 0) {
    let node = parent;
    let index = first;
    let numbered = true;
    for (let ply = 0; node.children[index]; ply += 1) {
      const next = node.children[index];
      const others = index === 0 ? node.children.slice(1) : [];
      const at = [...path, index];
      const item = document.createElement(tag);
      const lead = (node === this.root && index === 0 ? node.comments : next.startComments).map(commentText).filter(Boolean);
      item.append(...lead.map(comment), this.button(node, next, at, numbered || lead.length > 0, main ? ply : null));
      const comments = [...(next.varn?.comments || []), ...next.comments].map(commentText).filter(Boolean);
      item.append(...comments.map(comment));
      out.push(item);
      numbered = comments.length > 0;
      if (others.length) {
        const block = document.createElement(tag);
        block.className = 'variations';
        others.forEach((_, i) => {
          const variation = document.createElement('span');
          variation.className = 'variation';
          const parts = [];
          this.line(parts, node, path, false, 'span', i + 1);
          variation.append(...parts);
          block.append(variation);
        });
        out.push(block);
        numbered = true;
      }
      node = next;
      path = at;
      index = 0;
    }
  }

  // One move's button; ply is set for main-line moves.
  button(parent, node, path, numbered, ply) {
    const [, turn, , , , number] = parent.fen.split(' ');
    const button = document.createElement('button');
    const verdict = ply === null ? null : this.verdicts[ply];
    button.className = ['move', node === this.current ? 'current' : '', verdict || ''].filter(Boolean).join(' ');
    button.dataset.path = path.join('.');
    if (ply !== null) button.dataset.ply = String(ply + 1);
    const nags = [...node.nags, ...(node.varn?.nags || [])].map((nag) => Symbols[nag] || '').join('');
    const prefix = turn === 'w' ? `${number}. ` : numbered ? `${number}… ` : '';
    button.textContent = `${prefix}${node.san}${nags}`;
    return button;
  }
}
