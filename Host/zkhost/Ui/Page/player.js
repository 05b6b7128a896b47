// Time: the frame that is looked at, playing, the in and out points.

import { change } from "./changes.js";
import { ended, wantFrame } from "./frames.js";
import { look, lookAt } from "./look.js";
import { drawn } from "./picture.js";
import { current, stateTaken } from "./server.js";
import { Signal } from "./signal.js";

export const player = { playing: false, loop: true, fps: 0 };
/** Tells that playing began or ended, or the loop was switched. */
export const played = new Signal();

let known = 1;     // frames that are known to be there, where the clip does not say how many it has
let due = 0;       // when the next frame is to be asked for
let timer = 0;
let lastDrawn = 0;

/** How many frames there are, as far as it is known. */
export function frameCount() {
    return current()?.clip?.frames ?? known;
}

/** First and last frame between the in and out points. */
export function range() {
    const clip = current()?.clip;
    const last = Math.max(0, frameCount() - 1);
    return { first: Math.min(clip?.in ?? 0, last), last: clip?.frames == null ? last : Math.min(clip.out ?? last, last) };
}

function interval() {
    const clip = current()?.clip;
    return clip && clip.rateNum > 0 ? (1000 * clip.rateDen) / clip.rateNum : 40;
}

/** Looks at a frame, as a jump. */
export function goTo(frame) {
    pause();
    const most = current()?.clip?.frames == null ? known : frameCount() - 1;
    lookAt({ frame: Math.min(Math.max(Math.round(frame), 0), most) });
    wantFrame();
}

export function play() {
    if (player.playing || !current()?.clip) return;
    Object.assign(player, { playing: true, fps: 0 });
    lastDrawn = 0;
    due = performance.now();
    const { first, last } = range();
    const inside = look.frame >= first && look.frame < last;
    if (!inside && !current().clip.live) lookAt({ frame: first });
    wantFrame({ stream: inside });
    played.tell();
}

export function pause() {
    if (!player.playing) return;
    clearTimeout(timer);
    player.playing = false;
    played.tell();
}

export function playOrPause() {
    if (player.playing) pause();
    else play();
}

export function toggleLoop() {
    player.loop = !player.loop;
    played.tell();
}

/** After a frame was drawn, the next one, not before its time: every frame is shown, however slow that is. */
function playOn() {
    if (!player.playing) return;
    measure();
    due = Math.max(due + interval(), performance.now() - interval());
    clearTimeout(timer);
    timer = setTimeout(nextFrame, due - performance.now());
}

function nextFrame() {
    if (!player.playing) return;
    if (current().clip.live) return wantFrame({ stream: true });
    const { first, last } = range();
    const unknownEnd = current().clip.frames == null;
    if (look.frame < last || unknownEnd) showNext(look.frame + 1, true);
    else atEnd(first);
}

function showNext(frame, stream) {
    known = Math.max(known, frame + 1);
    lookAt({ frame });
    wantFrame({ stream });
}

function atEnd(first) {
    if (player.loop) showNext(first, false);
    else pause();
}

function measure() {
    const now = performance.now();
    if (lastDrawn) {
        const fps = 1000 / (now - lastDrawn);
        player.fps = player.fps ? 0.9 * player.fps + 0.1 * fps : fps;
    }
    lastDrawn = now;
}

export function setIn(frame = look.frame) {
    change("/api/range", { in: frame, out: Math.max(frame, range().last) }, { name: "range" });
}

export function setOut(frame = look.frame) {
    change("/api/range", { in: Math.min(frame, range().first), out: frame }, { name: "range" });
}

/** The program has found the end of a clip whose length was not known. */
function onEnded() {
    known = Math.max(1, Math.min(known, look.frame));
    const { first, last } = range();
    if (player.playing && look.frame > first) atEnd(first);
    else if (look.frame > last) showNext(last, false); // of another clip, before the page was loaded again
}

export function startPlayer() {
    drawn.listen(playOn);
    ended.listen(onEnded);
    stateTaken.listen((state, before) => {
        if (!state.clip) pause();
        else if (state.clip.live && !before?.clip && !document.hidden) play();
    });
    document.addEventListener("visibilitychange", () => {
        if (document.hidden) pause(); // nobody looks
        else if (current()?.clip?.live) play();
    });
}
