// Installing a certificate, and putting one in another's place: both send a file.

import { byId, openDialog, whileBusy } from "./dom.js";
import { nameOf } from "./certificates.js";
import { chainItem } from "./chain.js";
import { offerPlaces } from "./places.js";
import { clearRefusals, showRefusal } from "./refusals.js";
import { Refusal, request } from "./service.js";
import { certificatesOf, certificateTypeOf, holdsPrivateKey, textOfFile } from "./x509.js";

const LONGEST_FILES = 512 * 1024; // bytes

let app = null;
let replaced = null; // the certificate whose place is taken; null for an installation
let text = "";       // of the chosen files; may hold a private key

// --- the chosen files ---------------------------------------------------------------------------

async function textOf(files) {
    const texts = await Promise.all(files.map(async (file) =>
        textOfFile(new Uint8Array(await file.arrayBuffer()))));
    return texts.join("\n");
}

function noteOn(chosen, certificates) {
    const nothing = chosen && certificates.length === 0
        ? "No certificate can be seen in this file; the board decides." : "";
    const key = holdsPrivateKey(chosen) ? "With a private key." : "";
    return `${nothing} ${key}`.trim();
}

function setText(chosen) {
    text = chosen;
    clearRefusals(byId("install-form"));
    const certificates = certificatesOf(chosen);
    byId("install-preview").replaceChildren(...certificates.map(chainItem));
    byId("install-note").textContent = noteOn(chosen, certificates);
    byId("install-submit").disabled = !chosen;
}

async function takeFiles(list) {
    const files = [...list];
    if (files.length === 0) {
        return;
    }
    if (files.reduce((sum, file) => sum + file.size, 0) > LONGEST_FILES) {
        setText("");
        byId("install-note").textContent = "This is too large for a certificate.";
        return;
    }
    setText(await textOf(files));
    byId("install-submit").focus();
}

// --- sending ------------------------------------------------------------------------------------

function sendText() {
    const body = { CertificateString: text, CertificateType: certificateTypeOf(text) };
    if (replaced) {
        return request("POST", app.board().replaceCertificate,
            { ...body, CertificateUri: { "@odata.id": replaced.uri } });
    }
    return request("POST", byId("install-collection").value, body);
}

// The service's words when there was nothing to do, or else that it was done.
function outcomeOf(answer) {
    const said = answer.document?.["@Message.ExtendedInfo"]?.[0];
    if (String(said?.MessageId).endsWith(".NoOperation")) {
        return String(said.Message);
    }
    const [first] = certificatesOf(text);
    return `${first ? nameOf(first.subject) : "The certificate"} is installed.`;
}

async function submit() {
    let answer = null;
    try {
        answer = await sendText();
    } catch (refusal) {
        if (!(refusal instanceof Refusal)) {
            throw refusal;
        }
        showRefusal(byId("install-form"), refusal);
        return;
    }
    app.notify(outcomeOf(answer));
    byId("install").close();
    await app.reload();
}

// --- the dialog ---------------------------------------------------------------------------------

function open(title, words, verb) {
    byId("install-title").textContent = title;
    byId("install-text").textContent = words;
    byId("install-submit").textContent = verb;
    byId("install-file").value = "";
    setText("");
    openDialog(byId("install"), () => byId("install-button"));
}

export function openInstall(files = []) {
    replaced = null;
    offerPlaces("install", app.collections());
    open("Install certificate", "", "Install");
    takeFiles(files);
}

export function openReplace(certificate) {
    replaced = certificate;
    byId("install-place").hidden = true;
    open("Replace certificate", `The new certificate takes the place of ` +
        `${nameOf(certificate.document.Subject)}.`, "Replace");
}

// --- dropping -----------------------------------------------------------------------------------

function holdsFiles(event) {
    return app.isReady() && [...event.dataTransfer.types].includes("Files");
}

function dropped(event) {
    const { files } = event.dataTransfer;
    if (byId("install").open) {
        takeFiles(files);
    } else if (!document.querySelector("dialog[open]")) {
        openInstall(files);
    }
}

// The whole page takes files, so that one dropped beside the mark is not opened by the browser.
function setUpDropping() {
    const hint = byId("drop-hint");
    document.addEventListener("dragover", (event) => {
        if (holdsFiles(event)) {
            event.preventDefault();
            hint.hidden = false;
        }
    });
    document.addEventListener("dragleave", (event) => {
        hint.hidden = hint.hidden || event.relatedTarget === null;
    });
    document.addEventListener("drop", (event) => {
        hint.hidden = true;
        if (holdsFiles(event)) {
            event.preventDefault();
            dropped(event);
        }
    });
}

export function setUpInstall(owner) {
    app = owner;
    setUpDropping();
    byId("install-button").addEventListener("click", () => openInstall());
    byId("install-file").addEventListener("change", (event) => takeFiles(event.target.files));
    byId("install").addEventListener("close", () => setText(""));
    byId("install-form").addEventListener("submit", (event) => {
        event.preventDefault();
        whileBusy(event.target, submit);
    });
}
