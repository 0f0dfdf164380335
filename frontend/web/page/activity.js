// What has happened on the board since the page was opened.

import { breakable, byId, element } from "./dom.js";
import { openButton } from "./table.js";

const MOST_ENTRIES = 50;
const SEVERITIES = ["OK", "Warning", "Critical"];

let unnamed = []; // {uri, place} of entries whose certificate's name is not known yet

// "ResourceEvent.1.0.ResourceCreated" becomes "Resource created".
function messageName(record) {
    const name = String(record.MessageId ?? record.EventType ?? "Event").split(".").at(-1);
    return name.replace(/([a-z])([A-Z])/g, (_, end, begin) => `${end} ${begin.toLowerCase()}`);
}

// The event in the service's own words, unless they only say what stands beside them.
function wordsOf(record, uri) {
    const words = String(record.Message ?? "");
    return words === "" || (uri !== "" && words.includes(uri)) ? messageName(record) : words;
}

function timeText(record) {
    const time = new Date(record.EventTimestamp ?? Date.now());
    return Number.isNaN(time.getTime()) ? "" : time.toLocaleTimeString();
}

// The names of certificates that are gone stay, as text.
function unlinkGone(app) {
    for (const button of byId("activity").querySelectorAll("button")) {
        if (!app.certificates().some((each) => each.uri === button.dataset.uri)) {
            button.replaceWith(button.textContent);
        }
    }
}

// Gives the entries of certificates that are known by now their names.
export function nameActivity(app) {
    unlinkGone(app);
    unnamed = unnamed.filter(({ uri, place }) => {
        const certificate = app.certificates().find((each) => each.uri === uri);
        if (certificate) {
            place.replaceChildren(openButton(certificate, app.open));
        }
        return !certificate;
    });
}

export function addActivity(record, app) {
    const uri = String(record.OriginOfCondition?.["@odata.id"] ?? "");
    const place = element("span", { class: "second" },
        ...breakable(uri.replace("/redfish/v1/", "")));
    const severity = SEVERITIES.includes(record.MessageSeverity) ? record.MessageSeverity : "OK";
    const list = byId("activity");
    list.prepend(element("li", { "data-severity": severity },
        element("time", {}, timeText(record)), element("span", {}, wordsOf(record, uri)), place));
    while (list.children.length > MOST_ENTRIES) {
        list.lastElementChild.remove();
    }
    byId("no-activity").hidden = true;
    unnamed = [{ uri, place }, ...unnamed].slice(0, MOST_ENTRIES);
    nameActivity(app);
}

export function clearActivity() {
    unnamed = [];
    byId("activity").replaceChildren();
    byId("no-activity").hidden = false;
}
