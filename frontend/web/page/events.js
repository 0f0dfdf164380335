// The board's events as they come.
//
// An EventSource cannot send the session's token, so the stream is read by hand: lines of
// "name: value", and a blank line at the end of each event.

import { pause } from "./dom.js";
import { openStream, Refusal } from "./service.js";

const FIRST_PAUSE = 1000; // milliseconds until the next attempt, doubled with each
const LONGEST_PAUSE = 30000;

// The data of an event's lines.
function dataOf(block) {
    return block.split("\n").filter((line) => line.startsWith("data:"))
        .map((line) => line.slice(5).replace(/^ /, "")).join("\n");
}

function recordsOf(data) {
    try {
        const { Events } = JSON.parse(data);
        return Array.isArray(Events) ? Events : [];
    } catch {
        return [];
    }
}

async function readStream(body, tell) {
    const reader = body.pipeThrough(new TextDecoderStream()).getReader();
    let rest = "";
    for (;;) {
        const { done, value } = await reader.read();
        if (done) {
            return;
        }
        const blocks = (rest + value).replace(/\r\n?/g, "\n").split("\n\n");
        rest = blocks.pop();
        blocks.flatMap((block) => recordsOf(dataOf(block))).forEach(tell);
    }
}

// Listens until the signal says to stop. `connected` is told true at the begin of every stream and
// false at its end, `happened` every event record.
export async function listen(uri, { signal, connected, happened }) {
    for (let wait = FIRST_PAUSE; !signal.aborted; wait = Math.min(wait * 2, LONGEST_PAUSE)) {
        try {
            const body = await openStream(uri, signal);
            wait = FIRST_PAUSE;
            connected(true);
            await readStream(body, happened);
        } catch (failure) {
            if (failure instanceof Refusal && [401, 404].includes(failure.status)) {
                break; // the session is over, or there is no such stream
            }
        }
        if (!signal.aborted) {
            connected(false);
            await pause(wait);
        }
    }
}
