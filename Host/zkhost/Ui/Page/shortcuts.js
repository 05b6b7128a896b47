// The keyboard: one table of what keys do, and its list for people.

import { edited } from "./areas.js";
import { byId, make } from "./dom.js";
import { saveKeys } from "./files.js";
import { findKeys } from "./keyspanel.js";
import { look, VIEWS } from "./look.js";
import { goTo, playOrPause, range, setIn, setOut, toggleLoop } from "./player.js";
import { openRender } from "./render.js";
import { chooseTool, toolOfKey } from "./tools.js";
import { otherSlot, redo, undo } from "./topbar.js";
import { chooseView, toggleWipe, viewsShown, zoomFit, zoomIn, zoomOut, zoomPixels } from "./viewbar.js";

const KEYS = {
    " ": playOrPause,
    ArrowLeft: () => goTo(look.frame - 1),
    ArrowRight: () => goTo(look.frame + 1),
    "Shift+ArrowLeft": () => goTo(look.frame - 10),
    "Shift+ArrowRight": () => goTo(look.frame + 10),
    Home: () => goTo(range().first),
    End: () => goTo(range().last),
    i: () => setIn(),
    o: () => setOut(),
    l: toggleLoop,
    w: toggleWipe,
    "+": zoomIn,
    "=": zoomIn,
    "-": zoomOut,
    0: zoomFit,
    z: zoomPixels,
    a: findKeys,
    x: otherSlot,
    r: openRender,
    "?": openHelp,
    Escape: escape,
    "Ctrl+z": undo,
    "Ctrl+Shift+z": redo,
    "Ctrl+y": redo,
    "Ctrl+s": saveKeys,
};

const LIST = [
    ["Picture", [
        ["Click, drag", "take a colour, an area of it, as key"],
        ["Shift + click, drag", "protect it"],
        ["Wheel, two fingers", "zoom; two fingers and the middle button move"],
        ["+ −   0   Z", "larger, smaller; whole; pixel for pixel"],
        ["1 … 8", "views"],
        ["W", "wipe between source and view"],
        ["Tab to the picture, arrows", "crosshair; Shift ten times as far; Enter clicks"],
    ]],
    ["Clip", [
        ["Space", "play, pause"],
        ["← →", "one frame; with Shift ten"],
        ["I   O   L", "in point, out point, loop"],
        ["Home End", "to the in point, the out point"],
    ]],
    ["Keys", [
        ["A", "find the backdrop automatically"],
        ["C P   G H B   V", "tools: key, protect; areas; move"],
        ["Delete", "take away the chosen corner of an area"],
        ["X", "the other set of keys"],
        ["Ctrl Z   Ctrl Shift Z", "step back, step forward"],
        ["Ctrl S   R", "save the keys, render"],
        ["Double-click a slider", "its default; arrows by steps, Shift ten"],
    ]],
];

function openHelp() {
    if (!byId("help-dialog").open) byId("help-dialog").showModal();
}

function escape() {
    chooseTool(edited.kind && !edited.closed && edited.points.length ? edited.kind : "key");
}

function combination(event) {
    const ctrl = event.ctrlKey || event.metaKey ? "Ctrl+" : "";
    const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
    const shift = event.shiftKey && (ctrl || key.length > 1) ? "Shift+" : ""; // "?" and "+" need Shift on many keyboards
    return ctrl + shift + key;
}

/** Whether a key means something where the focus is: letters in a field, the space bar on a button. */
function isTaken(event) {
    const { target } = event;
    if (event.altKey || document.querySelector("dialog[open]")) return true;
    if (target.matches("input[type=number], input[type=text]")) return !event.ctrlKey;
    if (event.key === " ") return target.matches("button, summary");
    return target.matches("input[type=range]") && ["Home", "End"].includes(event.key);
}

function actionOf(event) {
    const keys = combination(event);
    if (KEYS[keys]) return KEYS[keys];
    if (event.ctrlKey || event.metaKey) return null;
    const view = VIEWS[Number(keys) - 1];
    if (view) return viewsShown().includes(view) ? () => chooseView(view.name) : null;
    const tool = toolOfKey(keys);
    return tool ? () => chooseTool(tool) : null;
}

function onKey(event) {
    if (event.defaultPrevented || isTaken(event)) return;
    const action = actionOf(event);
    if (!action) return;
    event.preventDefault();
    action();
}

function listForPeople() {
    return LIST.map(([title, lines]) => make("section", {}, make("h3", {}, title), make("dl", {},
        ...lines.flatMap(([keys, words]) => [make("dt", {}, keys), make("dd", {}, words)]))));
}

/** A button that was clicked does not take the focus: the next space bar plays instead of pressing it again. */
function keepFocus(event) {
    if (event.target.closest("button") && !event.target.closest("dialog")) event.preventDefault();
}

export function startShortcuts() {
    byId("help-list").append(...listForPeople());
    byId("help").addEventListener("click", openHelp);
    document.addEventListener("keydown", onKey);
    document.addEventListener("mousedown", keepFocus);
}
