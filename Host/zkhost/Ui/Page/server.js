// The program's state as the page knows it: it is told to listeners whenever a newer one arrives.

import { getJson, Refusal } from "./api.js";
import { Signal } from "./signal.js";

const RETRY_SECONDS = 1;

let state = null;

/** Tells the new state and the one before, which is null at first. */
export const stateTaken = new Signal();
/** Tells the refusal that keeps the page from its program, or null when it answers again. */
export const connection = new Signal();

export function current() {
    return state;
}

/** Takes a state unless a newer one is known: answers may overtake each other. */
export function take(next) {
    if (state && next.revision < state.revision) return;
    const before = state;
    state = next;
    stateTaken.tell(state, before);
}

function pause(seconds) {
    return new Promise((resolve) => setTimeout(resolve, seconds * 1000));
}

/** Asks for what is newer, again and again: the program holds the request until there is something. */
export async function follow() {
    let apart = false;
    for (;;) {
        try {
            take(await getJson("/api/state", state ? { after: state.revision } : {}));
            if (apart) connection.tell(null);
            apart = false;
        } catch (error) {
            if (!(error instanceof Refusal)) throw error;
            apart = true;
            connection.tell(error);
            await pause(RETRY_SECONDS);
        }
    }
}
