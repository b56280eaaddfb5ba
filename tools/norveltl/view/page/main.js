// The page: cameras to open on the left, their pictures in the middle, the chosen camera on the right.
import {ask, make, order, pause, whenReached} from "./talk.js";
import {Events} from "./events.js";
import {Features} from "./features.js";
import {Keep} from "./keep.js";
import {Picture} from "./picture.js";
import {plotIntervals, showFigures} from "./quality.js";

const element = id => document.getElementById(id);
const pictures = new Map(); // by the cameras' keys
const features = new Features({list: element("features"), filter: element("filter"), level: element("level"), more: element("more")});
const events = new Events({list: element("events"), pause: element("events-pause"), about: element("events-about")});
let chosen = null;

function tell(text) {
  element("trouble").textContent = text;
  element("trouble").hidden = text === "";
}

async function attempt(work) {
  try {
    await work();
    tell("");
  } catch (error) {
    if (error.status !== undefined) {
      tell(error.message);
    }
  }
}

function choose(key) {
  if (chosen === key) {
    return;
  }
  chosen = key;
  const picture = pictures.get(key);
  element("chosen").textContent = picture ? picture.camera.name || picture.camera.id : "No camera";
  for (const [other, its] of pictures) {
    its.figure.classList.toggle("chosen", other === key);
  }
  if (!picture) {
    element("figures").replaceChildren();
    plotIntervals(element("intervals"), []);
  }
  events.show(key);
  features.show(key);
}

function showPictures(cameras) {
  const open = new Map(cameras.filter(camera => camera.isOpen).map(camera => [camera.key, camera]));
  for (const [key, picture] of pictures) {
    if (!open.has(key)) {
      picture.close();
      pictures.delete(key);
    }
  }
  for (const [key, camera] of open) {
    if (!pictures.has(key)) {
      const picture = new Picture(camera, () => choose(key));
      pictures.set(key, picture);
      element("pictures").append(picture.figure);
    }
  }
  element("empty").hidden = pictures.size > 0;
  if (!pictures.has(chosen)) {
    chosen = undefined;
    choose(pictures.keys().next().value ?? null);
  }
}

function cameraRow(camera) {
  const button = make("button", {type: "button", disabled: !camera.canBeOpened}, camera.isOpen ? "Close" : "Open");
  button.dataset.key = camera.key;
  button.ariaLabel = `${button.textContent} ${camera.id}`;
  button.addEventListener("click", () => attempt(async () => {
    if (button.ariaBusy === "true") {
      return;
    }
    // Disabled, it would lose the focus.
    button.ariaBusy = "true";
    try {
      await order(camera.isOpen ? "close" : "open", {camera: camera.key});
    } finally {
      button.ariaBusy = "false";
      await listCameras();
    }
  }));
  const name = make("span", {className: "name"}, camera.name || camera.id, make("br"),
    make("small", {}, [camera.model, camera.serialNumber, camera.access].filter(text => text !== "").join(" · ")));
  return make("div", {className: camera.isOpen ? "camera open" : "camera"}, name, button);
}

function showCameras({producers, gone}) {
  const cameras = [];
  const rows = [];
  for (const producer of producers) {
    rows.push(make("p", {className: "producer", title: producer.path}, producer.path.split(/[\\/]/).pop()));
    for (const its of producer.interfaces) {
      rows.push(make("p", {className: "interface"}, its.name));
      if (its.error) {
        rows.push(make("p", {className: "error"}, its.error));
      }
      rows.push(...its.cameras.map(cameraRow));
      cameras.push(...its.cameras);
    }
  }
  rows.push(...gone.map(cameraRow));
  cameras.push(...gone);
  if (cameras.length === 0) {
    rows.push(make("p", {className: "weak"}, "No camera was found."));
  }
  const {key} = document.activeElement.dataset;
  element("cameras").replaceChildren(...rows);
  if (key !== undefined) {
    [...element("cameras").querySelectorAll("button")].find(button => button.dataset.key === key)?.focus();
  }
  showPictures(cameras);
}

async function listCameras() {
  showCameras(await ask("cameras"));
}

// A camera whose images ended is opened anew as soon as it is back.
async function recover(key) {
  showCameras(await order("search"));
  await order("open", {camera: key});
  if (key === chosen) {
    await features.show(key);
  }
}

async function watch() {
  for (let round = 1;; ++round) {
    for (const [key, picture] of pictures) {
      try {
        const quality = await ask("quality", {camera: key});
        picture.update(quality);
        if (key === chosen) {
          showFigures(element("figures"), quality);
          plotIntervals(element("intervals"), quality.intervals);
          if (element("reports").open) {
            await events.refresh();
          }
        }
        if (quality.trouble !== "" && round % 8 === 0) {
          await recover(key);
        }
      } catch (error) {
        if (error.status === 410) {
          await listCameras().catch(() => {});
        }
      }
    }
    await pause(250);
  }
}

let isReached = true;
whenReached(isThere => {
  if (isThere !== isReached) {
    isReached = isThere;
    tell(isThere ? "" : "The server does not answer: is norveltl view still running?");
    if (isThere) {
      attempt(listCameras);
    }
  }
});
element("search").addEventListener("click", () => attempt(async () => showCameras(await order("search"))));
element("reload").addEventListener("click", () => features.show(chosen));
new Keep(pictures, () => pictures.get(chosen), () => features.show(chosen));
await attempt(listCameras);
watch();
