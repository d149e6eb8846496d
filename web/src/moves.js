// The move list: one list item per half-move, the current one marked and the
// review's verdicts coloured and marked; picking a move reports its ply.
import { Verdicts } from 'varn';
export class MoveList {
  constructor(list, onPick) {
    this.list = list;
    list.addEventListener('click', (event) => {
      const ply = event.target.closest('[data-ply]')?.dataset.ply;
      if (ply) onPick(Number(ply));
    });
  }

  // game: the page's Game; verdicts: the review's verdict per move, if any.
  draw(game, verdicts = []) {
    const items = [];
    for (let i = 0; i < game.length; i += 1) {
      const chess = game.chess(i);
      const white = chess.turn() === 'w';
      const number = chess.moveNumber();
      const button = document.createElement('button');
      button.className = ['move', i + 1 === game.cursor ? 'current' : '', verdicts[i] || ''].filter(Boolean).join(' ');
      button.dataset.ply = String(i + 1);
      const symbol = Verdicts.find((verdict) => verdict.name === verdicts[i])?.symbol ?? '';
      button.textContent = `${white ? `${number}. ` : i === 0 ? `${number}… ` : ''}${game.sans[i]}${symbol}`;
      const item = document.createElement('li');
      item.append(button);
      items.push(item);
    }
    this.list.replaceChildren(...items);
    this.list.querySelector('.current')?.scrollIntoView({ block: 'nearest' });
  }
}
