// Figures of a stream, and the times between its images as a running plot.
import {make} from "./talk.js";

const unknown = "not reported";

function amount(value, unit = "") {
  return value === null ? unknown : value.toLocaleString("en") + unit;
}

export function showFigures(list, quality) {
  const rows = [
    ["state", quality.trouble || (quality.acquires ? "images come" : "stopped")],
    ["frames", `${quality.framesPerSecond.toFixed(2)} /s`],
    ["data", `${(quality.bytesPerSecond / 1e6).toFixed(1)} MB/s`],
    ["delivered", amount(quality.delivered)],
    ["lost", amount(quality.lost)],
    ["incomplete", amount(quality.incomplete)],
    ["waiting", amount(quality.awaiting)],
  ];
  list.replaceChildren(...rows.flatMap(([name, text]) => [make("dt", {}, name), make("dd", {}, text)]));
}

/** Sizes a canvas to the pixels that it takes on the screen. */
export function fitCanvas(canvas) {
  const ratio = devicePixelRatio || 1;
  const width = Math.max(1, Math.round(canvas.clientWidth * ratio));
  const height = Math.max(1, Math.round(canvas.clientHeight * ratio));
  if (canvas.width !== width || canvas.height !== height) {
    canvas.width = width;
    canvas.height = height;
  }
  return ratio;
}

export function plotIntervals(canvas, intervals) {
  const ratio = fitCanvas(canvas);
  const style = getComputedStyle(canvas);
  const context = canvas.getContext("2d");
  const left = 58 * ratio, bottom = 16 * ratio, top = 12 * ratio;
  const width = canvas.width - left - 4 * ratio, height = canvas.height - bottom - top;
  context.clearRect(0, 0, canvas.width, canvas.height);
  context.font = `${11 * ratio}px system-ui, sans-serif`;
  context.fillStyle = style.getPropertyValue("--weak");
  context.fillText("time between the newest images", left, canvas.height - 4 * ratio);
  if (intervals.length === 0) {
    return;
  }
  const longest = Math.max(...intervals);
  const end = longest > 0 ? longest * 1.1 : 1;
  context.textAlign = "right";
  context.fillText(`${longest.toPrecision(3)} ms`, left - 4 * ratio, top + (1 - longest / end) * height + 4 * ratio);
  context.fillText("0", left - 4 * ratio, top + height);
  context.textAlign = "left";
  context.strokeStyle = style.getPropertyValue("--line");
  context.strokeRect(left, top, width, height);
  context.strokeStyle = style.getPropertyValue("--accent");
  context.lineWidth = ratio;
  context.beginPath();
  intervals.forEach((interval, i) => {
    context.lineTo(left + (i + 0.5) / intervals.length * width, top + (1 - interval / end) * height);
  });
  context.stroke();
}
