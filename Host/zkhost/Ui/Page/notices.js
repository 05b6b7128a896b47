// What the page has to say, in words: read aloud, and gone again after a while.

import { byId, make, pictogram } from "./dom.js";

const SECONDS = 7;

function show(place, words, seconds) {
    for (const old of place.children) if (old.dataset.words === words) old.remove();
    const notice = make("div", { class: "notice", "data-words": words }, make("span", {}, words));
    const close = make("button", { class: "square", "aria-label": "Close the message", onclick: () => notice.remove() });
    close.append(pictogram("close"));
    notice.append(close);
    place.append(notice);
    setTimeout(() => notice.remove(), seconds * 1000);
}

export function tell(words) {
    show(byId("notices"), words, SECONDS);
}

export function warn(words) {
    show(byId("alerts"), words, 2 * SECONDS);
}

/** A state that lasts until it is over, such as a program that does not answer: words, or "" when it is over. */
export function lasting(words) {
    const place = byId("empty");
    place.hidden = !words;
    place.replaceChildren(make("p", {}, words));
}
