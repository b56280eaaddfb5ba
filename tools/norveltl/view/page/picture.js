// The live picture of one camera: zoomed and panned by the user, fetched as large as it is shown and no larger.
import {Comparison} from "./compare.js";
import {Marks} from "./marks.js";
import {fitCanvas} from "./quality.js";
import {ownValue, placeOf, plotHistogram, plotProfile, statisticsOf} from "./statistics.js";
import {askPicture, make, order, pause} from "./talk.js";

const longestZoom = 64;

function opaque(red, green, blue) {
  return (255 << 24 | blue << 16 | green << 8 | red) >>> 0;
}

export class Picture {
  constructor(camera, onChoose) {
    this.camera = camera;
    this.isAlive = true;
    this.isFrozen = false;
    this.view = null; // of the picture's pixels: {x, y, zoom}, or null to fit
    this.number = 0;
    this.shown = null;
    this.marks = new Marks();
    this.comparison = null;
    this.pointer = null;
    this.table = null;
    this.image = null; // as it is drawn, of the buffer's size
    this.abort = new AbortController();
    this.buffer = document.createElement("canvas");
    this.makeElements(onChoose);
    this.listen();
    this.resizes = new ResizeObserver(() => this.draw());
    this.resizes.observe(this.canvas);
    this.fetchPictures();
  }

  close() {
    this.isAlive = false;
    this.abort.abort();
    this.resizes.disconnect();
    this.figure.remove();
  }

  makeElements(onChoose) {
    const name = `Picture of ${this.camera.id}`;
    this.canvas = make("canvas", {className: "picture", tabIndex: 0, ariaLabel: `${name}. Plus and minus zoom, arrows move, 0 fits, 1 shows pixels, space freezes, C compares, R marks a region, L a line; arrows with Shift move its end, with Ctrl all of it.`});
    this.canvas.setAttribute("role", "img");
    this.cover = make("p", {className: "cover", hidden: true});
    const choose = make("button", {type: "button"}, this.camera.name || this.camera.id);
    choose.addEventListener("click", () => onChoose());
    this.about = make("span", {className: "weak"});
    const tool = (text, title, action) => {
      const button = make("button", {type: "button", title}, text);
      button.addEventListener("click", action);
      return button;
    };
    this.freezeButton = tool("Freeze", "Keep this picture (space)", () => this.freeze(!this.isFrozen));
    this.markButton = tool("Mark limits", "Overexposed red, underexposed blue", () => {
      this.markButton.ariaPressed = String(this.markButton.ariaPressed !== "true");
      this.paint();
    });
    this.freezeButton.ariaPressed = this.markButton.ariaPressed = "false";
    this.compareButton = tool("Compare", "Keep this picture beside the live one (C)", () => this.compare(this.comparison === null));
    this.compareButton.ariaPressed = "false";
    this.mode = make("select", {ariaLabel: `Compare by, ${this.camera.id}`}, make("option", {value: "wipe"}, "Wipe"), make("option", {value: "difference"}, "Difference"));
    this.mode.addEventListener("change", () => {
      this.comparison.mode = this.mode.value;
      this.border.hidden = this.mode.value !== "wipe";
      this.paint();
    });
    this.border = make("input", {type: "range", min: 0, max: 100, value: 50, ariaLabel: `Border of the kept picture, ${this.camera.id}`});
    this.border.addEventListener("input", () => this.paint());
    this.comparing = make("span", {className: "comparing", hidden: true}, this.mode, this.border);
    this.dragging = make("select", {title: "What a drag does"}, make("option", {value: "move"}, "Move"),
      make("option", {value: "region"}, "Region"), make("option", {value: "line"}, "Line"));
    const level = (text, value) => {
      const slider = make("input", {type: "range", min: 0, max: 255, value});
      slider.addEventListener("input", () => this.paint());
      return [make("label", {}, text, slider), slider];
    };
    const [blackLabel, black] = level("black", 0);
    const [whiteLabel, white] = level("white", 255);
    this.black = black;
    this.white = white;
    this.runButton = tool("Stop", "Stop or start the images", () => order(this.acquires ? "stop" : "start", {camera: this.camera.key}).catch(error => this.say(error.message)));
    this.pixel = make("output", {}, "");
    this.statistics = make("output", {}, "");
    this.histogram = make("canvas", {ariaLabel: "Histogram"});
    this.profile = make("canvas", {className: "profile", hidden: true});
    for (const plot of [this.histogram, this.profile]) {
      plot.setAttribute("role", "img");
    }
    this.figure = make("figure", {},
      make("figcaption", {}, choose, this.about),
      make("div", {className: "tools"},
        tool("Fit", "Whole picture (0)", () => this.look(null)),
        tool("1:1", "One pixel as one pixel (1)", () => this.zoomTo(1)),
        this.freezeButton, this.compareButton, this.comparing, this.markButton,
        make("label", {}, "drag", this.dragging), blackLabel, whiteLabel, this.runButton),
      make("div", {className: "stage"}, this.canvas, this.profile, this.cover),
      make("div", {className: "status"}, this.pixel, this.statistics, this.histogram));
  }

  say(text) {
    this.cover.textContent = text;
    this.cover.hidden = text === "";
  }

  /** What the stream's quality says. */
  update(quality) {
    this.acquires = quality.acquires;
    this.runButton.textContent = quality.acquires ? "Stop" : "Start";
    this.say(quality.trouble === "" ? "" : `No more images: ${quality.trouble}`);
  }

  // The part of the picture that is seen, and how large its pixels are on the screen.
  place() {
    fitCanvas(this.canvas);
    const size = this.shown ?? {pictureWidth: 1, pictureHeight: 1};
    if (this.view !== null) {
      return this.view;
    }
    const zoom = Math.min(this.canvas.width / size.pictureWidth, this.canvas.height / size.pictureHeight);
    return {x: (size.pictureWidth - this.canvas.width / zoom) / 2, y: (size.pictureHeight - this.canvas.height / zoom) / 2, zoom};
  }

  /** The part of the picture that is seen, in whole pixels. */
  seen() {
    const place = this.place();
    const x = Math.max(0, Math.floor(place.x)), y = Math.max(0, Math.floor(place.y));
    return {x, y, width: Math.min(this.shown.pictureWidth, Math.ceil(place.x + this.canvas.width / place.zoom)) - x,
      height: Math.min(this.shown.pictureHeight, Math.ceil(place.y + this.canvas.height / place.zoom)) - y};
  }

  look(view) {
    this.view = view;
    if (this.comparison === null) {
      this.draw();
    } else {
      // The border stays where it is on the screen.
      this.paint();
    }
  }

  zoomTo(zoom, x = this.canvas.width / 2, y = this.canvas.height / 2) {
    const before = this.place();
    const after = Math.min(longestZoom, Math.max(0.01, zoom));
    this.look({x: before.x + x / before.zoom - x / after, y: before.y + y / before.zoom - y / after, zoom: after});
  }

  move(dx, dy) {
    const before = this.place();
    this.look({x: before.x - dx / before.zoom, y: before.y - dy / before.zoom, zoom: before.zoom});
  }

  pointOf(event) {
    const box = this.canvas.getBoundingClientRect();
    const ratio = this.canvas.width / box.width;
    return {x: (event.clientX - box.left) * ratio, y: (event.clientY - box.top) * ratio};
  }

  pixelAt(point) {
    const place = this.place();
    return {x: Math.floor(place.x + point.x / place.zoom), y: Math.floor(place.y + point.y / place.zoom)};
  }

  listen() {
    let last = null;
    this.canvas.addEventListener("wheel", event => {
      event.preventDefault();
      const point = this.pointOf(event);
      this.zoomTo(this.place().zoom * (event.deltaY < 0 ? 1.25 : 0.8), point.x, point.y);
    }, {passive: false});
    this.canvas.addEventListener("pointerdown", event => {
      this.canvas.setPointerCapture(event.pointerId);
      last = this.pointOf(event);
      const kind = event.shiftKey ? "region" : event.ctrlKey ? "line" : this.dragging.value;
      if (kind !== "move" && this.shown !== null) {
        this.marks.begin(kind, this.pixelAt(last));
        this.remark();
      }
    });
    this.canvas.addEventListener("pointermove", event => {
      this.pointer = this.pointOf(event);
      if (this.marks.isDragged) {
        this.marks.drag(this.pixelAt(this.pointer), this.shown);
        this.remark();
      } else if (last !== null) {
        this.move(this.pointer.x - last.x, this.pointer.y - last.y);
        last = this.pointer;
      }
      this.tellPixel();
    });
    const end = () => {
      last = null;
      this.marks.end();
    };
    this.canvas.addEventListener("pointerup", end);
    this.canvas.addEventListener("pointercancel", end);
    this.canvas.addEventListener("pointerleave", () => { this.pointer = null; this.tellPixel(); });
    this.canvas.addEventListener("dblclick", () => this.look(null));
    const keys = {
      "+": () => this.zoomTo(this.place().zoom * 1.25), "-": () => this.zoomTo(this.place().zoom * 0.8),
      "0": () => this.look(null), "1": () => this.zoomTo(1), " ": () => this.freeze(!this.isFrozen),
      c: () => this.compare(this.comparison === null), r: () => this.toggle("region"), l: () => this.toggle("line"),
    };
    const arrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};
    this.canvas.addEventListener("keydown", event => {
      const arrow = arrows[event.key], key = keys[event.key.toLowerCase()];
      if (event.altKey || event.metaKey || (arrow === undefined && (key === undefined || event.ctrlKey))) {
        return;
      }
      event.preventDefault();
      if (arrow === undefined) {
        key();
      } else if (event.shiftKey || event.ctrlKey) {
        this.moveMark(...arrow, event.shiftKey);
      } else {
        this.move(-40 * arrow[0], -40 * arrow[1]);
      }
    });
  }

  toggle(kind) {
    if (this.shown !== null) {
      this.marks.toggle(kind, this.seen(), this.shown);
      this.remark();
    }
  }

  // By what can be seen, and by pixels where they can be seen.
  moveMark(dx, dy, isEndAlone) {
    if (this.shown !== null) {
      const step = Math.max(1, Math.round(4 / this.place().zoom));
      this.marks.move(step * dx, step * dy, isEndAlone, this.shown);
      this.remark();
    }
  }

  remark() {
    this.draw();
    this.described = 0;
    if (this.shown !== null) {
      this.describe(this.shown);
    }
  }

  async compare(isOn) {
    const kept = isOn ? await this.whole() : null;
    this.comparison = kept === null ? null : new Comparison(kept);
    if (this.comparison !== null) {
      this.comparison.mode = this.mode.value;
    }
    this.compareButton.ariaPressed = String(this.comparison !== null);
    this.comparing.hidden = this.comparison === null;
    this.paint();
  }

  // A frozen picture is whole already.
  whole() {
    const {shown} = this;
    const isWhole = shown !== null && this.isFrozen && shown.width === shown.pictureWidth && shown.height === shown.pictureHeight;
    return isWhole ? shown : askPicture({camera: this.camera.key, after: 0}).catch(() => null);
  }

  async freeze(isFrozen) {
    this.isFrozen = isFrozen;
    this.freezeButton.ariaPressed = String(isFrozen);
    if (isFrozen) {
      // Whole, so that it can be looked at closely, and held by the server, so that it can be kept.
      const whole = await askPicture({camera: this.camera.key, after: 0, hold: 1}).catch(() => null);
      if (whole !== null && this.isFrozen) {
        this.take(whole);
      }
    }
  }

  wanted() {
    const parameters = {camera: this.camera.key, after: this.number};
    if (this.shown !== null) {
      const seen = this.seen();
      if (seen.width > 0 && seen.height > 0) {
        Object.assign(parameters, seen);
      }
    } else {
      fitCanvas(this.canvas);
    }
    // Up to twice as large as it is shown: half of that would be coarser than the screen.
    return {...parameters, maxWidth: Math.max(16, 2 * this.canvas.width - 1), maxHeight: Math.max(16, 2 * this.canvas.height - 1)};
  }

  async fetchPictures() {
    while (this.isAlive) {
      if (this.isFrozen || document.hidden) {
        await pause(100);
        continue;
      }
      try {
        const picture = await askPicture(this.wanted(), this.abort.signal);
        if (picture !== null && !this.isFrozen) {
          this.take(picture);
        }
      } catch (error) {
        if (this.isAlive && error.status !== undefined && error.status !== 410) {
          this.say(error.message);
        }
        await pause(500);
      }
    }
  }

  take(picture) {
    this.number = picture.number;
    this.shown = picture;
    const scale = picture.scale === 1 ? "" : `, shown 1:${picture.scale}`;
    this.about.textContent = `${picture.pictureWidth} × ${picture.pictureHeight} ${picture.format}${scale}, image ${picture.number.toLocaleString("en")}`;
    this.paint();
    this.tellPixel();
  }

  /** What a sample looks like between the black and the white level. */
  makeTable(picture) {
    const isMarked = this.markButton.ariaPressed === "true";
    const most = picture.bytes === 1 ? 255 : 65535;
    const black = this.black.value / 255 * most, white = this.white.value / 255 * most;
    const key = [most, picture.bits, black, white, isMarked, picture.channels].join();
    if (this.table?.key === key) {
      return this.table;
    }
    const full = picture.bytes === 1 ? 255 : 65536 - 2 ** (16 - picture.bits);
    const grey = new Uint8Array(most + 1), color = new Uint32Array(most + 1);
    for (let value = 0; value <= most; ++value) {
      const level = white > black ? (value - black) / (white - black) : value >= white ? 1 : 0;
      grey[value] = Math.round(255 * Math.min(1, Math.max(0, level)));
      color[value] = isMarked && value >= full ? opaque(255, 32, 32) : isMarked && value === 0 ? opaque(32, 64, 255)
        : opaque(grey[value], grey[value], grey[value]);
    }
    return this.table = {key, grey, color, full, isMarked};
  }

  paint() {
    const picture = this.shown;
    if (picture === null) {
      return;
    }
    const {grey, color, full, isMarked} = this.makeTable(picture);
    const {width, height} = picture;
    const samples = this.isCompared() ? this.comparison.compose(picture, this.borderOf(picture)) : picture.samples;
    if (this.image?.width !== width || this.image.height !== height) {
      this.buffer.width = width;
      this.buffer.height = height;
      this.image = new ImageData(width, height);
    }
    const out = new Uint32Array(this.image.data.buffer);
    if (picture.channels === 1) {
      for (let i = 0; i < out.length; ++i) {
        out[i] = color[samples[i]];
      }
    } else {
      for (let i = 0, k = 0; i < out.length; ++i, k += 3) {
        const red = samples[k], green = samples[k + 1], blue = samples[k + 2];
        out[i] = isMarked && (red >= full || green >= full || blue >= full) ? opaque(255, 32, 32)
          : isMarked && red + green + blue === 0 ? opaque(32, 64, 255) : opaque(grey[red], grey[green], grey[blue]);
      }
    }
    this.buffer.getContext("2d").putImageData(this.image, 0, 0);
    this.draw();
    this.describe(picture);
  }

  draw() {
    const place = this.place();
    const context = this.canvas.getContext("2d");
    context.clearRect(0, 0, this.canvas.width, this.canvas.height);
    const picture = this.shown;
    if (picture === null) {
      return;
    }
    context.imageSmoothingEnabled = place.zoom < 1;
    const size = picture.scale * place.zoom;
    context.drawImage(this.buffer, (picture.x - place.x) * place.zoom, (picture.y - place.y) * place.zoom, picture.width * size, picture.height * size);
    this.marks.draw(context, place);
    if (this.isCompared() && this.comparison.mode === "wipe") {
      const x = this.border.value / 100 * this.canvas.width;
      context.fillStyle = "#ffb020";
      context.fillRect(x, 0, devicePixelRatio || 1, this.canvas.height);
    }
  }

  isCompared() {
    return this.comparison !== null && this.shown !== null && this.comparison.fits(this.shown);
  }

  // The first column of the sent picture that lies behind the border.
  borderOf(picture) {
    const place = this.place();
    return Math.round((place.x + this.border.value / 100 * this.canvas.width / place.zoom - picture.x) / picture.scale);
  }

  tellPixel() {
    const picture = this.shown;
    if (picture === null || this.pointer === null) {
      this.pixel.textContent = "";
      return;
    }
    const at = this.pixelAt(this.pointer);
    const place = placeOf(picture, at);
    if (place < 0) {
      this.pixel.textContent = "";
      return;
    }
    const values = samples => Array.from(samples.subarray(place, place + picture.channels), its => Math.floor(ownValue(picture, its))).join(", ");
    const kept = this.isCompared() ? `, kept ${values(this.comparison.match(picture))}` : "";
    const mean = picture.scale === 1 ? "" : `, mean of ${picture.scale} × ${picture.scale}`;
    this.pixel.textContent = `x ${at.x}  y ${at.y}\nvalue ${values(picture.samples)}${kept}${mean}`;
  }

  // Of the user's region, or else of what is seen; and along the user's line.
  describe(picture) {
    const now = performance.now();
    if (now - (this.described ?? 0) < 200) {
      return;
    }
    this.described = now;
    const {region, line} = this.marks;
    const its = statisticsOf(picture, region ?? {x: 0, y: 0, width: picture.pictureWidth, height: picture.pictureHeight});
    const what = region === null ? "what is seen" : `region ${region.width} × ${region.height} at ${region.x}, ${region.y}`;
    this.statistics.textContent = its.count === 0 ? "" : `${what}\nmean ${its.mean.toFixed(2)}  deviation ${its.deviation.toFixed(2)}`;
    plotHistogram(this.histogram, its.bins);
    this.profile.hidden = line === null;
    if (line !== null) {
      this.profile.ariaLabel = `Values along the line: ${plotProfile(this.profile, picture, line)}`;
    }
  }
}
