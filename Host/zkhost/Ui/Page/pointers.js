// Mouse, pen and fingers on the picture: one does what the tool does, two fingers move and zoom, the wheel zooms.

import { byId } from "./dom.js";
import { hover } from "./probe.js";
import { grab, grabHand } from "./tools.js";
import { pan, zoomAt } from "./viewport.js";

const WHEEL = 0.0016; // of the logarithm of the scale, for a pixel of the wheel

const overlay = byId("overlay");
const down = new Map(); // pointers on the picture, with where they are
let held = null;        // what follows the only one

function ratio() {
    return overlay.width / (overlay.clientWidth || 1);
}

/** Where an event is, in pixels of the canvas. */
function placeOf(event) {
    const box = overlay.getBoundingClientRect();
    return { x: (event.clientX - box.left) * ratio(), y: (event.clientY - box.top) * ratio() };
}

function onDown(event) {
    overlay.setPointerCapture(event.pointerId);
    down.set(event.pointerId, placeOf(event));
    hover(placeOf(event), event);
    if (down.size > 1) {
        held?.cancel(); // the second finger makes it a pinch
        held = null;
        return;
    }
    if (event.button > 1) return;
    held = event.button === 1 ? grabHand(placeOf(event)) : grab(placeOf(event), event, ratio());
}

function onMove(event) {
    const at = placeOf(event);
    const before = down.get(event.pointerId);
    if (down.size === 2 && before) pinch(event.pointerId, before, at);
    if (before) down.set(event.pointerId, at);
    if (down.size < 2) held?.move(at);
    hover(at, event);
}

function pinch(id, before, at) {
    const other = [...down].find(([otherId]) => otherId !== id)[1];
    const span = (point) => Math.hypot(point.x - other.x, point.y - other.y) || 1;
    const middle = (point) => ({ x: (point.x + other.x) / 2, y: (point.y + other.y) / 2 });
    pan(middle(at).x - middle(before).x, middle(at).y - middle(before).y);
    zoomAt(span(at) / span(before), middle(at).x, middle(at).y);
}

function onUp(event) {
    down.delete(event.pointerId);
    held?.up(placeOf(event));
    held = null;
    if (event.pointerType === "touch") hover(null);
}

function onCancel(event) {
    down.delete(event.pointerId);
    held?.cancel();
    held = null;
}

function onWheel(event) {
    event.preventDefault();
    const lines = event.deltaMode === 1 ? 30 : 1;
    const pinched = event.ctrlKey ? 6 : 1; // a pinch on a touchpad comes in small steps
    zoomAt(Math.exp(-event.deltaY * lines * pinched * WHEEL), placeOf(event).x, placeOf(event).y);
}

export function startPointers() {
    overlay.addEventListener("pointerdown", onDown);
    overlay.addEventListener("pointermove", onMove);
    overlay.addEventListener("pointerup", onUp);
    overlay.addEventListener("pointercancel", onCancel);
    overlay.addEventListener("pointerleave", () => hover(null));
    overlay.addEventListener("wheel", onWheel, { passive: false });
    overlay.addEventListener("contextmenu", (event) => event.preventDefault());
    overlay.addEventListener("auxclick", (event) => event.preventDefault());
}
