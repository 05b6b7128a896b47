// Something that happens and that others want to hear of.

export class Signal {
    #listeners = new Set();

    listen(listener) {
        this.#listeners.add(listener);
    }

    tell(...words) {
        for (const listener of this.#listeners) listener(...words);
    }
}
