// Signing requests: the form, the task that makes an RSA key, and the request to download.

import { byId, download, fileNameOf, openDialog, pause, whileBusy } from "./dom.js";
import { offerPlaces } from "./places.js";
import { clearRefusals, showRefusal } from "./refusals.js";
import { Refusal, request, resourceAt } from "./service.js";

const TEXT_FIELDS = ["CommonName", "Organization", "OrganizationalUnit", "City", "State", "Country",
    "Email"];
const POLL_PAUSE = 700; // milliseconds
const PARTS = { form: "signing-fields", progress: "signing-progress", result: "signing-result" };
const BUTTONS = { form: ["signing-submit"], progress: [],
    result: ["signing-again", "signing-copy", "signing-download"] };

let app = null;
let part = "form"; // what the dialog shows
let commonName = "";

// --- what is asked for --------------------------------------------------------------------------

function keyParameters(choice) {
    return choice.startsWith("TPM_ECC")
        ? { KeyPairAlgorithm: "TPM_ALG_ECDSA", KeyCurveId: choice }
        : { KeyPairAlgorithm: "TPM_ALG_RSA", KeyBitLength: Number(choice) };
}

// What is left empty is not sent: the service knows what it needs.
function bodyOf(form) {
    const fields = form.elements;
    const texts = TEXT_FIELDS.map((name) => [name, fields[name].value.trim()])
        .filter(([, value]) => value);
    const names = fields.AlternativeNames.value.split(/[\s,;]+/).filter(Boolean);
    return {
        CertificateCollection: { "@odata.id": fields.CertificateCollection.value },
        ...Object.fromEntries(texts),
        ...(names.length > 0 ? { AlternativeNames: names } : {}),
        ...keyParameters(fields.Key.value),
    };
}

// --- the dialog's parts -------------------------------------------------------------------------

function showPart(name) {
    part = name;
    for (const [each, id] of Object.entries(PARTS)) {
        byId(id).hidden = each !== name;
    }
    for (const [each, ids] of Object.entries(BUTTONS)) {
        ids.forEach((id) => { byId(id).hidden = each !== name; });
    }
}

function focusPart() {
    byId({ form: "signing-name", progress: "signing-task", result: "signing-done" }[part]).focus();
}

function switchTo(name) {
    showPart(name);
    if (byId("signing").open) {
        focusPart();
    }
}

// --- the task -----------------------------------------------------------------------------------

function stateText(task, start) {
    const seconds = Math.round((Date.now() - start) / 1000);
    const state = String(task?.TaskState ?? "Running");
    const percent = task?.PercentComplete > 0 ? `, ${task.PercentComplete} %` : "";
    return `Making the key: ${state}${percent}, ${seconds} s`;
}

// One look at the task monitor; null while the service is too busy to tell.
async function lookAt(monitor) {
    try {
        return await request("GET", monitor);
    } catch (refusal) {
        if (refusal instanceof Refusal && refusal.status === 503) {
            return null;
        }
        throw refusal;
    }
}

// What the task comes to. Its state is shown as it goes.
async function follow(monitor) {
    const start = Date.now();
    let task = null;
    const show = () => { byId("signing-task").textContent = stateText(task, start); };
    const clock = setInterval(show, 1000);
    try {
        for (;;) {
            show();
            const answer = await lookAt(monitor);
            if (answer && answer.status !== 202) {
                return answer.document;
            }
            task = answer?.document ?? task;
            await pause(POLL_PAUSE);
        }
    } finally {
        clearInterval(clock);
    }
}

async function makeRequest(body) {
    const answer = await request("POST", app.board().generateCsr, body);
    if (answer.status !== 202) {
        return answer.document;
    }
    switchTo("progress");
    return follow(resourceAt(answer.headers.get("Location")));
}

function showResult(document) {
    byId("signing-text").value = document?.CSRString ?? "";
    switchTo("result");
    if (!byId("signing").open) {
        app.notify(`The signing request for ${commonName} is ready.`,
            { text: "Show", run: openSigning });
    }
}

function showFailure(refusal) {
    switchTo("form");
    showRefusal(byId("signing-form"), refusal);
    if (!byId("signing").open) {
        app.notify(refusal.message);
    }
}

async function submit() {
    const form = byId("signing-form");
    clearRefusals(form);
    const body = bodyOf(form);
    commonName = body.CommonName ?? "";
    try {
        showResult(await makeRequest(body));
    } catch (refusal) {
        if (!(refusal instanceof Refusal)) {
            throw refusal;
        }
        showFailure(refusal);
    }
}

// --- the result ---------------------------------------------------------------------------------

function downloadRequest() {
    download(`${fileNameOf(commonName)}.csr`, byId("signing-text").value, "application/pkcs10");
}

async function copyRequest() {
    const area = byId("signing-text");
    area.select();
    await navigator.clipboard?.writeText(area.value).catch(() => {});
}

function beginAnew() {
    byId("signing-text").value = "";
    switchTo("form");
}

export function openSigning() {
    offerPlaces("signing", app.collections());
    openDialog(byId("signing"), () => byId("request-button"));
    focusPart();
}

// Forgets what was typed and made.
export function resetSigning() {
    byId("signing-form").reset();
    clearRefusals(byId("signing-form"));
    byId("signing-text").value = "";
    showPart("form");
}

export function setUpSigning(owner) {
    app = owner;
    byId("request-button").addEventListener("click", openSigning);
    byId("signing-download").addEventListener("click", downloadRequest);
    byId("signing-copy").addEventListener("click", copyRequest);
    byId("signing-again").addEventListener("click", beginAnew);
    byId("signing-form").addEventListener("submit", (event) => {
        event.preventDefault();
        if (part === "form") {
            whileBusy(event.target, submit);
        }
    });
}
