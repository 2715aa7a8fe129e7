// Making parts of the page. Texts from outside only ever become text nodes.

function element(tag, attributes = {}, children = []) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    node.setAttribute(name, value);
  }
  node.append(...children);
  return node;
}

// A text from outside: with its own direction, and no effect on what stands around it.
function foreign(text, attributes = {}) {
  return element("bdi", attributes, [String(text)]);
}

function button(text, onClick, attributes = {}) {
  const node = element("button", { type: "button", ...attributes }, [text]);
  node.addEventListener("click", onClick);
  return node;
}

// Writes only what is different: a screen reader is not told the same again.
function setText(node, text) {
  if (node.textContent !== text) {
    node.textContent = text;
  }
}

function rounded(value) {
  return Math.abs(value) < 100 ? Math.round(value * 10) / 10 : Math.round(value);
}

function number(value, unit) {
  return value === null || value === undefined || Number.isNaN(value) ? "n/a" : `${rounded(value)} ${unit}`;
}
