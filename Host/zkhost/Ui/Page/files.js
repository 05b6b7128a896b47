// Files of the operator's machine: keys saved and loaded, a picture to lie behind the result.

import { get, Refusal } from "./api.js";
import { change } from "./changes.js";
import { byId, make } from "./dom.js";
import { tell, warn } from "./notices.js";

/** Has the operator choose a file: a promise of it, or of null. */
function choose(id) {
    const input = byId(id);
    input.value = ""; // so that the same file can be chosen again
    return new Promise((resolve) => {
        input.onchange = () => resolve(input.files[0] ?? null);
        input.oncancel = () => resolve(null);
        input.click();
    });
}

export function picturesOfOnesOwn() {
    return choose("pick-picture");
}

export async function saveKeys() {
    try {
        const response = await get("/api/keys");
        const name = /filename="?([^";]+)/.exec(response.headers.get("Content-Disposition") ?? "")?.[1] ?? "keys.xml";
        const address = URL.createObjectURL(await response.blob());
        make("a", { href: address, download: name }).click();
        setTimeout(() => URL.revokeObjectURL(address), 10000); // the browser reads it a little later
        tell(`The keys were saved as ${name}, where the browser puts its downloads.`);
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        warn(error.message);
    }
}

export async function loadKeys() {
    const file = await choose("pick-keys");
    if (file && (await change("/api/keys", {}, { body: file }))) tell(`The keys of ${file.name} are in use; a step back takes them away.`);
}
