// What a user marks in a picture, by drag or by keys: a region and a line, in pixels of the picture.

const color = "#ffb020";

function clamp(value, size) {
  return Math.min(size - 1, Math.max(0, value));
}

export class Marks {
  constructor() {
    this.region = null; // {x, y, width, height}
    this.line = null; // [{x, y}, {x, y}], both ends included
    this.kind = null; // "region" or "line": what keys move
    this.corner = null; // where the drag began
  }

  begin(kind, pixel) {
    this.kind = kind;
    this[kind] = null;
    this.corner = pixel;
  }

  get isDragged() {
    return this.corner !== null;
  }

  drag(pixel, size) {
    this.mark(this.kind, this.corner, pixel, size);
  }

  end() {
    this.corner = null;
  }

  mark(kind, from, to, {pictureWidth, pictureHeight}) {
    const [begin, end] = [from, to].map(({x, y}) => ({x: clamp(x, pictureWidth), y: clamp(y, pictureHeight)}));
    if (kind === "line") {
      this.line = [begin, end];
      return;
    }
    this.region = {x: Math.min(begin.x, end.x), y: Math.min(begin.y, end.y),
      width: Math.abs(begin.x - end.x) + 1, height: Math.abs(begin.y - end.y) + 1};
  }

  /** Marks the middle of what is seen, or nothing when there was a mark. */
  toggle(kind, seen, size) {
    this.kind = kind;
    if (this[kind] !== null) {
      this[kind] = null;
      return;
    }
    const at = (x, y) => ({x: Math.floor(seen.x + x * seen.width), y: Math.floor(seen.y + y * seen.height)});
    if (kind === "line") {
      this.mark(kind, at(0.1, 0.5), at(0.9, 0.5), size);
    } else {
      this.mark(kind, at(0.25, 0.25), at(0.75, 0.75), size);
    }
  }

  ends() {
    const {region} = this;
    return this.kind === "line" || region === null ? this.line
      : [{x: region.x, y: region.y}, {x: region.x + region.width - 1, y: region.y + region.height - 1}];
  }

  /** Moves what was marked last, or its end alone, as far as it stays in the picture. */
  move(dx, dy, isEndAlone, size) {
    if (this.kind === null || this[this.kind] === null) {
      return;
    }
    const [from, to] = this.ends();
    const moved = ({x, y}) => ({x: x + dx, y: y + dy});
    const isInside = ({x, y}) => x === clamp(x, size.pictureWidth) && y === clamp(y, size.pictureHeight);
    const ends = [isEndAlone ? from : moved(from), moved(to)];
    if (isEndAlone && this.kind === "region") {
      ends[1] = {x: Math.max(from.x, ends[1].x), y: Math.max(from.y, ends[1].y)};
    }
    if (isEndAlone || ends.every(isInside)) {
      this.mark(this.kind, ...ends, size);
    }
  }

  draw(context, {x, y, zoom}) {
    context.strokeStyle = color;
    context.lineWidth = devicePixelRatio || 1;
    if (this.region !== null) {
      const {region} = this;
      context.strokeRect((region.x - x) * zoom, (region.y - y) * zoom, region.width * zoom, region.height * zoom);
    }
    if (this.line !== null) {
      context.beginPath();
      this.line.forEach(end => context.lineTo((end.x + 0.5 - x) * zoom, (end.y + 0.5 - y) * zoom));
      context.stroke();
    }
  }
}
