// Requests to the program behind the page.

/** What the program refused, in its words. Status 0: it did not answer at all. */
export class Refusal extends Error {
    constructor(status, answer) {
        super(answer.error);
        this.status = status;
        this.answer = answer;
    }
}

export const SILENT = "The program does not answer. Is zkhost still running, and the network up?";

function address(path, args) {
    const known = Object.entries(args).filter(([, value]) => value !== undefined);
    const query = new URLSearchParams(known).toString();
    return query ? `${path}?${query}` : path;
}

async function request(path, args, options) {
    let response;
    try {
        response = await fetch(address(path, args), { cache: "no-store", ...options });
    } catch (error) {
        throw error.name === "AbortError" ? error : new Refusal(0, { error: SILENT });
    }
    if (!response.ok) throw new Refusal(response.status, await refusalOf(response));
    return response;
}

async function refusalOf(response) {
    try {
        return await response.json();
    } catch {
        return { error: `The program answered ${response.status} ${response.statusText}.` };
    }
}

export function get(path, args = {}, options = {}) {
    return request(path, args, options);
}

export async function getJson(path, args = {}, options = {}) {
    const response = await request(path, args, options);
    try {
        return await response.json();
    } catch (error) {
        throw error.name === "AbortError" ? error : new Refusal(0, { error: SILENT });
    }
}

/** Changes something; the answer is the new state. */
export async function post(path, args = {}, body = undefined) {
    const response = await request(path, args, { method: "POST", body });
    return response.json();
}
