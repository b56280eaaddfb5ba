// One feature of a camera: an editor for its kind, its limits, and why it cannot be changed. What the user is about to
// enter is not overwritten; a value that the camera refuses goes back.
import {make} from "./talk.js";

const steps = 1000;
const states = {RO: "read-only", NA: "not available", NI: "not implemented", WO: "write-only", RW: ""};

function isWritable(feature) {
  return feature.access === "RW" || feature.access === "WO";
}

function hasRange({min, max, value}) {
  return [min, max, value].every(number => typeof number === "number" && Number.isFinite(number)) && min < max;
}

/** A slider goes in equal steps, or in steps of equal ratio over more than three decades. */
function isByRatio({min, max}) {
  return min > 0 && max / min > 1000;
}

function stepOf(feature) {
  const {min, max, value} = feature;
  return Math.round(steps * (isByRatio(feature) ? Math.log(value / min) / Math.log(max / min) : (value - min) / (max - min)));
}

function numberAt(step, feature) {
  const {min, max} = feature;
  const number = isByRatio(feature) ? min * (max / min) ** (step / steps) : min + (max - min) * step / steps;
  if (feature.kind !== "Integer") {
    return Math.min(max, Math.max(min, Number(number.toPrecision(6))));
  }
  const increment = typeof feature.increment === "number" ? feature.increment : 1;
  return min + Math.min(Math.floor((max - min) / increment), Math.round((number - min) / increment)) * increment;
}

function shortly(number) {
  return Number(number.toPrecision(6)).toLocaleString("en", {maximumSignificantDigits: 6});
}

export class Feature {
  /** submit: told the text that the user wants, or null to execute; answers the refusal's text, or null. */
  constructor(facts, submit) {
    this.facts = facts;
    this.submit = submit;
    this.isEdited = false; // by the user, who has not finished
    this.isSent = false; // and the server has not answered
    this.editor = this.makeEditor();
    this.editor.id = `feature-${facts.name}`;
    this.state = make("small", {className: "state"});
    this.error = make("p", {className: "error", hidden: true});
    this.error.setAttribute("role", "alert");
    this.makeSlider();
    this.element = make("div", {className: "feature"},
      make("div", {className: "name"}, make("label", {htmlFor: this.editor.id, title: facts.toolTip ?? ""}, facts.name), this.state),
      make("div", {className: "value"}, this.editor, ...(facts.unit ? [make("span", {className: "unit"}, facts.unit)] : [])),
      this.range, this.error);
    this.element.dataset.name = facts.name;
    this.show();
  }

  makeEditor() {
    const {name, kind} = this.facts;
    const editor = kind === "Command" ? make("button", {type: "button", ariaLabel: `Execute ${name}`}, "Execute")
      : kind === "Enumeration" ? make("select")
      : make("input", {type: kind === "Boolean" ? "checkbox" : "text", spellcheck: false, autocomplete: "off"});
    const begin = () => { this.isEdited = true; };
    const end = () => {
      this.isEdited = false;
      this.show();
    };
    if (kind === "Command") {
      editor.addEventListener("click", () => this.send(null));
      return editor;
    }
    editor.addEventListener("change", () => this.send(kind === "Boolean" ? String(editor.checked) : editor.value));
    editor.addEventListener("blur", end);
    if (kind === "Enumeration") {
      // An open list closes when its options change.
      editor.addEventListener("pointerdown", begin);
      editor.addEventListener("keydown", begin);
    } else if (kind !== "Boolean") {
      editor.addEventListener("input", begin);
      editor.addEventListener("keydown", event => event.key === "Escape" && end());
    }
    return editor;
  }

  makeSlider() {
    const {name, unit} = this.facts;
    this.slider = make("input", {type: "range", min: 0, max: steps, ariaLabel: `${name}, slider`});
    this.slider.addEventListener("input", () => {
      this.isEdited = true;
      const number = numberAt(Number(this.slider.value), this.facts);
      this.editor.value = number;
      this.slider.ariaValueText = `${shortly(number)} ${unit ?? ""}`;
    });
    this.slider.addEventListener("change", () => this.send(String(numberAt(Number(this.slider.value), this.facts))));
    this.least = make("small");
    this.most = make("small");
    this.range = make("div", {className: "range"}, this.least, this.slider, this.most);
  }

  async send(text) {
    this.isEdited = false;
    this.isSent = true;
    try {
      const refusal = await this.submit(this.facts, text);
      this.error.textContent = refusal ?? "";
    } finally {
      this.isSent = false;
      this.show();
    }
  }

  /** What the server says of it by now; where it stands and who looks for it stays. */
  update(facts) {
    const {category, visibility} = this.facts;
    this.facts = {...facts, category, visibility};
    if (!this.isSent) {
      this.show();
    }
  }

  show() {
    const {kind, access, locked, toolTip, unit, error, min, max, increment} = this.facts;
    const canWrite = isWritable(this.facts);
    const state = locked ? "locked" : kind === "Command" && access === "WO" ? "" : states[access] ?? access;
    const limits = min === undefined ? "" : `from ${min} to ${max}` + (increment === undefined ? "" : `, step ${increment}`);
    this.state.textContent = state;
    this.element.classList.toggle("fixed", !canWrite);
    this.editor.title = [limits, toolTip ?? ""].filter(text => text !== "").join("\n");
    this.editor.ariaDescription = [state, limits, toolTip ?? ""].filter(text => text !== "").join(", ");
    if (kind === "Command" || kind === "Enumeration" || kind === "Boolean") {
      this.editor.disabled = !canWrite;
    } else {
      // What can only be read can still be marked and copied.
      this.editor.readOnly = !canWrite;
      this.editor.disabled = access === "NA" || access === "NI";
    }
    this.range.hidden = !canWrite || kind === "Boolean" || !hasRange(this.facts);
    if (error) {
      this.error.textContent = error;
    }
    this.error.hidden = this.error.textContent === "";
    if (this.isEdited) {
      return;
    }
    this.showValue();
    if (!this.range.hidden) {
      this.slider.value = stepOf(this.facts);
      this.slider.ariaValueText = `${shortly(this.facts.value)} ${unit ?? ""}`;
      this.least.textContent = shortly(min);
      this.most.textContent = shortly(max);
    }
  }

  showValue() {
    const {kind, value, entries} = this.facts;
    if (kind === "Boolean") {
      this.editor.checked = value === true;
    } else if (kind === "Enumeration") {
      const names = [...(entries ?? [])];
      if (value !== undefined && !names.includes(value)) {
        names.push(value);
      }
      if (names.join("\n") !== [...this.editor.options].map(option => option.value).join("\n")) {
        this.editor.replaceChildren(...names.map(name => make("option", {value: name}, name)));
      }
      this.editor.value = value;
    } else if (kind !== "Command" && this.editor.value !== String(value ?? "")) {
      this.editor.value = value ?? "";
    }
  }
}
