// What the chosen camera has reported: the newest events first, with their times, names and data.
import {ask, make} from "./talk.js";

const mostRows = 200;

function timeOf(milliseconds) {
  const time = new Date(milliseconds);
  const part = (number, length) => String(number).padStart(length, "0");
  return `${part(time.getHours(), 2)}:${part(time.getMinutes(), 2)}:${part(time.getSeconds(), 2)}.${part(time.getMilliseconds(), 3)}`;
}

function nameOf({name, id}) {
  return name ?? (typeof id === "number" ? `ID 0x${id.toString(16)}` : `ID ${id}`);
}

function dataOf({value, data, text, bytes}) {
  const parts = Object.entries(data).map(([name, its]) => `${name} ${its}`);
  if (value !== null) {
    parts.unshift(`value ${value}`);
  }
  if (text !== "") {
    parts.push(text);
  }
  return parts.length > 0 ? parts.join("  ") : bytes;
}

export class Events {
  /** Of elements: the list, the button that pauses it, and what is said about it. */
  constructor({list, pause, about}) {
    Object.assign(this, {list, pause, about});
    this.isPaused = false;
    this.show(null);
    pause.addEventListener("click", () => {
      this.isPaused = !this.isPaused;
      pause.ariaPressed = String(this.isPaused);
    });
    pause.ariaPressed = "false";
  }

  show(camera) {
    this.camera = camera;
    this.number = 0;
    this.list.replaceChildren();
    this.about.textContent = "";
  }

  async refresh() {
    const camera = this.camera;
    if (camera === null || this.isPaused) {
      return;
    }
    const {newest, events, lacking} = await ask("events", {camera, after: this.number, most: mostRows});
    if (camera !== this.camera || this.isPaused) {
      return;
    }
    // A camera that was opened anew counts anew.
    this.number = newest < this.number ? 0 : newest;
    const rows = events.map(event => make("li", {title: event.source},
      make("time", {}, timeOf(event.time)), make("b", {}, nameOf(event)), make("span", {}, dataOf(event))));
    this.list.prepend(...rows.reverse());
    while (this.list.childElementCount > mostRows) {
      this.list.lastElementChild.remove();
    }
    this.about.textContent = [`${newest.toLocaleString("en")} since it was opened`, ...lacking].join("\n");
  }
}
