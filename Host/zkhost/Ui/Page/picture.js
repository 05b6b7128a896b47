// The canvas of the picture: the last frame that came, laid where the viewport has it. It is laid anew at once when it
// is moved or zoomed, and gets sharp when the frame for that arrives.

import { byId } from "./dom.js";
import { arrived } from "./frames.js";
import { Signal } from "./signal.js";
import { moved, onScreen, scale, screenSize } from "./viewport.js";

const GRID_SCALE = 8; // from so many device pixels for one of the picture on, pixels are told apart by lines
const GRID_COLOUR = "rgba(128, 128, 128, 0.35)";

const canvas = byId("picture");
const context = canvas.getContext("2d", { alpha: false });
const kept = document.createElement("canvas"); // the last frame as it came
const keptContext = kept.getContext("2d", { alpha: false });

let last = null;

/** Tells a frame that has been drawn. */
export const drawn = new Signal();

export function lastFrame() {
    return last;
}

export function startPicture() {
    arrived.listen((frame) => {
        keep(frame);
        lay();
        drawn.tell(frame);
    });
    moved.listen(lay);
}

function keep(frame) {
    if (kept.width !== frame.width) kept.width = frame.width; // setting a size clears, even where it is the same
    if (kept.height !== frame.height) kept.height = frame.height;
    if (frame.bitmap) {
        keptContext.drawImage(frame.bitmap, 0, 0);
        frame.bitmap.close();
    } else {
        keptContext.putImageData(new ImageData(frame.pixels, frame.width, frame.height), 0, 0);
    }
    last = { ...frame, pixels: null, bitmap: null };
}

function lay() {
    const { width, height } = screenSize();
    if (canvas.width !== width) canvas.width = width;
    if (canvas.height !== height) canvas.height = height;
    context.fillStyle = "#0e0f10";
    context.fillRect(0, 0, width, height);
    if (!last) return;
    const at = onScreen(last.crop);
    context.imageSmoothingEnabled = at.w < 2 * last.width; // larger: single pixels are what one looks for
    context.drawImage(kept, at.x, at.y, at.w, at.h);
    if (scale() >= GRID_SCALE) drawGrid(at);
}

function drawGrid(at) {
    const { crop } = last;
    context.fillStyle = GRID_COLOUR;
    for (let n = 1; n < crop.w; ++n) context.fillRect(Math.round(at.x + (at.w * n) / crop.w), at.y, 1, at.h);
    for (let n = 1; n < crop.h; ++n) context.fillRect(at.x, Math.round(at.y + (at.h * n) / crop.h), at.w, 1);
}

/** What the canvas shows at a place of the screen: [red, green, blue]. */
export function shownAt(x, y) {
    return [...context.getImageData(Math.round(x), Math.round(y), 1, 1).data.slice(0, 3)];
}
