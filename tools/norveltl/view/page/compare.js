// A picture that was kept, beside the live one: on the left of a border that the user moves, or as what differs.

export class Comparison {
  /** kept: a whole picture in its full resolution. */
  constructor(kept) {
    this.kept = kept;
    this.mode = "wipe"; // or "difference"
    this.matchedFor = "";
    this.matched = null;
  }

  fits(picture) {
    return ["pictureWidth", "pictureHeight", "channels", "bytes"].every(key => picture[key] === this.kept[key]);
  }

  /** The samples of what was kept that lie where those of the picture do, scaled down in the same way. */
  match(picture) {
    const {x, y, width, height, scale} = picture;
    const place = [x, y, width, height, scale].join();
    if (this.matchedFor === place) {
      return this.matched;
    }
    const {samples, pictureWidth, channels} = this.kept;
    const matched = new picture.samples.constructor(width * height * channels);
    const lineSize = pictureWidth * channels, area = scale * scale;
    for (let line = 0, out = 0; line < height; ++line) {
      for (let column = 0; column < width; ++column) {
        const first = (y + line * scale) * lineSize + (x + column * scale) * channels;
        for (let channel = 0; channel < channels; ++channel, ++out) {
          let sum = area >> 1;
          for (let j = 0; j < scale; ++j) {
            for (let i = 0; i < scale; ++i) {
              sum += samples[first + channel + j * lineSize + i * channels];
            }
          }
          matched[out] = Math.floor(sum / area);
        }
      }
    }
    this.matchedFor = place;
    return this.matched = matched;
  }

  /** The samples to show in place of the picture's own; border: the first column of the live picture. */
  compose(picture, border) {
    const kept = this.match(picture), live = picture.samples;
    const shown = live.slice();
    if (this.mode === "wipe") {
      const lineSize = picture.width * picture.channels;
      const size = Math.min(picture.width, Math.max(0, border)) * picture.channels;
      for (let begin = 0; begin < kept.length; begin += lineSize) {
        shown.set(kept.subarray(begin, begin + size), begin);
      }
      return shown;
    }
    // What is the same is grey; what has become brighter is brighter.
    const most = picture.bytes === 1 ? 255 : 65535, middle = (most + 1) / 2;
    for (let i = 0; i < shown.length; ++i) {
      shown[i] = Math.min(most, Math.max(0, middle + live[i] - kept[i]));
    }
    return shown;
  }
}
