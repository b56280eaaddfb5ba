// The live picture of one camera: zoomed and panned by the user, fetched as large as it is shown and no larger.
import {askPicture, make, order, pause} from "./talk.js";
import {fitCanvas} from "./quality.js";

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
    this.region = null; // the user's, in pixels of the picture
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
    this.canvas = make("canvas", {className: "picture", tabIndex: 0, ariaLabel: `${name}. Plus and minus zoom, arrows move, 0 fits, 1 shows pixels, space freezes.`});
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
    this.histogram.setAttribute("role", "img");
    this.figure = make("figure", {},
      make("figcaption", {}, choose, this.about),
      make("div", {className: "tools"},
        tool("Fit", "Whole picture (0)", () => this.look(null)),
        tool("1:1", "One pixel as one pixel (1)", () => this.zoomTo(1)),
        this.freezeButton, this.markButton, blackLabel, whiteLabel, this.runButton),
      make("div", {className: "stage"}, this.canvas, this.cover),
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

  look(view) {
    this.view = view;
    this.draw();
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
    let last = null, corner = null;
    this.canvas.addEventListener("wheel", event => {
      event.preventDefault();
      const point = this.pointOf(event);
      this.zoomTo(this.place().zoom * (event.deltaY < 0 ? 1.25 : 0.8), point.x, point.y);
    }, {passive: false});
    this.canvas.addEventListener("pointerdown", event => {
      this.canvas.setPointerCapture(event.pointerId);
      last = this.pointOf(event);
      corner = event.shiftKey ? this.pixelAt(last) : null;
      if (event.shiftKey) {
        this.region = null;
      }
    });
    this.canvas.addEventListener("pointermove", event => {
      this.pointer = this.pointOf(event);
      if (corner !== null) {
        const other = this.pixelAt(this.pointer);
        this.region = {x: Math.min(corner.x, other.x), y: Math.min(corner.y, other.y),
          width: Math.abs(corner.x - other.x) + 1, height: Math.abs(corner.y - other.y) + 1};
        this.draw();
      } else if (last !== null) {
        this.move(this.pointer.x - last.x, this.pointer.y - last.y);
        last = this.pointer;
      }
      this.tellPixel();
    });
    this.canvas.addEventListener("pointerup", () => { last = corner = null; });
    this.canvas.addEventListener("pointerleave", () => { this.pointer = null; this.tellPixel(); });
    this.canvas.addEventListener("dblclick", () => this.look(null));
    const keys = {
      "+": () => this.zoomTo(this.place().zoom * 1.25), "-": () => this.zoomTo(this.place().zoom * 0.8),
      "0": () => this.look(null), "1": () => this.zoomTo(1), " ": () => this.freeze(!this.isFrozen),
      ArrowLeft: () => this.move(40, 0), ArrowRight: () => this.move(-40, 0),
      ArrowUp: () => this.move(0, 40), ArrowDown: () => this.move(0, -40),
    };
    this.canvas.addEventListener("keydown", event => {
      if (keys[event.key] !== undefined && !event.ctrlKey && !event.metaKey) {
        event.preventDefault();
        keys[event.key]();
      }
    });
  }

  async freeze(isFrozen) {
    this.isFrozen = isFrozen;
    this.freezeButton.ariaPressed = String(isFrozen);
    if (isFrozen) {
      // Whole, so that it can be looked at closely.
      const whole = await askPicture({camera: this.camera.key, after: 0}).catch(() => null);
      if (whole !== null && this.isFrozen) {
        this.take(whole);
      }
    }
  }

  wanted() {
    const parameters = {camera: this.camera.key, after: this.number};
    if (this.shown !== null) {
      const place = this.place();
      const left = Math.max(0, Math.floor(place.x)), top = Math.max(0, Math.floor(place.y));
      const right = Math.min(this.shown.pictureWidth, Math.ceil(place.x + this.canvas.width / place.zoom));
      const bottom = Math.min(this.shown.pictureHeight, Math.ceil(place.y + this.canvas.height / place.zoom));
      if (right > left && bottom > top) {
        Object.assign(parameters, {x: left, y: top, width: right - left, height: bottom - top});
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
    const {samples, width, height} = picture;
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
    if (this.region !== null) {
      context.strokeStyle = "#ffb020";
      context.lineWidth = devicePixelRatio || 1;
      context.strokeRect((this.region.x - place.x) * place.zoom, (this.region.y - place.y) * place.zoom, this.region.width * place.zoom, this.region.height * place.zoom);
    }
  }

  /** In the camera's own bits. */
  own(picture, sample) {
    return picture.bytes === 1 ? sample : sample / 2 ** (16 - picture.bits);
  }

  tellPixel() {
    const picture = this.shown;
    if (picture === null || this.pointer === null) {
      this.pixel.textContent = "";
      return;
    }
    const at = this.pixelAt(this.pointer);
    const column = Math.floor((at.x - picture.x) / picture.scale), line = Math.floor((at.y - picture.y) / picture.scale);
    if (column < 0 || line < 0 || column >= picture.width || line >= picture.height) {
      this.pixel.textContent = "";
      return;
    }
    const values = [];
    for (let channel = 0; channel < picture.channels; ++channel) {
      values.push(Math.floor(this.own(picture, picture.samples[(line * picture.width + column) * picture.channels + channel])));
    }
    const mean = picture.scale === 1 ? "" : `, mean of ${picture.scale} × ${picture.scale}`;
    this.pixel.textContent = `x ${at.x}  y ${at.y}\nvalue ${values.join(", ")}${mean}`;
  }

  // Of the user's region, or else of what is seen.
  describe(picture) {
    const now = performance.now();
    if (now - (this.described ?? 0) < 200) {
      return;
    }
    this.described = now;
    const bins = new Uint32Array(256);
    const region = this.region ?? {x: 0, y: 0, width: Infinity, height: Infinity};
    const clamp = (value, end) => Math.min(end, Math.max(0, value));
    const left = clamp(Math.floor((region.x - picture.x) / picture.scale), picture.width);
    const top = clamp(Math.floor((region.y - picture.y) / picture.scale), picture.height);
    const right = clamp(Math.ceil((region.x + region.width - picture.x) / picture.scale), picture.width);
    const bottom = clamp(Math.ceil((region.y + region.height - picture.y) / picture.scale), picture.height);
    const shift = picture.bytes === 1 ? 0 : 8;
    let count = 0, sum = 0, squares = 0;
    for (let y = top; y < bottom; ++y) {
      const begin = (y * picture.width + left) * picture.channels, end = (y * picture.width + right) * picture.channels;
      for (let i = begin; i < end; ++i) {
        const sample = picture.samples[i];
        ++bins[sample >> shift];
        sum += sample;
        squares += sample * sample;
      }
      count += end - begin;
    }
    if (count === 0) {
      this.statistics.textContent = "";
      return;
    }
    const mean = sum / count, deviation = Math.sqrt(Math.max(0, squares / count - mean * mean));
    const what = this.region === null ? "what is seen" : `region ${this.region.width} × ${this.region.height}`;
    this.statistics.textContent = `${what}\nmean ${this.own(picture, mean).toFixed(2)}  deviation ${this.own(picture, deviation).toFixed(2)}`;
    fitCanvas(this.histogram);
    const context = this.histogram.getContext("2d");
    const most = Math.max(...bins), step = this.histogram.width / 256;
    context.clearRect(0, 0, this.histogram.width, this.histogram.height);
    context.fillStyle = getComputedStyle(this.histogram).getPropertyValue("--accent");
    bins.forEach((bin, i) => {
      const height = bin / most * this.histogram.height;
      context.fillRect(i * step, this.histogram.height - height, Math.max(1, step), height);
    });
  }
}
