// Drawing the areas: corners are set one after another, then moved, added and deleted.

import { change } from "./changes.js";
import { look } from "./look.js";
import { fromText, pointNear, sideNear, toText } from "./polygon.js";
import { current, stateTaken } from "./server.js";
import { Signal } from "./signal.js";
import { clampToPicture } from "./viewport.js";

export const AREAS = {
    garbage: { words: "Garbage", colour: "#e58a80", help: "what lies in it goes, whatever it is: stands, rails" },
    holdout: { words: "Hold-out", colour: "#8fc7ff", help: "what lies in it stays, whatever it is" },
    backdrop: { words: "Backdrop", colour: "#e6c35c", help: "marks and seams wholly in it go, with backdrop around" },
};

/** The area that is edited: its kind or null, its corners, the chosen one, and whether it is closed already. */
export const edited = { kind: null, points: [], chosen: -1, closed: false };

/** Tells that something of it changed. */
export const areaEdited = new Signal();

let held = null; // what the pointer has hold of

export function startAreas() {
    stateTaken.listen((state) => {
        if (edited.kind && edited.closed && !held) adopt(state.regions[edited.kind]);
        areaEdited.tell();
    });
}

/** Begins to edit an area of a kind; null ends it. Corners that were not closed are dropped. */
export function editArea(kind) {
    Object.assign(edited, { kind, points: [], chosen: -1, closed: false });
    held = null;
    if (kind && current()) adopt(current().regions[kind]);
    areaEdited.tell();
}

function adopt(text) {
    edited.points = fromText(text);
    edited.closed = edited.points.length > 0;
    edited.chosen = Math.min(edited.chosen, edited.points.length - 1);
}

/** Throws the corners away, to draw the area anew; the old one holds until the new one is closed. */
export function drawAnew() {
    Object.assign(edited, { points: [], chosen: -1, closed: false });
    areaEdited.tell();
}

export function removeArea(kind) {
    if (edited.kind === kind) drawAnew();
    change("/api/region", { kind, polygon: "", n: look.frame });
}

export function closeArea() {
    if (edited.closed || edited.points.length < 3) return;
    edited.closed = true;
    keep();
}

function keep() {
    // the corners in the body: many of them do not fit in an address
    const { kind, points } = edited;
    change("/api/region", { kind, n: look.frame }, { name: `region ${kind}`, body: toText(points) });
    areaEdited.tell();
}

/** Deletes the chosen corner, or the newest of those that are being set. */
export function deleteCorner() {
    const index = edited.chosen >= 0 ? edited.chosen : edited.points.length - 1;
    if (index < 0) return;
    if (edited.closed && edited.points.length <= 3) return removeArea(edited.kind);
    edited.points.splice(index, 1);
    edited.chosen = -1;
    if (edited.closed) keep();
    areaEdited.tell();
}

/** The pointer goes down at a place of the picture; `reach`: how near is near. */
export function areaDown(at, reach) {
    const point = pointNear(edited.points, at, reach);
    if (!edited.closed) return point === 0 && edited.points.length > 2 ? closeArea() : setCorner(at);
    edited.chosen = point >= 0 ? point : addOnSide(at, reach);
    held = edited.chosen >= 0 ? edited.chosen : null;
    areaEdited.tell();
}

function setCorner(at) {
    edited.points.push(clampToPicture(at));
    areaEdited.tell();
}

function addOnSide(at, reach) {
    const index = sideNear(edited.points, at, reach);
    if (index >= 0) edited.points.splice(index, 0, clampToPicture(at));
    return index;
}

export function areaMove(at) {
    if (held === null) return;
    edited.points[held] = clampToPicture(at);
    areaEdited.tell();
}

export function areaUp() {
    if (held === null) return;
    held = null;
    keep();
}
