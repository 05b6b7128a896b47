// Files of the operator's machine: keys saved and loaded, a picture to lie behind the result.

import { get, Refusal } from "./api.js";
import { change } from "./changes.js";
import { byId, make } from "./dom.js";
import { tell, warn } from "./notices.js";

/** The operator chooses a file with an input of the page; what is done with it begins with the choice. */
function onChosen(id, take) {
    byId(id).addEventListener("change", ({ target }) => {
        const [file] = target.files;
        if (file) take(file).finally(() => { target.value = ""; }); // so that the same file can be chosen again
    });
}

export function chooseKeys() {
    byId("pick-keys").click();
}

export function choosePicture() {
    byId("pick-picture").click();
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

async function loadKeys(file) {
    const taken = await change("/api/keys", {}, { body: file });
    if (taken) tell(`The keys of ${file.name} are in use; a step back takes them away.`);
}

/** `takePicture` gets the picture to lie behind the result. */
export function startFiles(takePicture) {
    onChosen("pick-keys", loadKeys);
    onChosen("pick-picture", takePicture);
}
