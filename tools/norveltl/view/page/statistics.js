// What the samples of a picture say: mean, deviation and histogram of a region, the values along a line.
import {fitCanvas} from "./quality.js";

const channelColors = [["--accent"], [], ["#e0483e", "#2f9e44", "#3b7ddd"]];

/** In the camera's own bits. */
export function ownValue(picture, sample) {
  return picture.bytes === 1 ? sample : sample / 2 ** (16 - picture.bits);
}

/** The sample's place where that pixel of the picture was sent, else -1. */
export function placeOf(picture, {x, y}) {
  const column = Math.floor((x - picture.x) / picture.scale), line = Math.floor((y - picture.y) / picture.scale);
  const isThere = column >= 0 && line >= 0 && column < picture.width && line < picture.height;
  return isThere ? (line * picture.width + column) * picture.channels : -1;
}

/** Of a region of the picture, as far as it was sent: {count, mean, deviation, bins}. */
export function statisticsOf(picture, {x, y, width, height}) {
  const clamp = (value, end) => Math.min(end, Math.max(0, value));
  const left = clamp(Math.floor((x - picture.x) / picture.scale), picture.width);
  const top = clamp(Math.floor((y - picture.y) / picture.scale), picture.height);
  const right = clamp(Math.ceil((x + width - picture.x) / picture.scale), picture.width);
  const bottom = clamp(Math.ceil((y + height - picture.y) / picture.scale), picture.height);
  const shift = picture.bytes === 1 ? 0 : 8;
  const bins = new Uint32Array(256);
  let count = 0, sum = 0, squares = 0;
  for (let line = top; line < bottom; ++line) {
    const begin = (line * picture.width + left) * picture.channels, end = (line * picture.width + right) * picture.channels;
    for (let i = begin; i < end; ++i) {
      const sample = picture.samples[i];
      ++bins[sample >> shift];
      sum += sample;
      squares += sample * sample;
    }
    count += Math.max(0, end - begin);
  }
  const mean = sum / count;
  const deviation = Math.sqrt(Math.max(0, squares / count - mean * mean));
  return {count, mean: ownValue(picture, mean), deviation: ownValue(picture, deviation), bins};
}

export function plotHistogram(canvas, bins) {
  fitCanvas(canvas);
  const context = canvas.getContext("2d");
  const most = Math.max(...bins), step = canvas.width / bins.length;
  context.clearRect(0, 0, canvas.width, canvas.height);
  context.fillStyle = getComputedStyle(canvas).getPropertyValue("--accent");
  bins.forEach((bin, i) => {
    const height = bin / most * canvas.height;
    context.fillRect(i * step, canvas.height - height, Math.max(1, step), height);
  });
}

/** Of each channel the values along a line, from its begin to its end; null where the picture was not sent. */
export function profileOf(picture, [begin, end]) {
  const steps = Math.max(1, Math.ceil(Math.max(Math.abs(end.x - begin.x), Math.abs(end.y - begin.y)) / picture.scale));
  return Array.from({length: picture.channels}, (_, channel) => Array.from({length: steps + 1}, (_, i) => {
    const place = placeOf(picture, {x: Math.round(begin.x + (end.x - begin.x) * i / steps), y: Math.round(begin.y + (end.y - begin.y) * i / steps)});
    return place < 0 ? null : ownValue(picture, picture.samples[place + channel]);
  }));
}

/** Answers what the plot says, for those who do not see it. */
export function plotProfile(canvas, picture, line) {
  const ratio = fitCanvas(canvas);
  const profile = profileOf(picture, line);
  const values = profile.flat().filter(value => value !== null);
  const context = canvas.getContext("2d");
  context.clearRect(0, 0, canvas.width, canvas.height);
  if (values.length === 0) {
    return "the line is not seen";
  }
  const least = values.reduce((one, other) => Math.min(one, other)), most = values.reduce((one, other) => Math.max(one, other));
  const style = getComputedStyle(canvas);
  const left = 52 * ratio, bottom = 15 * ratio, top = 6 * ratio;
  const width = canvas.width - left - 4 * ratio, height = canvas.height - bottom - top;
  const length = Math.hypot(line[1].x - line[0].x, line[1].y - line[0].y);
  const level = value => top + (1 - (value - least) / Math.max(1, most - least)) * height;
  context.font = `${11 * ratio}px system-ui, sans-serif`;
  context.fillStyle = style.getPropertyValue("--weak");
  context.fillText(`${line[0].x}, ${line[0].y}`, left, canvas.height - 3 * ratio);
  context.textAlign = "right";
  context.fillText(`${line[1].x}, ${line[1].y}: ${length.toFixed(1)} pixels long`, left + width, canvas.height - 3 * ratio);
  context.fillText(Math.floor(most), left - 4 * ratio, top + 9 * ratio);
  context.fillText(Math.floor(least), left - 4 * ratio, top + height);
  context.strokeStyle = style.getPropertyValue("--line");
  context.lineWidth = ratio;
  context.strokeRect(left, top, width, height);
  profile.forEach((channel, i) => {
    const color = channelColors[profile.length - 1][i];
    context.strokeStyle = color.startsWith("--") ? style.getPropertyValue(color) : color;
    context.beginPath();
    channel.forEach((value, k) => value !== null && context.lineTo(left + k / (channel.length - 1) * width, level(value)));
    context.stroke();
  });
  return `from ${Math.floor(least)} to ${Math.floor(most)}, ${length.toFixed(1)} pixels long`;
}
