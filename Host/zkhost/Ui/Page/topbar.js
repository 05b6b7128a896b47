// The bar at the top: the clip, steps back and forward, the two sets of keys, the generation, files.

import { change } from "./changes.js";
import { byId, make, pressOne, write } from "./dom.js";
import { chooseKeys, saveKeys } from "./files.js";
import { showHelp } from "./help.js";
import { current, stateTaken } from "./server.js";

const GENERATIONS = [
    { generation: 2, words: "Keyer 2", help: "second generation: every pixel is taken apart into backdrop and foreground" },
    { generation: 1, words: "Keyer 1", help: "first generation: boxes of colours; faster, for graphics and its own keys" },
];

export function undo() {
    change("/api/steps", { by: -1 });
}

export function redo() {
    change("/api/steps", { by: 1 });
}

export function otherSlot() {
    change("/api/slot", { name: current()?.slot === "A" ? "B" : "A" });
}

function factsOf(clip) {
    const rate = clip.rateNum / (clip.rateDen || 1);
    const frames = clip.frames == null ? "" : ` · ${clip.frames} frames`;
    return `${clip.width} × ${clip.height} · ${Math.round(rate * 1000) / 1000} fps${clip.live ? " · live" : frames}`;
}

function show(state) {
    const { clip, steps } = state;
    write(byId("clip-name"), clip ? clip.name : "ZChromaKey");
    write(byId("clip-facts"), clip ? factsOf(clip) : state.version);
    document.title = clip ? `${clip.name} – ZChromaKey` : "ZChromaKey";
    byId("undo").disabled = steps.at === 0;
    byId("redo").disabled = steps.at >= steps.list.length;
    pressOne(byId("slots"), "slot", state.slot);
    pressOne(byId("generations"), "generation", state.keyer);
    byId("render").disabled = !clip || clip.live;
}

export function startTopbar() {
    for (const name of ["A", "B"]) {
        const choose = () => change("/api/slot", { name });
        const button = make("button", { "data-slot": name, onclick: choose, title: "The other set of keys (X)" }, name);
        showHelp(button, `Set ${name}: two sets of keys and parameters to compare. B begins as a copy of A.`);
        byId("slots").append(button);
    }
    for (const { generation, words, help } of GENERATIONS) {
        const choose = () => change("/api/keyer", { generation });
        const button = make("button", { "data-generation": generation, onclick: choose }, words);
        showHelp(button, `${words}: ${help}.`);
        byId("generations").append(button);
    }
    byId("undo").addEventListener("click", undo);
    byId("redo").addEventListener("click", redo);
    byId("save").addEventListener("click", saveKeys);
    byId("load").addEventListener("click", chooseKeys);
    stateTaken.listen(show);
}
