// A camera's features by category, each with an editor for its kind. A value that the camera refuses goes back.
import {ask, make, order} from "./talk.js";

const steps = 1000;

function isWritable(feature) {
  return feature.access === "RW" || feature.access === "WO";
}

function textEditor(feature, submit) {
  const editor = make("input", {type: "text", value: feature.value ?? ""});
  editor.addEventListener("change", () => submit(editor.value));
  return editor;
}

function makeEditor(feature, submit) {
  switch (feature.kind) {
  case "Boolean": {
    const editor = make("input", {type: "checkbox", checked: feature.value === true});
    editor.addEventListener("change", () => submit(String(editor.checked)));
    return editor;
  }
  case "Enumeration": {
    const names = [...(feature.entries ?? [])];
    if (feature.value !== undefined && !names.includes(feature.value)) {
      names.push(feature.value);
    }
    const editor = make("select", {}, ...names.map(name => make("option", {value: name, selected: name === feature.value}, name)));
    editor.addEventListener("change", () => submit(editor.value));
    return editor;
  }
  case "Command": {
    const editor = make("button", {type: "button"}, "Execute");
    editor.addEventListener("click", () => submit(null));
    return editor;
  }
  default:
    return textEditor(feature, submit);
  }
}

/** For a number between limits: a slider in equal steps, or in steps of equal ratio over more than three decades. */
function makeSlider(feature, submit) {
  const {min, max, value} = feature;
  if (![min, max, value].every(number => typeof number === "number" && Number.isFinite(number)) || min >= max) {
    return null;
  }
  const byRatio = min > 0 && max / min > 1000;
  const toStep = number => Math.round(steps * (byRatio ? Math.log(number / min) / Math.log(max / min) : (number - min) / (max - min)));
  const toNumber = step => byRatio ? min * (max / min) ** (step / steps) : min + (max - min) * step / steps;
  const slider = make("input", {type: "range", min: 0, max: steps, value: toStep(value), ariaLabel: `${feature.name}, slider`});
  slider.addEventListener("change", () => {
    let number = Math.min(max, Math.max(min, toNumber(Number(slider.value))));
    if (feature.kind === "Integer") {
      const increment = typeof feature.increment === "number" ? feature.increment : 1;
      number = min + Math.round((number - min) / increment) * increment;
    }
    submit(String(feature.kind === "Integer" ? number : Number(number.toPrecision(6))));
  });
  return slider;
}

export class Features {
  constructor(list, filter) {
    this.list = list;
    this.filter = filter;
    this.camera = null;
    this.closed = new Set();
    filter.addEventListener("input", () => this.applyFilter());
  }

  async show(camera) {
    this.camera = camera;
    if (camera === null) {
      this.list.replaceChildren();
      return;
    }
    let features;
    try {
      features = await ask("features", {camera});
    } catch (error) {
      this.list.replaceChildren(make("p", {className: "error"}, error.message));
      return;
    }
    if (camera !== this.camera) {
      return;
    }
    const groups = new Map();
    for (const feature of features) {
      const rows = groups.get(feature.category) ?? groups.set(feature.category, []).get(feature.category);
      rows.push(this.makeRow(feature));
    }
    const scrolled = this.list.scrollTop;
    this.list.replaceChildren(...[...groups].map(([category, rows]) => {
      const group = make("details", {open: !this.closed.has(category)}, make("summary", {}, category || "Others"), ...rows);
      group.addEventListener("toggle", () => this.closed[group.open ? "delete" : "add"](category));
      return group;
    }));
    this.list.scrollTop = scrolled;
    this.applyFilter();
  }

  applyFilter() {
    const wanted = this.filter.value.trim().toLowerCase();
    for (const group of this.list.querySelectorAll("details")) {
      let isAny = false;
      for (const row of group.querySelectorAll(".feature")) {
        row.hidden = !row.dataset.name.toLowerCase().includes(wanted);
        isAny ||= !row.hidden;
      }
      group.hidden = !isAny;
      if (wanted !== "") {
        group.open = true;
      }
    }
  }

  makeRow(feature) {
    const row = make("div", {className: "feature"});
    row.dataset.name = feature.name;
    const submit = value => this.submit(row, feature, value);
    const editor = makeEditor(feature, submit);
    editor.id = `feature-${feature.name}`;
    editor.disabled = feature.kind === "Command" ? feature.access === "NA" : !isWritable(feature);
    const label = make("label", {htmlFor: editor.id, title: feature.toolTip ?? ""}, feature.name);
    const value = make("span", {className: "value"}, editor);
    if (feature.unit) {
      value.append(make("span", {className: "unit"}, feature.unit));
    }
    if (feature.min !== undefined) {
      editor.title = `from ${feature.min} to ${feature.max}` + (feature.increment === undefined ? "" : `, step ${feature.increment}`);
    } else if (editor.disabled) {
      editor.title = feature.access === "RO" ? "read-only" : "not available now";
    }
    row.append(label, value);
    const slider = isWritable(feature) ? makeSlider(feature, submit) : null;
    if (slider !== null) {
      row.append(slider);
    }
    if (feature.error) {
      row.append(make("p", {className: "error"}, feature.error));
    }
    return row;
  }

  async submit(row, feature, value) {
    const camera = this.camera;
    let refusal = null;
    try {
      await (value === null ? order("execute", {camera, name: feature.name})
        : order("set", {camera, name: feature.name, value}));
    } catch (error) {
      refusal = error.message;
    }
    // One feature can change others.
    await this.show(camera);
    const same = [...this.list.querySelectorAll(".feature")].find(other => other.dataset.name === feature.name);
    if (refusal !== null && same !== undefined) {
      same.append(make("p", {className: "error", role: "alert"}, refusal));
    }
    same?.querySelector("input, select, button")?.focus();
  }
}
