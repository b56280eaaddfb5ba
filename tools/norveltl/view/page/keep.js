// What is kept of the chosen camera: snapshots and recordings, which the server writes into its folder, and settings,
// which are the browser's own files.
import {ask, make, order, pause} from "./talk.js";

const longestSettings = 500_000;
const element = id => document.getElementById(id);

function amount(bytes) {
  return bytes >= 1e9 ? `${(bytes / 1e9).toFixed(1)} GB` : `${(bytes / 1e6).toFixed(1)} MB`;
}

function describe({name, state, trouble, images, seconds, bytes, leftOut, waiting}) {
  const parts = [`${images.toLocaleString("en")} images, ${seconds.toFixed(1)} s, ${amount(bytes)}`];
  if (leftOut > 0) {
    parts.push(`${leftOut.toLocaleString("en")} left out`);
  }
  if (waiting > 0) {
    parts.push(`${waiting.toLocaleString("en")} still to be written`);
  }
  if (state === "ended") {
    parts.push(trouble === "" ? "ended" : `ended: ${trouble}`);
  }
  return `${name}: ${parts.join(" · ")}`;
}

export class Keep {
  /** chosen answers the picture of the chosen camera, if there is one; all of them are in pictures by their keys. */
  constructor(pictures, chosen, onSettings) {
    this.pictures = pictures;
    this.chosen = chosen;
    this.recordings = new Map();
    const click = (id, action) => element(id).addEventListener("click", () => this.attempt(action));
    click("snapshot", picture => this.takeSnapshot(picture));
    click("record", picture => this.toggleRecording(picture));
    click("save-settings", picture => this.saveSettings(picture));
    element("load-settings").addEventListener("click", () => element("settings-file").click());
    element("settings-file").addEventListener("change", () => this.attempt(async picture => {
      await this.loadSettings(picture);
      await onSettings();
    }));
    this.watch();
  }

  tell(...lines) {
    element("kept").replaceChildren(...lines.map(line => make("p", {}, line)));
  }

  async attempt(action) {
    const picture = this.chosen();
    if (picture === undefined) {
      return;
    }
    try {
      await action(picture);
    } catch (error) {
      element("kept").replaceChildren(make("p", {className: "error", role: "alert"}, error.message));
    }
  }

  async takeSnapshot(picture) {
    const frozen = picture.isFrozen ? {number: picture.number} : {};
    const {number, files} = await order("snapshot", {camera: picture.camera.key, kind: element("snapshot-kind").value, ...frozen});
    this.tell(`Image ${number.toLocaleString("en")} is kept: ${files.join(", ")}`);
  }

  async toggleRecording(picture) {
    const camera = picture.camera.key;
    const takes = this.recordings.get(camera)?.state === "takes";
    await (takes ? order("record/end", {camera}) : order("record", {camera, kind: element("record-kind").value}));
    await this.look();
  }

  async saveSettings(picture) {
    const {name, text, notes, errors} = await ask("settings", {camera: picture.camera.key});
    const url = URL.createObjectURL(new Blob([text], {type: "text/plain"}));
    make("a", {href: url, download: name}).click();
    URL.revokeObjectURL(url);
    this.tell(`The settings are saved: ${name}`, ...notes, ...errors);
  }

  async loadSettings(picture) {
    const [file] = element("settings-file").files;
    element("settings-file").value = "";
    if (file === undefined) {
      return;
    }
    if (file.size > longestSettings) {
      throw new Error(`${file.name} is too large for settings`);
    }
    const {settings, refused} = await order("settings", {camera: picture.camera.key, file: file.name, text: await file.text()});
    this.tell(`${settings - refused.length} of ${settings} settings of ${file.name} are taken`,
      ...refused.map(({line, reason}) => `line ${line}: ${reason}`));
  }

  async look() {
    const {folder, left, recordings} = await ask("keep");
    this.recordings = new Map(recordings.map(recording => [recording.camera, recording]));
    for (const [key, picture] of this.pictures) {
      picture.figure.classList.toggle("recording", this.recordings.get(key)?.state === "takes");
    }
    const picture = this.chosen();
    const recording = picture && this.recordings.get(picture.camera.key);
    const takes = recording?.state === "takes";
    element("record").textContent = takes ? "End recording" : "Record";
    element("record").ariaPressed = String(takes);
    element("record-kind").disabled = takes;
    element("recording").textContent = recording === undefined ? "" : describe(recording);
    element("space").textContent = left === null ? folder : `${folder} · ${amount(left)} left`;
    for (const id of ["snapshot", "record", "save-settings", "load-settings"]) {
      element(id).disabled = picture === undefined;
    }
  }

  async watch() {
    for (;;) {
      if (!document.hidden) {
        await this.look().catch(() => {});
      }
      await pause(500);
    }
  }
}
