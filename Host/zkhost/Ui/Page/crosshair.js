// The picture by keyboard: a crosshair that goes pixel by pixel and does what a pointer would do.

import { AREAS, areaDown, areaUp, closeArea, deleteCorner, edited } from "./areas.js";
import { byId } from "./dom.js";
import { hover } from "./probe.js";
import { current } from "./server.js";
import { Signal } from "./signal.js";
import { takePoint, tool } from "./tools.js";
import { reveal, scale, toPicture, toScreen, screenSize } from "./viewport.js";

const ARROWS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

export const crosshair = { x: 0, y: 0, shown: false, placed: false };
/** Tells that it moved, came or went. */
export const crossed = new Signal();

let byHand = false; // the picture has the focus because it was clicked: arrows go on stepping through frames

function placeInMiddle() {
    const { width, height } = screenSize();
    const middle = toPicture(width / 2, height / 2);
    Object.assign(crosshair, { x: Math.floor(middle.x), y: Math.floor(middle.y), placed: true });
}

function step([dx, dy], far) {
    const { clip } = current();
    if (!crosshair.placed) placeInMiddle();
    const length = Math.max(1, Math.round(2 / scale())) * (far ? 10 : 1); // a step is seen on the screen
    crosshair.x = Math.min(Math.max(crosshair.x + dx * length, 0), clip.width - 1);
    crosshair.y = Math.min(Math.max(crosshair.y + dy * length, 0), clip.height - 1);
    crosshair.shown = true;
    reveal(crosshair.x + 0.5, crosshair.y + 0.5);
}

function point(event) {
    hover(toScreen(crosshair.x + 0.5, crosshair.y + 0.5), event);
    crossed.tell();
}

function act(event) {
    if (!crosshair.shown) return;
    if (AREAS[tool.name]) {
        areaDown({ x: crosshair.x + 0.5, y: crosshair.y + 0.5 }, 4 / scale());
        areaUp();
    } else if (tool.name !== "hand") {
        takePoint({ x: crosshair.x, y: crosshair.y }, tool.name === "protect" || event.shiftKey);
    }
}

function onKey(event) {
    if (!current()?.clip || event.ctrlKey || event.altKey || event.metaKey) return;
    if (ARROWS[event.key] && byHand) return;
    if (ARROWS[event.key]) step(ARROWS[event.key], event.shiftKey);
    else if (event.key === "Enter" && AREAS[tool.name] && !crosshair.shown) closeArea();
    else if (event.key === "Enter") act(event);
    else if (["Delete", "Backspace"].includes(event.key) && edited.kind) deleteCorner();
    else return;
    event.preventDefault();
    event.stopPropagation();
    if (crosshair.shown) point(event);
}

function hide() {
    byHand = false;
    crosshair.shown = false;
    hover(null);
    crossed.tell();
}

export function startCrosshair() {
    const overlay = byId("overlay");
    overlay.addEventListener("keydown", onKey);
    overlay.addEventListener("blur", hide);
    overlay.addEventListener("pointerdown", () => {
        if (crosshair.shown) hide();
        byHand = true;
    });
}
