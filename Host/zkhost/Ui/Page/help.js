// The line that explains what the pointer or the focus is on.

import { byId, write } from "./dom.js";

const IDLE = "Click the backdrop to take its colour; Shift protects. Press ? for all keys.";

/** Shows words while the pointer is over an element, or the focus in it. */
export function showHelp(element, words) {
    const say = () => write(byId("help-line"), words);
    element.addEventListener("pointerenter", say);
    element.addEventListener("focusin", say);
    element.addEventListener("pointerleave", startHelp);
    element.addEventListener("focusout", startHelp);
}

export function startHelp() {
    write(byId("help-line"), IDLE);
}
