// Deletion, behind a question.

import { byId, openDialog, whileBusy } from "./dom.js";
import { describeCollection, nameOf } from "./certificates.js";
import { clearRefusals, showRefusal } from "./refusals.js";
import { Refusal, request } from "./service.js";

let chosen = null; // the certificate
let app = null;

async function remove() {
    try {
        await request("DELETE", chosen.uri);
    } catch (refusal) {
        if (!(refusal instanceof Refusal)) {
            throw refusal;
        }
        showRefusal(byId("question-form"), refusal);
        return;
    }
    byId("question").close();
    byId("details").close();
    app.notify(`${nameOf(chosen.document.Subject)} is deleted.`);
    await app.reload();
}

export function askToDelete(certificate) {
    chosen = certificate;
    clearRefusals(byId("question-form"));
    const { purpose, path } = describeCollection(certificate.collection);
    byId("question-text").textContent =
        `${nameOf(certificate.document.Subject)} is removed from the board, together with its ` +
        `private key if it has one. It is used for: ${purpose} (${path}).`;
    openDialog(byId("question"));
}

export function setUpDeletion(owner) {
    app = owner;
    byId("question-form").addEventListener("submit", (event) => {
        event.preventDefault();
        whileBusy(event.target, remove);
    });
}
