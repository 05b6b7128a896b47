// What the pointer does on the picture.

import { AREAS, areaDown, areaMove, areaUp, deleteCorner, editArea, edited } from "./areas.js";
import { change } from "./changes.js";
import { byId, make, pictogram, press } from "./dom.js";
import { look } from "./look.js";
import { lastFrame } from "./picture.js";
import { current } from "./server.js";
import { Signal } from "./signal.js";
import { clampToPicture, pan, pixelAt, toPicture } from "./viewport.js";

const DRAG = 6; // pixels of the page that make a click a drag

const TOOLS = [
    { name: "key", key: "C", words: "Key", help: "Click the backdrop; drag takes an area; Shift protects" },
    { name: "protect", key: "P", words: "Protect", help: "Click or drag what must stay although it is like the backdrop" },
    ...Object.entries(AREAS).map(([name, { words, help }]) => ({ name, key: words[0], words, help: `Draw: ${help}` })),
    { name: "hand", key: "V", words: "Move", help: "Drag moves the picture; the middle button and two fingers always do" },
];

export const tool = { name: "key" };
/** The area that is being dragged, in the picture: {from, to, protect}, or null. */
export const dragged = { box: null };
/** Tells that the tool, or what it drags, changed. */
export const tooled = new Signal();

export function chooseTool(name) {
    tool.name = name;
    dragged.box = null;
    editArea(AREAS[name] ? name : null);
    for (const button of byId("tools").children) press(button, button.dataset.tool === name);
    tooled.tell();
}

export function startTools() {
    for (const { name, key, words, help } of TOOLS) {
        const button = make("button", { "data-tool": name, title: `${help} (${key})`, onclick: () => chooseTool(name) });
        button.append(pictogram(name), make("span", {}, words));
        byId("tools").append(button);
    }
    chooseTool("key");
}

export function toolOfKey(key) {
    return TOOLS.find((other) => other.key.toLowerCase() === key)?.name;
}

export function protects(event) {
    return tool.name === "protect" || event.shiftKey;
}

/** The frame that is on the screen, which is what a click means. */
function shownFrame() {
    return lastFrame()?.frame ?? look.frame;
}

/** Takes the colour of a pixel as key, or protects it. */
export function takePoint(pixel, protect) {
    change("/api/key", { kind: "point", use: protect ? "protect" : "key", n: shownFrame(), ...pixel });
}

function takeBox({ from, to, protect }) {
    const [x, x2] = [from.x, to.x].sort((a, b) => a - b).map(Math.round);
    const [y, y2] = [from.y, to.y].sort((a, b) => a - b).map(Math.round);
    change("/api/key", { kind: "rect", use: protect ? "protect" : "key", n: shownFrame(), x, y, x2, y2 });
}

/** What follows a pointer that goes down at a place of the screen: {move(at), up(at), cancel()}. */
export function grab(at, event, ratio) {
    if (!current()?.clip) return null;
    if (tool.name === "hand") return grabHand(at);
    if (AREAS[tool.name]) return grabArea(at, event, ratio);
    return grabColour(at, event, ratio);
}

export function grabHand(at) {
    let last = at;
    const move = (next) => {
        pan(next.x - last.x, next.y - last.y);
        last = next;
    };
    return { move, up() {}, cancel() {} };
}

function grabArea(at, event, ratio) {
    const reach = (event.pointerType === "touch" ? 24 : 10) * ratio;
    const origin = toPicture(at.x, at.y);
    const corners = edited.points.length;
    areaDown(origin, toPicture(at.x, at.y + reach).y - origin.y);
    const cancel = () => {
        areaUp();
        if (!edited.closed && edited.points.length > corners) deleteCorner(); // it was the first finger of two
    };
    return { move: (next) => areaMove(toPicture(next.x, next.y)), up: areaUp, cancel };
}

function grabColour(from, event, ratio) {
    const protect = protects(event);
    const corner = (at) => clampToPicture(toPicture(at.x, at.y));
    const drags = (at) => Math.hypot(at.x - from.x, at.y - from.y) > DRAG * ratio;
    const show = (box) => {
        dragged.box = box;
        tooled.tell();
    };
    return {
        move: (at) => {
            if (dragged.box || drags(at)) show({ from: corner(from), to: corner(at), protect });
        },
        up: (at) => {
            const pixel = pixelAt(from.x, from.y);
            if (dragged.box) takeBox({ ...dragged.box, to: corner(at) });
            else if (pixel) takePoint(pixel, protect);
            show(null);
        },
        cancel: () => show(null),
    };
}
