// What tests and a curious operator can read in the browser's console: window.zk.

import { isBusy } from "./changes.js";
import { format, isFetching } from "./frames.js";
import { look } from "./look.js";
import { drawn, lastFrame, shownAt } from "./picture.js";
import { player } from "./player.js";
import { current } from "./server.js";
import { fit, scale, toScreen, zoomAt, zoomTo } from "./viewport.js";

/** What went wrong where nobody caught it. */
const faults = [];

export function startWatch() {
    const zk = {
        drawn: 0,    // frames so far
        revision: 0, // of the last one
        frame: -1,   // its number
        look, player, format, faults,
        state: current,
        last: lastFrame,
        onDrawn: (listener) => drawn.listen(listener),
        /** Whether all changes were answered and what they made is on the screen. */
        settled: () => !isBusy() && !isFetching(),
        /** [red, green, blue] of the screen at a pixel of the clip. */
        pixel: (x, y) => shownAt(...Object.values(toScreen(x + 0.5, y + 0.5))),
        /** Where a pixel of the clip lies on the canvas. */
        place: (x, y) => toScreen(x + 0.5, y + 0.5),
        scale, fit, zoomAt, zoomTo,
    };
    window.zk = zk;
    drawn.listen(({ frame, revision }) => Object.assign(zk, { drawn: zk.drawn + 1, frame, revision }));
    window.addEventListener("error", (event) => faults.push(String(event.message)));
    window.addEventListener("unhandledrejection", (event) => faults.push(String(event.reason?.stack ?? event.reason)));
}
