// What the page says to the server, and who hears that the server is gone.

let onReach = () => {};

export function whenReached(listener) {
  onReach = listener;
}

export class Refusal extends Error {
  constructor(status, text) {
    super(text);
    this.status = status;
  }
}

async function reach(path, options) {
  let response;
  try {
    response = await fetch(path, options);
  } catch (error) {
    if (error.name !== "AbortError") {
      onReach(false);
    }
    throw error;
  }
  onReach(true);
  if (!response.ok) {
    throw new Refusal(response.status, (await response.text()).trim());
  }
  return response;
}

/** A parameter that is a list stands there once for each element. */
function pathOf(path, parameters) {
  const pairs = Object.entries(parameters).flatMap(([name, values]) => [values].flat().map(value => [name, value]));
  return `/api/${path}?${new URLSearchParams(pairs)}`;
}

export async function ask(path, parameters = {}) {
  return (await reach(pathOf(path, parameters))).json();
}

export async function order(path, body = {}) {
  const options = {method: "POST", headers: {"Content-Type": "application/json"}, body: JSON.stringify(body)};
  return (await reach(`/api/${path}`, options)).json();
}

/** The newest picture after a number, or null when none has come; its samples are numbers. */
export async function askPicture(parameters, signal) {
  const response = await reach(pathOf("picture", parameters), {signal});
  if (response.status === 204) {
    return null;
  }
  const picture = JSON.parse(response.headers.get("Picture"));
  const bytes = await response.arrayBuffer();
  if (picture.bytes === 1) {
    picture.samples = new Uint8Array(bytes);
  } else {
    const view = new DataView(bytes);
    picture.samples = new Uint16Array(bytes.byteLength / 2);
    for (let i = 0; i < picture.samples.length; ++i) {
      picture.samples[i] = view.getUint16(2 * i);
    }
  }
  return picture;
}

export function pause(milliseconds) {
  return new Promise(resolve => setTimeout(resolve, milliseconds));
}

/** An element with properties, and children that are elements or texts; texts never become markup. */
export function make(tag, properties = {}, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
}
