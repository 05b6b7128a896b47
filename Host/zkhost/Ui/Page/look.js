// What is looked at: frame, view, background, wipe. The program does not keep it: each page looks its own way. The browser
// does, for the time that the page is open, so that a reload shows the same again.

import { Signal } from "./signal.js";

export const look = {
    frame: 0,
    view: "result",
    over: "checker", // or "colour", "picture"
    colour: "#404040",
    wipe: false,
    wipeAt: 0.5, // share of what is seen of the picture, the source left of it
};

const KEPT = "look";

/** Takes up what the page looked at before it was loaded again; a picture behind the result is not kept. */
function resume() {
    const kept = JSON.parse(sessionStorage.getItem(KEPT) ?? "{}");
    Object.assign(look, kept, kept.over === "picture" ? { over: "checker" } : {});
}

resume();

/** Tells that something of it changed. */
export const looked = new Signal();

/** The views in the order of their keys, with what they tell. `both`: the first generation has them, too. */
export const VIEWS = [
    { name: "result", words: "Result", help: "the keyed picture over a background", both: true },
    { name: "colour", words: "Colour", help: "the cleaned colours without their alpha", both: true },
    { name: "matte", words: "Matte", help: "alpha: white is opaque, black transparent", both: true },
    { name: "status", words: "Status", help: "black backdrop, white solid, orange mixed, green core, blue your areas" },
    { name: "plate", words: "Plate", help: "the backdrop as it is known, also behind the figure" },
    { name: "foreground", words: "Foreground", help: "the colour of what is solid near each place" },
    { name: "confidence", words: "Confidence", help: "how far that colour is trusted" },
    { name: "source", words: "Source", help: "the picture as it came in", both: true },
];

export function lookAt(changes) {
    Object.assign(look, changes);
    sessionStorage.setItem(KEPT, JSON.stringify(look));
    looked.tell(changes);
}
