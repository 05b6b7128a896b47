// What is drawn over the picture: areas, the box that is dragged, the crosshair of the keyboard, the wipe's line.

import { AREAS, areaEdited, edited } from "./areas.js";
import { crosshair, crossed } from "./crosshair.js";
import { byId } from "./dom.js";
import { looked } from "./look.js";
import { fromText } from "./polygon.js";
import { probe, probed } from "./probe.js";
import { current, stateTaken } from "./server.js";
import { dragged, tool, tooled } from "./tools.js";
import { moved, screenSize, toScreen } from "./viewport.js";

const canvas = byId("overlay");
const context = canvas.getContext("2d");
let due = false;

function ratio() {
    return canvas.width / (canvas.clientWidth || 1);
}

export function startOverlay() {
    for (const signal of [moved, looked, stateTaken, areaEdited, tooled, crossed, probed]) signal.listen(drawSoon);
}

function drawSoon() {
    if (due) return;
    due = true;
    requestAnimationFrame(() => {
        due = false;
        draw();
    });
}

function draw() {
    const { width, height } = screenSize();
    canvas.width = width; // clears
    canvas.height = height;
    if (!current()?.clip) return;
    drawAreas();
    if (dragged.box) drawBox(dragged.box);
    if (crosshair.shown) drawCrosshair();
}

/** A line that is seen on dark and light: bright on a dark one. */
function stroke(path, colour, dashes = []) {
    context.setLineDash(dashes.map((dash) => dash * ratio()));
    context.lineWidth = 3 * ratio();
    context.strokeStyle = "rgba(0, 0, 0, 0.55)";
    context.stroke(path);
    context.lineWidth = 1.25 * ratio();
    context.strokeStyle = colour;
    context.stroke(path);
}

function pathOf(points, closed) {
    const path = new Path2D();
    for (const point of points) {
        const at = toScreen(point.x, point.y);
        path.lineTo(at.x, at.y);
    }
    if (closed) path.closePath();
    return path;
}

function drawAreas() {
    for (const [kind, { colour }] of Object.entries(AREAS)) {
        const kept = fromText(current().regions[kind] ?? "");
        if (kind === edited.kind) drawEdited(colour);
        if (kind !== edited.kind || !edited.closed) stroke(pathOf(kept, true), colour, [6, 4]);
    }
}

function drawEdited(colour) {
    const { points, closed, chosen } = edited;
    if (!points.length) return;
    const path = pathOf(points, closed);
    if (closed) {
        context.fillStyle = `${colour}22`;
        context.fill(path);
    } else if (probe.at) {
        path.lineTo(probe.at.x, probe.at.y);
    }
    stroke(path, colour);
    points.forEach((point, index) => drawCorner(toScreen(point.x, point.y), colour, index === chosen));
}

function drawCorner(at, colour, chosen) {
    const radius = (chosen ? 6 : 4.5) * ratio();
    context.setLineDash([]);
    context.beginPath();
    context.arc(at.x, at.y, radius, 0, 2 * Math.PI);
    context.fillStyle = chosen ? "#ffffff" : colour;
    context.fill();
    context.lineWidth = 1.5 * ratio();
    context.strokeStyle = "rgba(0, 0, 0, 0.8)";
    context.stroke();
}

function drawBox({ from, to, protect }) {
    const a = toScreen(from.x, from.y);
    const b = toScreen(to.x, to.y);
    const path = new Path2D();
    path.rect(Math.min(a.x, b.x), Math.min(a.y, b.y), Math.abs(a.x - b.x), Math.abs(a.y - b.y));
    stroke(path, protect || tool.name === "protect" ? AREAS.holdout.colour : "#ffffff", [5, 3]);
}

function drawCrosshair() {
    const at = toScreen(crosshair.x + 0.5, crosshair.y + 0.5);
    const size = 14 * ratio();
    const gap = 4 * ratio();
    const path = new Path2D();
    for (const [dx, dy] of [[1, 0], [-1, 0], [0, 1], [0, -1]]) {
        path.moveTo(at.x + dx * gap, at.y + dy * gap);
        path.lineTo(at.x + dx * size, at.y + dy * size);
    }
    stroke(path, "#ffffff");
}

/** The cursor that says what a press would do. */
export function startCursor() {
    tooled.listen(() => {
        canvas.dataset.cursor = tool.name === "hand" ? "move" : "cross";
    });
}
