// The transport below the picture: timeline, in and out points, buttons.

import { byId, press, write } from "./dom.js";
import { look, looked } from "./look.js";
import { frameCount, goTo, pause, played, player, playOrPause, range, setIn, setOut, toggleLoop } from "./player.js";
import { current, stateTaken } from "./server.js";

const KEYS = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10 };

const line = byId("timeline");

function share(frame) {
    return frameCount() > 1 ? frame / (frameCount() - 1) : 0;
}

function frameAt(event) {
    const box = line.querySelector(".track").getBoundingClientRect();
    const at = Math.min(Math.max((event.clientX - box.left) / box.width, 0), 1);
    return Math.round(at * (frameCount() - 1));
}

/** Hours, minutes, seconds and frames of a frame. */
function timecode(frame) {
    const { rateNum, rateDen } = current().clip;
    const second = Math.max(1, Math.round(rateNum / (rateDen || 1)));
    const two = (value) => String(Math.floor(value)).padStart(2, "0");
    const seconds = Math.floor(frame / second);
    return `${two(seconds / 3600)}:${two((seconds / 60) % 60)}:${two(seconds % 60)}:${two(frame % second)}`;
}

function place(element, frame) {
    element.style.left = `${share(frame) * 100}%`;
    element.setAttribute("aria-valuemin", 0);
    element.setAttribute("aria-valuemax", frameCount() - 1);
    element.setAttribute("aria-valuenow", frame);
}

function show() {
    const clip = current()?.clip;
    line.classList.toggle("off", !clip || clip.live);
    for (const id of ["step-back", "step-forward", "loop", "set-in", "set-out"]) byId(id).disabled = !clip || clip.live;
    byId("play").disabled = !clip;
    if (!clip) return;
    const { first, last } = range();
    place(byId("playhead"), look.frame);
    place(byId("mark-in"), first);
    place(byId("mark-out"), last);
    byId("track-range").style.left = `${share(first) * 100}%`;
    byId("track-range").style.right = `${(1 - share(last)) * 100}%`;
    write(byId("time"), clip.live ? "live" : `${timecode(look.frame)}  ${look.frame}`);
    byId("playhead").setAttribute("aria-valuetext", `frame ${look.frame}, ${timecode(look.frame)}`);
}

function showPlaying() {
    byId("play").querySelector("use").setAttribute("href", player.playing ? "#i-pause" : "#i-play");
    byId("play").setAttribute("aria-label", player.playing ? "Pause" : "Play");
    press(byId("loop"), player.loop);
}

/** Drags along the line: `seek` gets the frame under the pointer. */
function dragging(element, seek) {
    element.addEventListener("pointerdown", (event) => {
        event.stopPropagation();
        element.setPointerCapture(event.pointerId);
        seek(frameAt(event));
    });
    element.addEventListener("pointermove", (event) => {
        if (element.hasPointerCapture(event.pointerId)) seek(frameAt(event));
    });
}

function byKeys(element, now, seek) {
    element.addEventListener("keydown", (event) => {
        const { first, last } = range();
        const target = { Home: first, End: last }[event.key] ?? now() + KEYS[event.key];
        if (Number.isNaN(target)) return;
        event.preventDefault();
        event.stopPropagation();
        seek(Math.min(Math.max(target, 0), frameCount() - 1));
    });
}

function seek(frame) {
    if (frame !== look.frame || player.playing) goTo(frame);
}

export function startTimeline() {
    dragging(line, seek);
    dragging(byId("mark-in"), setIn);
    dragging(byId("mark-out"), setOut);
    byKeys(byId("playhead"), () => look.frame, seek);
    byKeys(byId("mark-in"), () => range().first, setIn);
    byKeys(byId("mark-out"), () => range().last, setOut);
    byId("play").addEventListener("click", playOrPause);
    byId("loop").addEventListener("click", toggleLoop);
    byId("step-back").addEventListener("click", () => goTo(look.frame - 1));
    byId("step-forward").addEventListener("click", () => goTo(look.frame + 1));
    byId("set-in").addEventListener("click", () => setIn());
    byId("set-out").addEventListener("click", () => setOut());
    looked.listen(show);
    stateTaken.listen(show);
    played.listen(showPlaying);
    showPlaying();
}
