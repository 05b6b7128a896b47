// The values under the pointer, and what a click there would take. One question at a time, the newest place next.

import { getJson, Refusal } from "./api.js";
import { byId, make, swatch } from "./dom.js";
import { drawn, lastFrame } from "./picture.js";
import { current } from "./server.js";
import { Signal } from "./signal.js";
import { protects, tool } from "./tools.js";
import { pixelAt, screenSize } from "./viewport.js";

/** Where the pointer is on the screen, the pixel under it, and its values where they are known. */
export const probe = { at: null, pixel: null, values: null, protect: false };
/** Tells that something of it changed. */
export const probed = new Signal();

let wanted = false;
let busy = false;

/** The pointer is at a place of the screen, or nowhere (null). */
export function hover(at, event) {
    const pixel = at && pixelAt(at.x, at.y);
    const another = pixel?.x !== probe.pixel?.x || pixel?.y !== probe.pixel?.y;
    Object.assign(probe, { at, pixel, protect: Boolean(event && protects(event)) });
    if (!pixel) probe.values = null;
    if (another) ask();
    show();
}

function ask() {
    wanted = Boolean(probe.pixel);
    if (!busy) answerAll();
}

async function answerAll() {
    busy = true;
    try {
        while (wanted && lastFrame()) {
            wanted = false;
            await answerOne(probe.pixel);
            show();
        }
    } finally {
        busy = false;
    }
}

async function answerOne(pixel) {
    try {
        const values = await getJson("/api/probe", { n: lastFrame().frame, ...pixel });
        if (probe.pixel) probe.values = values;
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        probe.values = null; // values are a help only: whatever is wrong, frames and changes will say so
    }
}

function show() {
    showValues();
    showChip();
    probed.tell();
}

function showValues() {
    const { pixel, values } = probe;
    const nothing = make("span", { class: "muted" }, "Values under the pointer");
    const items = pixel ? [item("x", pixel.x), item("y", pixel.y)] : [nothing];
    if (pixel && values) items.push(...colourItems(values), alphaItem(values.alpha));
    byId("readout").replaceChildren(...items);
}

function item(name, value, square) {
    return make("span", {}, make("b", {}, name), square, make("span", { class: "value" }, String(value)));
}

function colourItems(values) {
    const known = ["source", "plate", "result"].filter((name) => values[name]);
    return known.map((name) => item(name, values[name].join(" "), swatch(`rgb(${values[name].join(",")})`)));
}

function alphaItem(alpha) {
    return item("alpha", `${alpha} (${Math.round((alpha * 100) / 255)} %)`);
}

/** The eyedropper beside the pointer. */
function showChip() {
    const chip = byId("chip");
    const takes = ["key", "protect"].includes(tool.name) && probe.values?.take;
    chip.hidden = !takes || !probe.pixel || !current()?.clip;
    if (chip.hidden) return;
    chip.replaceChildren(swatch(takes.rgb), make("span", {}, `${probe.protect ? "protects" : "takes"} ${takes.rgb}`));
    const ratio = screenSize().width / byId("screen").clientWidth;
    const [x, y] = [probe.at.x / ratio, probe.at.y / ratio];
    const left = x > byId("screen").clientWidth - 190 ? x - 24 - chip.offsetWidth : x + 18;
    chip.style.transform = `translate(${left}px, ${y < 60 ? y + 24 : y - 44}px)`;
}

export function startProbe() {
    drawn.listen(ask);
    const shift = (event) => event.key === "Shift" && probe.at && hover(probe.at, event);
    window.addEventListener("keydown", shift);
    window.addEventListener("keyup", shift);
    show();
}
