// Changes on their way to the program: one at a time, in order. Of changes with the same name only the newest waits, so
// that a slider which is dragged never lags behind the hand.

import { post, Refusal } from "./api.js";
import { warn } from "./notices.js";
import { take } from "./server.js";

let waiting = [];
let busy = false;

/** Whether any change has not been answered yet. */
export function isBusy() {
    return Boolean(busy) || waiting.length > 0;
}

/** Whether a change of this name has not been answered yet. */
export function isUnderWay(name) {
    return waiting.some((change) => change.name === name) || busy === name;
}

/**
 * Asks for a change. With a name it takes the place of one of that name that still waits.
 * Resolves to the new state, or to null when it was refused (the reason is shown) or replaced by a newer one.
 */
export function change(path, args = {}, { name, body, refused } = {}) {
    return new Promise((resolve) => {
        const next = { path, args, name, body, refused, resolve };
        const old = name ? waiting.findIndex((other) => other.name === name) : -1;
        if (old >= 0) waiting.splice(old, 1, next)[0].resolve(null);
        else waiting.push(next);
        send();
    });
}

async function send() {
    if (busy) return;
    while (waiting.length) {
        const next = waiting.shift();
        busy = next.name ?? "unnamed";
        try {
            next.resolve(await sendOne(next));
        } finally {
            busy = false;
        }
    }
}

async function sendOne({ path, args, body, refused }) {
    try {
        const state = await post(path, args, body);
        busy = false; // what listens to the new state must not take this change for one under way
        take(state);
        return state;
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        if (!refused?.(error)) warn(error.message);
        return null;
    }
}
