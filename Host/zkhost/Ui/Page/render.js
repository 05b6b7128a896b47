// The clip rendered into a file: the dialog, and the progress that stays in the bar when it is closed.

import { change } from "./changes.js";
import { byId, write } from "./dom.js";
import { tell, warn } from "./notices.js";
import { range } from "./player.js";
import { current, stateTaken } from "./server.js";

const dialog = byId("render-dialog");

function running() {
    return current()?.job?.state === "running";
}

function nameFor(clip) {
    return clip.name.replace(/\.[^.]*$/, "") + "_keyed.mov";
}

export function openRender() {
    const clip = current()?.clip;
    if (!clip || clip.live || dialog.open) return;
    const { first, last } = range();
    if (!byId("render-output").value) byId("render-output").value = nameFor(clip);
    write(byId("render-range"), `Frames ${first} to ${last} of ${clip.name}, with these keys.`);
    write(byId("render-error"), "");
    dialog.showModal();
    show(current());
}

function start() {
    const output = byId("render-output").value.trim();
    const overwrite = byId("render-overwrite").checked ? 1 : undefined;
    write(byId("render-error"), "");
    if (!output) return write(byId("render-error"), "Write a name for the file.");
    const refused = (refusal) => {
        write(byId("render-error"), refusal.message);
        return true;
    };
    change("/api/render", { output, overwrite }, { refused });
}

function cancel() {
    change("/api/cancel");
}

function secondsWords(seconds) {
    if (!(seconds > 0)) return "";
    const whole = Math.ceil(seconds);
    return whole < 90 ? `${whole} s left` : `${Math.ceil(whole / 60)} min left`;
}

function wordsOf(job) {
    if (job.state === "done") return `${job.output} is done: ${job.frame} frames.`;
    if (job.state === "cancelled") return `Cancelled after ${job.frame} frames.`;
    if (job.state === "failed") return job.error;
    const parts = [`${job.frame} of ${job.frames ?? "?"} frames`, `${job.fps.toFixed(1)} fps`, secondsWords(job.left)];
    return parts.filter(Boolean).join(" · ");
}

function show({ job }) {
    const runs = running();
    byId("render-progress").hidden = !job;
    byId("render-cancel").hidden = !runs;
    byId("render-start").disabled = runs;
    byId("render-start").classList.toggle("main", job?.state !== "done");
    byId("render-close").classList.toggle("main", job?.state === "done");
    byId("job").hidden = !runs;
    if (!job) return;
    byId("render-bar").value = job.state === "done" ? 1 : job.frames ? job.frame / job.frames : 0;
    write(byId("render-words"), wordsOf(job));
    byId("render-words").classList.toggle("error", job.state === "failed");
    write(byId("job"), runs ? `Rendering ${Math.round((100 * job.frame) / (job.frames || 1))} %` : "");
}

/** Said once, when a job ends while its dialog is closed. */
function sayEnd({ job }, before) {
    if (!job || before?.job?.state !== "running" || job.state === "running" || dialog.open) return;
    if (job.state === "failed") warn(job.error);
    else tell(wordsOf(job));
}

export function startRender() {
    byId("render").addEventListener("click", openRender);
    byId("job").addEventListener("click", openRender);
    byId("render-start").addEventListener("click", start);
    byId("render-cancel").addEventListener("click", cancel);
    byId("render-output").addEventListener("keydown", (event) => {
        if (event.key !== "Enter") return;
        event.preventDefault(); // which would close the dialog
        if (!running()) start();
    });
    stateTaken.listen(show);
    stateTaken.listen(sayEnd);
}
