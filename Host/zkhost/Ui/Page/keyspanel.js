// The keys and protected colours, the backdrop plate, and presets.

import { change } from "./changes.js";
import { byId, make, pictogram, pressOne, swatch, write } from "./dom.js";
import { showHelp } from "./help.js";
import { lastFrame } from "./picture.js";
import { stateTaken } from "./server.js";
import { wordsOf } from "./params.js";

const automatic = make("p", { class: "note" });
const keys = make("div", { class: "colours" });
const protectedColours = make("div", { class: "colours" });
const learn = make("div", { class: "segments", role: "group", "aria-label": "Backdrop plate" });
const learnRow = make("div", { class: "param choice" }, make("span", { class: "label" }, "Plate"), learn);
const presets = make("div", { class: "presets" });
const presetsRow = make("div", {}, make("h3", {}, "Presets"), presets);

const LEARN = [
    { state: "on", words: "Learn", help: "the backdrop is learned from each frame that is played" },
    { state: "hold", words: "Hold", help: "the plate stays as it is: the camera stands, and the actor fills the picture" },
    { state: "restart", words: "Anew", help: "the plate is forgotten and learned anew: the lights were changed" },
];

function colourButton(colour, index, isProtected) {
    const words = `${isProtected ? "Protected" : "Key"} ${colour}`;
    const remove = () => change("/api/key", { kind: "remove", index, protected: isProtected ? 1 : 0 });
    const button = make("button", { class: "colour", "aria-label": `${words}: remove`, onclick: remove });
    button.append(swatch(colour), make("span", {}, colour), pictogram("close"));
    showHelp(button, `${words}. A click removes it.`);
    return button;
}

function showColours(place, words, colours, isProtected) {
    const buttons = colours.map((colour, index) => colourButton(colour, index, isProtected));
    place.hidden = !buttons.length;
    place.replaceChildren(make("h3", {}, words), ...buttons);
}

function sameList(a, b) {
    return a?.join() === b?.join();
}

function stateOfKeys(state) {
    if (!state.clip) return "";
    if (!state.found && !state.keys.length) return "Nothing found: click the backdrop in the picture.";
    return state.automatic ? "Found automatically. The first colour that you take replaces it." : "Taken by you.";
}

function show(state, before) {
    write(automatic, stateOfKeys(state));
    if (!sameList(state.keys, before?.keys)) showColours(keys, "Backdrop", state.keys, false);
    if (!sameList(state.protected, before?.protected)) showColours(protectedColours, "Protected", state.protected, true);
    learnRow.hidden = state.keyer === 1;
    pressOne(learn, "learn", state.learn);
    const names = (list) => list?.map((preset) => preset.name);
    if (!sameList(names(state.presets), names(before?.presets))) showPresets(state.presets);
}

function showPresets(list) {
    presetsRow.hidden = !list.length;
    presets.replaceChildren(...list.map(({ name, help }) => {
        const choose = () => change("/api/preset", { name });
        const button = make("button", { "data-preset": name, onclick: choose }, wordsOf(name));
        showHelp(button, `${wordsOf(name)}: ${help}`);
        return button;
    }));
}

/** Finds the backdrop by itself, in the frame that is shown. */
export function findKeys() {
    change("/api/key", { kind: "auto", n: lastFrame()?.frame ?? 0 });
}

function resetKeys() {
    change("/api/key", { kind: "reset" });
}

export function startKeysPanel() {
    const find = make("button", { id: "find", onclick: findKeys, title: "In the frame shown (A)" }, "Find automatically");
    const clear = make("button", { id: "reset", onclick: resetKeys, title: "Begin anew, as a step" }, "Reset");
    for (const { state, words, help } of LEARN) {
        const button = make("button", { "data-learn": state, onclick: () => change("/api/learn", { state }) }, words);
        showHelp(button, `${words}: ${help}.`);
        learn.append(button);
    }
    byId("keys").append(automatic, keys, protectedColours, make("div", { class: "row" }, find, clear), learnRow, presetsRow);
    stateTaken.listen(show);
}
