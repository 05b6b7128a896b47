// Frames from the program: one request at a time, and after it the newest that is wanted. What was wanted in between is
// never asked for, so that the picture follows the hand however slow keying is.

import { get, Refusal } from "./api.js";
import { look } from "./look.js";
import { warn } from "./notices.js";
import { current } from "./server.js";
import { Signal } from "./signal.js";
import { onScreen, visible } from "./viewport.js";

const MOST_RAW_PIXELS = 2400000;
const MOST_JPEG_PIXELS = 1200000;
const RETRY_SECONDS = 1;
const LOOPBACK = ["localhost", "127.0.0.1", "[::1]"];

export const format = { name: LOOPBACK.includes(location.hostname) ? "raw" : "jpeg" };

/** Tells a frame that has come: {frame, revision, crop, width, height, stats, pixels or bitmap}. */
export const arrived = new Signal();
/** Tells that the clip ended before the frame that was wanted. */
export const ended = new Signal();

let wanted = false;
let asStream = false;
let busy = false;

/** Asks for the picture as it is looked at now; `stream`: as the one after the last, which it learns from. */
export function wantFrame({ stream = false } = {}) {
    wanted = true;
    asStream = stream;
    fetchWanted();
}

/** Whether a frame is still to come. */
export function isFetching() {
    return busy;
}

async function fetchWanted() {
    if (busy) return;
    busy = true;
    try {
        while (wanted) {
            wanted = false;
            await fetchOne();
        }
    } finally {
        busy = false; // whatever goes wrong once, the next frame is asked for again
    }
}

async function fetchOne() {
    const crop = visible();
    const clip = current()?.clip;
    if (!clip || !crop) return;
    const which = { n: clip.live ? "live" : look.frame, play: asStream ? 1 : 0, format: format.name };
    try {
        const response = await get("/api/frame", { ...which, ...viewArguments(), ...sizeArguments(crop) });
        if (response.status !== 204) arrived.tell(await readFrame(response, crop)); // 204: a newer request overtook it
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        refused(error);
    }
}

function refused(refusal) {
    if (refusal.status === 409) return ended.tell();
    if (refusal.status === 503) setTimeout(wantFrame, RETRY_SECONDS * 1000); // a live source that has nothing yet
    if (refusal.status !== 0) warn(refusal.message); // 0: the connection says so already
}

function viewArguments() {
    return {
        view: look.view,
        over: look.over === "colour" ? look.colour.slice(1).toUpperCase() : look.over,
        wipe: look.wipe ? look.wipeAt.toFixed(4) : undefined,
    };
}

/** The crop, and no more pixels than the screen or the crop has: the page enlarges by itself. */
function sizeArguments(crop) {
    const screen = onScreen(crop);
    const most = format.name === "raw" ? MOST_RAW_PIXELS : MOST_JPEG_PIXELS;
    const reduce = Math.min(1, Math.sqrt(most / (screen.w * screen.h)));
    const ow = Math.max(1, Math.min(Math.round(screen.w * reduce), crop.w));
    const oh = Math.max(1, Math.min(Math.round(screen.h * reduce), crop.h));
    return { ...crop, ow, oh };
}

async function readFrame(response, crop) {
    const number = (name) => Number(response.headers.get(name));
    const frame = {
        frame: number("X-Frame"),
        revision: number("X-Revision"),
        width: number("X-Width"),
        height: number("X-Height"),
        stats: JSON.parse(response.headers.get("X-Stats") ?? "{}"),
        crop,
    };
    try {
        if (format.name === "raw") frame.pixels = new Uint8ClampedArray(await response.arrayBuffer());
        else frame.bitmap = await createImageBitmap(await response.blob());
    } catch {
        throw new Refusal(response.status, { error: "The picture did not arrive whole." });
    }
    return frame;
}
