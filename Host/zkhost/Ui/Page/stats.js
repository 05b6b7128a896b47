// What the program measured of the frame that is shown.

import { byId, make } from "./dom.js";
import { drawn } from "./picture.js";
import { player } from "./player.js";

function percent(share) {
    return share === undefined ? undefined : `${Math.round(share * 100)} %`;
}

function rounded(value, digits, unit = "") {
    return value === undefined ? undefined : value.toFixed(digits) + unit;
}

function counted(frames) {
    return frames === 1 ? "1 frame" : `${frames} frames`;
}

function show({ stats }) {
    const items = [
        ["fps", player.playing && player.fps ? player.fps.toFixed(1) : undefined],
        ["keyed in", rounded(stats.ms, 1, " ms")],
        ["on", stats.on],
        ["backdrop", percent(stats.backdrop)],
        ["mixed", percent(stats.mixed)],
        ["solid", percent(stats.solid)],
        ["noise", rounded(stats.noise, 1)],
        ["plate of", stats.plateFrames === undefined ? undefined : counted(stats.plateFrames)],
        ["cuts", stats.cuts],
    ];
    const known = items.filter(([, value]) => value !== undefined);
    const made = known.map(([name, value]) => make("span", {}, `${name} `, make("b", {}, String(value))));
    byId("stats").replaceChildren(...made);
}

export function startStats() {
    drawn.listen(show);
}
