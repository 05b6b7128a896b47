// Where the picture lies on the screen. Screen coordinates are pixels of the canvas (those of the device), picture
// coordinates are pixels of the clip; pixels that are not square are stretched sideways.

import { Signal } from "./signal.js";

const MOST = 64; // device pixels for one of the picture
const LEAST = 1 / 16;

const port = {
    width: 1, height: 1, // of the screen
    pictureWidth: 0, pictureHeight: 0, aspect: 1, // of the clip
    scale: 1, fitted: true,
    centreX: 0, centreY: 0, // the place of the picture in the middle of the screen
};

/** Tells that the picture lies elsewhere. */
export const moved = new Signal();

export function screenSize() {
    return { width: port.width, height: port.height };
}

export function scale() {
    return port.scale;
}

export function isFitted() {
    return port.fitted;
}

function fitScale() {
    return Math.min(port.width / (port.pictureWidth * port.aspect || 1), port.height / (port.pictureHeight || 1), 16);
}

function place() {
    if (port.fitted) {
        port.scale = fitScale();
        port.centreX = port.pictureWidth / 2;
        port.centreY = port.pictureHeight / 2;
    }
    // the picture never leaves the screen
    port.centreX = Math.min(Math.max(port.centreX, 0), port.pictureWidth);
    port.centreY = Math.min(Math.max(port.centreY, 0), port.pictureHeight);
    moved.tell();
}

export function setScreen(width, height) {
    Object.assign(port, { width, height });
    place();
}

export function setClip(clip) {
    const next = { pictureWidth: clip.width, pictureHeight: clip.height, aspect: clip.pixelX / clip.pixelY || 1 };
    if (Object.keys(next).every((name) => next[name] === port[name])) return;
    Object.assign(port, next, { fitted: true });
    place();
}

export function toScreen(x, y) {
    return {
        x: (x - port.centreX) * port.scale * port.aspect + port.width / 2,
        y: (y - port.centreY) * port.scale + port.height / 2,
    };
}

export function toPicture(x, y) {
    return {
        x: (x - port.width / 2) / (port.scale * port.aspect) + port.centreX,
        y: (y - port.height / 2) / port.scale + port.centreY,
    };
}

/** The pixel at a place of the screen, or null beside the picture. */
export function pixelAt(x, y) {
    const at = toPicture(x, y);
    const pixel = { x: Math.floor(at.x), y: Math.floor(at.y) };
    const inside = pixel.x >= 0 && pixel.y >= 0 && pixel.x < port.pictureWidth && pixel.y < port.pictureHeight;
    return inside ? pixel : null;
}

/** The nearest place on the picture. */
export function clampToPicture({ x, y }) {
    return { x: Math.min(Math.max(x, 0), port.pictureWidth), y: Math.min(Math.max(y, 0), port.pictureHeight) };
}

/** The part of the picture that is on the screen, in whole pixels; null when there is none. */
export function visible() {
    const least = toPicture(0, 0);
    const most = toPicture(port.width, port.height);
    const x = Math.max(0, Math.floor(least.x));
    const y = Math.max(0, Math.floor(least.y));
    const w = Math.min(port.pictureWidth, Math.ceil(most.x)) - x;
    const h = Math.min(port.pictureHeight, Math.ceil(most.y)) - y;
    return w > 0 && h > 0 ? { x, y, w, h } : null;
}

/** Where a part of the picture lies on the screen, in whole pixels of the device. */
export function onScreen({ x, y, w, h }) {
    const least = toScreen(x, y);
    const most = toScreen(x + w, y + h);
    const left = Math.round(least.x);
    const top = Math.round(least.y);
    return { x: left, y: top, w: Math.max(1, Math.round(most.x) - left), h: Math.max(1, Math.round(most.y) - top) };
}

/** Zooms so that the place under (x, y) of the screen stays there. */
export function zoomAt(factor, x = port.width / 2, y = port.height / 2) {
    const held = toPicture(x, y);
    port.scale = Math.min(Math.max(port.scale * factor, Math.min(LEAST, fitScale())), MOST);
    port.fitted = false;
    port.centreX = held.x - (x - port.width / 2) / (port.scale * port.aspect);
    port.centreY = held.y - (y - port.height / 2) / port.scale;
    place();
}

export function zoomTo(scaleWanted) {
    zoomAt(scaleWanted / port.scale);
}

export function fit() {
    port.fitted = true;
    place();
}

/** Moves the picture by pixels of the screen. */
export function pan(dx, dy) {
    port.fitted = false;
    port.centreX -= dx / (port.scale * port.aspect);
    port.centreY -= dy / port.scale;
    place();
}

/** Moves the picture just so far that a place of it is seen. */
export function reveal(x, y) {
    const at = toScreen(x, y);
    const outside = (value, most) => (value < 0 ? value : value > most ? value - most : 0);
    const dx = outside(at.x, port.width);
    const dy = outside(at.y, port.height);
    if (dx || dy) pan(-dx, -dy);
}
