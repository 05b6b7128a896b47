// The bar over the picture: view, wipe, background, zoom.

import { post, Refusal } from "./api.js";
import { byId, make, press, pressOne, write } from "./dom.js";
import { wantFrame } from "./frames.js";
import { choosePicture, startFiles } from "./files.js";
import { showHelp } from "./help.js";
import { look, looked, lookAt, VIEWS } from "./look.js";
import { warn } from "./notices.js";
import { current, stateTaken } from "./server.js";
import { fit, isFitted, moved, onScreen, scale, screenSize, visible, zoomAt, zoomTo } from "./viewport.js";

const STEP = Math.SQRT2; // of the zoom

export function viewsShown() {
    return VIEWS.filter((view) => view.both || current()?.keyer !== 1);
}

export function chooseView(name) {
    lookAt({ view: name });
    wantFrame();
}

function startViews() {
    VIEWS.forEach(({ name, words, help }, index) => {
        const choose = () => chooseView(name);
        const button = make("button", { "data-view": name, title: `${help} (${index + 1})`, onclick: choose }, words);
        showHelp(button, `${words}: ${help}.`);
        byId("views").append(button);
    });
    const show = () => {
        const names = viewsShown().map((view) => view.name);
        for (const button of byId("views").children) button.hidden = !names.includes(button.dataset.view);
        pressOne(byId("views"), "view", look.view);
        byId("legend").hidden = look.view !== "status";
    };
    looked.listen(show);
    stateTaken.listen(() => {
        if (!viewsShown().some((view) => view.name === look.view)) chooseView("result");
        show();
    });
}

function startOvers() {
    const pick = { colour: () => byId("pick-colour").click(), picture: choosePicture };
    for (const button of byId("overs").children) {
        const { over } = button.dataset;
        button.addEventListener("click", () => {
            const again = look.over === over;
            if (pick[over] && (again || (over === "picture" && !hasBackground))) return pick[over]();
            lookAt({ over });
            wantFrame();
        });
    }
    byId("pick-colour").addEventListener("input", (event) => {
        lookAt({ over: "colour", colour: event.target.value });
        wantFrame();
    });
    looked.listen(showOvers);
    showOvers();
}

function showOvers() {
    pressOne(byId("overs"), "over", look.over);
    byId("over-swatch").style.backgroundColor = look.colour;
}

let hasBackground = false;

async function takeBackground(file) {
    try {
        await post("/api/background", {}, file);
        hasBackground = true;
        lookAt({ over: "picture" });
        wantFrame();
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        warn(error.message);
    }
}

export function toggleWipe() {
    lookAt({ wipe: !look.wipe, view: look.view === "source" ? "result" : look.view });
    wantFrame();
}

/** The handle on the line between source and view; shares are those of the part of the picture that is seen. */
function startWipe() {
    const handle = byId("wipe-handle");
    const set = (share) => {
        lookAt({ wipeAt: Math.min(Math.max(share, 0), 1) });
        wantFrame();
    };
    handle.addEventListener("pointerdown", (event) => {
        event.stopPropagation();
        handle.setPointerCapture(event.pointerId);
    });
    handle.addEventListener("pointermove", (event) => {
        if (handle.hasPointerCapture(event.pointerId)) set(shareAt(event.clientX));
    });
    handle.addEventListener("keydown", (event) => {
        const step = { ArrowLeft: -0.02, ArrowRight: 0.02, Home: -1, End: 1 }[event.key];
        if (!step) return;
        event.preventDefault();
        event.stopPropagation();
        set(look.wipeAt + step * (event.shiftKey ? 5 : 1));
    });
    byId("wipe").addEventListener("click", toggleWipe);
    looked.listen(showWipe);
    moved.listen(showWipe);
}

function shareAt(clientX) {
    const box = byId("overlay").getBoundingClientRect();
    const at = onScreen(visible());
    return (((clientX - box.left) * screenSize().width) / box.width - at.x) / at.w;
}

function showWipe() {
    const handle = byId("wipe-handle");
    press(byId("wipe"), look.wipe);
    const seen = visible();
    handle.hidden = !look.wipe || !seen;
    if (handle.hidden) return;
    const at = onScreen(seen);
    const ratio = screenSize().width / byId("overlay").clientWidth;
    handle.style.left = `${(at.x + look.wipeAt * at.w) / ratio}px`;
    handle.style.top = `${Math.max(0, at.y) / ratio}px`;
    handle.style.height = `${Math.min(at.h, screenSize().height) / ratio}px`;
    handle.setAttribute("aria-valuenow", Math.round(look.wipeAt * 100));
}

export function zoomIn() {
    zoomAt(STEP);
}

export function zoomOut() {
    zoomAt(1 / STEP);
}

export function zoomPixels() {
    zoomTo(1);
}

export { fit as zoomFit };

function startZoom() {
    byId("zoom-in").addEventListener("click", zoomIn);
    byId("zoom-out").addEventListener("click", zoomOut);
    byId("zoom-fit").addEventListener("click", () => (isFitted() ? zoomPixels() : fit()));
    moved.listen(() => {
        const percent = scale() * 100;
        write(byId("zoom-now"), `${isFitted() ? "Fit " : ""}${percent < 10 ? percent.toFixed(1) : Math.round(percent)} %`);
        wantFrame();
    });
}

export function startViewbar() {
    startViews();
    startOvers();
    startFiles(takeBackground);
    startWipe();
    startZoom();
}
