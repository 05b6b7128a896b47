// The lists of the panel: areas, steps, messages, the command line.

import { AREAS, areaEdited, closeArea, drawAnew, edited, removeArea } from "./areas.js";
import { change } from "./changes.js";
import { byId, make, write } from "./dom.js";
import { showHelp } from "./help.js";
import { fromText } from "./polygon.js";
import { stateTaken } from "./server.js";
import { chooseTool } from "./tools.js";
import { tell } from "./notices.js";

function areaRow(kind, { words, colour, help }) {
    const dot = make("i", { class: "dot" });
    dot.style.backgroundColor = colour;
    const facts = make("span", { class: "facts" });
    const draw = make("button", { "data-draw": kind, onclick: () => chooseTool(kind) }, "Draw");
    const remove = make("button", { "data-remove": kind, onclick: () => removeArea(kind) }, "Delete");
    remove.setAttribute("aria-label", `Delete the area ${words}`);
    const row = make("div", { class: "area" }, dot, make("span", { class: "label" }, words), facts, draw, remove);
    showHelp(row, `${words}: ${help}.`);
    const show = (state) => {
        const count = fromText(state.regions[kind] ?? "").length;
        write(facts, count ? `${count} corners` : "none");
        write(draw, count ? "Edit" : "Draw");
        remove.disabled = !count;
    };
    return { row, show };
}

function startRegions() {
    const rows = Object.entries(AREAS).map(([kind, facts]) => areaRow(kind, facts));
    byId("regions").append(...rows.map(({ row }) => row));
    stateTaken.listen((state) => rows.forEach(({ show }) => show(state)));
}

/** What can be done with the area that is drawn, beside the picture's lower edge. */
function startDrawing() {
    const words = make("span");
    const close = make("button", { onclick: closeArea }, "Close");
    const anew = make("button", { onclick: drawAnew }, "Draw anew");
    const remove = make("button", { onclick: () => removeArea(edited.kind) }, "Delete");
    const done = make("button", { class: "main", onclick: () => chooseTool("key") }, "Done");
    byId("drawing").append(words, close, anew, remove, done);
    areaEdited.listen(() => {
        byId("drawing").hidden = !edited.kind;
        if (!edited.kind) return;
        write(words, drawingWords());
        close.hidden = edited.closed;
        close.disabled = edited.points.length < 3;
        anew.hidden = remove.hidden = !edited.closed;
    });
}

function drawingWords() {
    const { words } = AREAS[edited.kind];
    if (edited.closed) return `${words}: drag corners, click a side to add one, Delete takes one away`;
    return edited.points.length < 3 ? `${words}: click corner after corner` : `${words}: click the first corner to close`;
}

function startSteps() {
    const list = byId("steps");
    let shown = "";
    stateTaken.listen(({ steps }) => {
        const text = steps.list.join("\n");
        if (text !== shown) list.replaceChildren(...["As opened", ...steps.list].map(stepItem));
        shown = text;
        [...list.children].forEach((item, index) => {
            item.classList.toggle("undone", index > steps.at);
            item.firstChild.toggleAttribute("aria-current", index === steps.at);
        });
        if (text && !list.matches(":hover")) scrollToStep(list, steps.at);
    });
    list.append(stepItem("As opened", 0));
}

/** Within the list only: the panel itself stays where the operator has put it. */
function scrollToStep(list, at) {
    const item = list.children[at];
    if (item) list.scrollTop = item.offsetTop - list.offsetTop - list.clientHeight / 2;
}

function stepItem(words, index) {
    return make("li", {}, make("button", { "data-step": index, onclick: () => change("/api/steps", { to: index }) }, words));
}

function startLog() {
    const count = byId("message-count");
    let seen = 0;
    byId("messages").addEventListener("toggle", () => {
        seen = byId("log").children.length;
        count.hidden = true;
    });
    stateTaken.listen(({ log }, before) => {
        if (before && before.log.join() === log.join()) return;
        byId("log").replaceChildren(...log.map((line) => make("li", {}, line)));
        if (!log.length) byId("log").append(make("li", { class: "muted" }, "None."));
        const unseen = Math.max(0, log.length - seen);
        count.hidden = !unseen || byId("messages").open;
        write(count, String(unseen));
    });
}

function startCommand() {
    stateTaken.listen(({ command }) => write(byId("command"), command ?? ""));
    byId("copy").addEventListener("click", copyCommand);
}

async function copyCommand() {
    try {
        await navigator.clipboard.writeText(byId("command").textContent);
        tell("The command line was copied.");
    } catch {
        getSelection().selectAllChildren(byId("command")); // not allowed over a network without TLS
        tell("Copying is not allowed here: the line is selected, copy it by hand.");
    }
}

export function startLists() {
    startRegions();
    startDrawing();
    startSteps();
    startLog();
    startCommand();
}
