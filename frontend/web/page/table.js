// The table of certificates.

import { breakable, byId, element } from "./dom.js";
import { dateText, describeCollection, nameOf, originOf, remainingOf } from "./certificates.js";

const STATE_TEXTS = { good: "Good", near: "Ends soon", ended: "Expired" };

// A button that opens the certificate's details.
export function openButton(certificate, open) {
    return element("button", {
        type: "button",
        class: "link",
        "data-uri": certificate.uri,
        onclick: () => open(certificate.uri),
    }, nameOf(certificate.document.Subject));
}

export function stateBadge(state) {
    return element("span", { class: "badge", "data-state": state }, STATE_TEXTS[state]);
}

export function remainingBar(certificate) {
    const { text, share } = remainingOf(certificate);
    const fill = element("span", { class: "bar-fill" });
    fill.style.width = `${Math.max(share * 100, share > 0 ? 2 : 0)}%`;
    return element("div", { class: "remaining", "data-state": certificate.state },
        element("div", { class: "remaining-text" },
            element("span", { class: "remaining-time", title: dateText(certificate.notAfter) },
                text),
            stateBadge(certificate.state)),
        element("div", { class: "bar", "aria-hidden": "true" }, fill));
}

function twoLines(first, second) {
    return [first, second ? element("span", { class: "second" }, ...breakable(second)) : null];
}

function cell(label, ...children) {
    return element("td", { role: "cell", "data-label": label }, ...children);
}

function rowOf(certificate, open) {
    const { Subject, Issuer } = certificate.document;
    const { purpose, path } = describeCollection(certificate.collection);
    return element("tr", { role: "row", "data-state": certificate.state },
        cell("Subject", ...twoLines(openButton(certificate, open), originOf(Subject))),
        cell("Issuer", ...twoLines(nameOf(Issuer), originOf(Issuer))),
        cell("Remaining", remainingBar(certificate)),
        cell("Used for", ...twoLines(purpose, path)));
}

function summaryOf(certificates) {
    if (certificates.length === 0) {
        return "None";
    }
    const count = (state) => certificates.filter((each) => each.state === state).length;
    const parts = [[count("good"), "good"], [count("near"), "near the end"],
        [count("ended"), "expired"]];
    return parts.filter(([number]) => number > 0).map(([number, text]) => `${number} ${text}`)
        .join(", ");
}

// The button of the certificate's row, if it has one.
export function rowButton(uri) {
    return [...document.querySelectorAll("#certificates button")]
        .find((button) => button.dataset.uri === uri);
}

// Shows neither table nor its absence: nothing is known yet.
export function clearTable() {
    document.querySelector("#certificates tbody").replaceChildren();
    byId("certificates").hidden = true;
    byId("empty").hidden = true;
    byId("summary").textContent = "Reading …";
}

// Draws the table anew; the focus stays where it was.
export function showTable(certificates, open) {
    const focused = document.activeElement?.closest?.("#certificates")
        ? document.activeElement.dataset.uri : null;
    const body = document.querySelector("#certificates tbody");
    body.replaceChildren(...certificates.map((certificate) => rowOf(certificate, open)));
    byId("certificates").hidden = certificates.length === 0;
    byId("empty").hidden = certificates.length > 0;
    byId("summary").textContent = summaryOf(certificates);
    if (focused) {
        (rowButton(focused) ?? byId("board-title")).focus();
    }
}
