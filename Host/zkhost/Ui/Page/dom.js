// Elements: found, made, shown.

export function byId(id) {
    return document.getElementById(id);
}

/** An element with attributes and children; `on...` are listeners, false and null leave an attribute out. */
export function make(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
        else if (value === true) element.setAttribute(name, "");
        else if (value !== false && value != null) element.setAttribute(name, value);
    }
    element.append(...children.filter((child) => child != null));
    return element;
}

/** A pictogram of index.html. */
export function pictogram(name) {
    const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
    const use = document.createElementNS("http://www.w3.org/2000/svg", "use");
    use.setAttribute("href", `#i-${name}`);
    svg.append(use);
    return svg;
}

/** A square of a colour. */
export function swatch(colour) {
    const square = make("i", { class: "swatch" });
    square.style.backgroundColor = colour; // through the object: the page's rules forbid style attributes
    return square;
}

/** Writes a text only where it is another one, so that nothing is laid out or read aloud again for nothing. */
export function write(element, text) {
    if (element.textContent !== text) element.textContent = text;
}

export function press(button, pressed) {
    button.setAttribute("aria-pressed", String(pressed));
}

/** Presses the one button of a group whose `data-NAME` is the value. */
export function pressOne(group, name, value) {
    for (const button of group.querySelectorAll("button")) press(button, button.dataset[name] === String(value));
}
