// A camera's features by category. Those that are seen follow the camera; the others are not asked for.
import {ask, make, order, pause} from "./talk.js";
import {Feature} from "./feature.js";

const levels = ["Beginner", "Expert", "Guru"];
const followPause = 1000;
const mostAtOnce = 50;

export class Features {
  /** Of elements: the list, the search, who looks, and what is hidden from them. */
  constructor({list, filter, level, more}) {
    Object.assign(this, {list, filter, level, more});
    this.camera = null;
    this.closed = new Set();
    this.features = new Map(); // by their names
    this.seen = new Set(); // names
    this.observer = new IntersectionObserver(entries => {
      for (const {target, isIntersecting} of entries) {
        this.seen[isIntersecting ? "add" : "delete"](target.dataset.name);
      }
    }, {root: list});
    level.replaceChildren(...levels.map(name => make("option", {value: name}, name)));
    level.value = localStorage.getItem("level") ?? levels[0];
    level.addEventListener("change", () => {
      localStorage.setItem("level", level.value);
      this.applyFilter();
    });
    filter.addEventListener("input", () => this.applyFilter());
    this.follow();
  }

  async show(camera) {
    this.camera = camera;
    this.observer.disconnect();
    this.seen.clear();
    let listed = [];
    let trouble = null;
    if (camera !== null) {
      try {
        listed = await ask("features", {camera});
      } catch (error) {
        trouble = make("p", {className: "error"}, error.message);
      }
      if (camera !== this.camera) {
        return;
      }
    }
    listed = listed.filter(facts => facts.visibility !== "Invisible");
    this.features = new Map(listed.map(facts => [facts.name, new Feature(facts, (...its) => this.submit(camera, ...its))]));
    const groups = new Map();
    for (const {facts, element} of this.features.values()) {
      (groups.get(facts.category) ?? groups.set(facts.category, []).get(facts.category)).push(element);
    }
    const scrolled = this.list.scrollTop;
    this.list.replaceChildren(...[...groups].map(([category, rows]) => {
      const group = make("details", {open: !this.closed.has(category)}, make("summary", {}, category || "Others"), ...rows);
      group.addEventListener("toggle", () => this.closed[group.open ? "delete" : "add"](category));
      return group;
    }), ...(trouble === null ? [] : [trouble]));
    this.list.scrollTop = scrolled;
    this.applyFilter();
    for (const {element} of this.features.values()) {
      this.observer.observe(element);
    }
  }

  applyFilter() {
    const wanted = this.filter.value.trim().toLowerCase();
    const level = levels.indexOf(this.level.value);
    let numHidden = 0;
    for (const {facts, element} of this.features.values()) {
      const matches = facts.name.toLowerCase().includes(wanted);
      const isShown = levels.indexOf(facts.visibility) <= level;
      element.hidden = !matches || !isShown;
      numHidden += matches && !isShown;
    }
    for (const group of this.list.querySelectorAll("details")) {
      group.hidden = group.querySelector(".feature:not([hidden])") === null;
      if (wanted !== "") {
        group.open = true;
      }
    }
    this.more.textContent = numHidden === 0 ? "" : `${numHidden} more for ${levels.slice(level + 1).join(" and ")}`;
  }

  /** Reads what is seen anew. */
  async refresh() {
    const camera = this.camera;
    const names = [...this.seen].filter(name => this.features.has(name)).slice(0, mostAtOnce);
    if (camera === null || names.length === 0) {
      return;
    }
    const read = await ask("features", {camera, name: names});
    if (camera === this.camera) {
      read.forEach(facts => this.features.get(facts.name)?.update(facts));
    }
  }

  async follow() {
    for (;;) {
      await pause(followPause);
      if (!document.hidden) {
        // Whether the camera is there is told elsewhere.
        await this.refresh().catch(() => {});
      }
    }
  }

  async submit(camera, {name}, value) {
    let refusal = null;
    try {
      await (value === null ? order("execute", {camera, name}) : order("set", {camera, name, value}));
    } catch (error) {
      refusal = error.message;
    }
    // One feature can change others.
    await this.refresh().catch(() => {});
    return refusal;
  }
}
