// The parameters: a slider, a number and a help each, or a choice; in groups as an operator thinks of them.

import { change, isUnderWay } from "./changes.js";
import { byId, make, pictogram, press } from "./dom.js";
import { showHelp } from "./help.js";
import { stateTaken } from "./server.js";

const ELSEWHERE = ["view", "learn"]; // shown over the picture and with the keys

const GROUPS = [
    { words: "Backdrop", names: ["backdrop", "clean_backdrop", "noise", "shadows"] },
    { words: "Foreground", names: ["solid", "clean_foreground", "alpha"] },
    { words: "Edges", names: ["choke", "soften", "light"] },
    { words: "Colour", names: ["spill", "spill_balance"] },
    { words: "Keys", names: ["type", "power", "smooth", "transparent", "min_transparent", "max_transparent"] },
    { words: "Cleaning", names: ["colors", "colors_range", "colors_power", "colors_chroma", "colors_luma", "colors_alpha"] },
    { words: "Protection", names: ["exclude_power", "exclude_smooth"] },
    { words: "Tolerance", names: ["power_rhy", "power_glu", "power_bsv"] },
];

const rows = new Map(); // name to {show(param)}
let built = "";         // the names that rows were built for

export function wordsOf(name) {
    return name[0].toUpperCase() + name.slice(1).replaceAll("_", " ");
}

/** A step that divides the range into about two hundred: 1, 2 or 5 and noughts. */
function stepOf({ least, most, whole }) {
    if (whole) return 1;
    const step = (most - least) / 200;
    const power = 10 ** Math.floor(Math.log10(step));
    return [5, 2, 1].find((digit) => digit * power <= step * 1.001) * power;
}

function nameOfChange(name) {
    return `param ${name}`;
}

function send(param, value) {
    const most = Math.min(Math.max(value, param.least), param.most);
    if (Number.isFinite(most)) change("/api/param", { name: param.name, value: most }, { name: nameOfChange(param.name) });
}

function numberText(value) {
    return String(Math.round(value * 1000) / 1000);
}

function sliderRow(param) {
    const id = `param-${param.name}`;
    const step = stepOf(param);
    const words = wordsOf(param.name);
    const bounds = { min: param.least, max: param.most };
    const slider = make("input", { type: "range", id, ...bounds, step: "any", "aria-describedby": `${id}-help` });
    const number = make("input", { type: "number", id: `${id}-number`, ...bounds, step, "aria-label": `${words}, number` });
    const reset = make("button", { class: "reset", title: `Default: ${numberText(param.default)}` });
    reset.setAttribute("aria-label", `${words} back to its default`);
    reset.append(pictogram("undo"));
    const row = make("div", { class: "param" },
        make("label", { for: id }, words), reset, number,
        make("span", { class: "unit" }, shortUnit(param.unit)), slider);

    const showValue = (value) => {
        slider.value = value;
        if (document.activeElement !== number) number.value = numberText(value);
        row.classList.toggle("changed", Math.abs(value - param.default) > 1e-9);
        slider.style.setProperty("--share", `${((value - param.least) / (param.most - param.least)) * 100}%`);
        slider.style.setProperty("--rest", `${((param.default - param.least) / (param.most - param.least)) * 100}%`);
    };
    const set = (value) => {
        showValue(value);
        send(param, value);
    };
    slider.addEventListener("input", () => set(Math.round(slider.value / step) * step));
    number.addEventListener("change", () => number.value !== "" && set(Number(number.value)));
    const toDefault = () => set(param.default);
    for (const element of [slider, row.querySelector("label")]) element.addEventListener("dblclick", toDefault);
    reset.addEventListener("click", toDefault);
    byArrows(slider, step, () => Number(slider.value), set, param);
    showHelp(row, helpOf(param));
    row.append(make("span", { id: `${id}-help`, class: "unseen" }, helpOf(param)));
    return { row, show: (next) => isUnderWay(nameOfChange(param.name)) || showValue(next.value) };
}

/** Arrows go by the step, with Shift ten times as far; the browser's own step is that of a free slider. */
function byArrows(slider, step, now, set, { least, most }) {
    slider.addEventListener("keydown", (event) => {
        const direction = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10 }[event.key];
        if (!direction || event.ctrlKey || event.altKey) return;
        event.preventDefault();
        const far = event.shiftKey ? 10 : 1;
        set(Math.min(Math.max(Math.round(now() / step + direction * far) * step, least), most));
    });
}

function shortUnit(unit) {
    return { pixels: "px", times: "×", levels: "lv" }[unit] ?? unit;
}

function helpOf(param) {
    const effect = `${wordsOf(param.name)}: ${param.help}.`;
    if (param.choices) return effect;
    const [least, most, normal] = [param.least, param.most, param.default].map(numberText);
    return `${effect} ${least} to ${most} ${param.unit}; double-click: ${normal}.`;
}

function choiceRow(param) {
    const group = make("div", { class: "segments", role: "group", "aria-label": wordsOf(param.name) });
    param.choices.forEach((words, index) =>
        group.append(make("button", { "data-value": index, onclick: () => send(param, index) }, words)));
    const row = make("div", { class: "param choice" }, make("span", { class: "label" }, wordsOf(param.name)), group);
    showHelp(row, helpOf(param));
    const show = (next) => {
        for (const button of group.children) press(button, Number(button.dataset.value) === next.value);
        row.classList.toggle("changed", next.value !== param.default);
    };
    return { row, show };
}

function build(params) {
    const place = byId("params");
    rows.clear();
    place.replaceChildren();
    const named = GROUPS.flatMap((group) => group.names);
    const others = { words: "More", names: params.map((param) => param.name).filter((name) => !named.includes(name)) };
    for (const group of [...GROUPS, others]) buildGroup(place, group, params);
}

function buildGroup(place, { words, names }, params) {
    const members = names.map((name) => params.find((param) => param.name === name)).filter(Boolean);
    if (members.length) place.append(make("h3", {}, words));
    for (const param of members) {
        const made = param.choices ? choiceRow(param) : sliderRow(param);
        rows.set(param.name, made);
        place.append(made.row);
    }
}

function show(state) {
    const params = state.params.filter((param) => !ELSEWHERE.includes(param.name));
    const names = params.map((param) => param.name).join(" ");
    if (names !== built) build(params);
    built = names;
    for (const param of params) rows.get(param.name).show(param);
}

export function startParams() {
    stateTaken.listen(show);
}
