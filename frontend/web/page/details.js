// One certificate: everything that the service tells of it, and its chain.

import { byId, download, element, fileNameOf, openDialog } from "./dom.js";
import { dateText, describeCollection, nameOf } from "./certificates.js";
import { chainItem } from "./chain.js";
import { remainingBar, rowButton } from "./table.js";
import { certificatesOf } from "./x509.js";

const NAME_PROPERTIES = [["CommonName", "CN"], ["Organization", "O"], ["OrganizationalUnit", "OU"],
    ["City", "L"], ["State", "ST"], ["Country", "C"], ["Email", "E"]];

let shown = null; // the certificate

function wholeName(identifier) {
    return NAME_PROPERTIES.filter(([property]) => identifier?.[property])
        .map(([property, short]) => `${short}=${identifier[property]}`).join(", ");
}

function listText(value) {
    return Array.isArray(value) ? value.map(String).join(", ") : "";
}

function rowsOf({ uri, collection, document }) {
    const { purpose, path } = describeCollection(collection);
    return [
        ["Subject", wholeName(document.Subject)],
        ["Alternative names", listText(document.Subject?.AlternativeNames)],
        ["Issuer", wholeName(document.Issuer)],
        ["Valid from", dateText(Date.parse(document.ValidNotBefore))],
        ["Valid until", dateText(Date.parse(document.ValidNotAfter))],
        ["Key usage", listText(document.KeyUsage)],
        ["Signature", document.SignatureAlgorithm],
        ["Serial number", document.SerialNumber],
        ["Fingerprint", [document.FingerprintHashAlgorithm, document.Fingerprint]
            .filter(Boolean).join(" ")],
        ["Used for", `${purpose} (${path})`],
        ["Resource", uri],
    ].filter(([, value]) => value);
}

// What the service says of the certificate's condition, in its own words.
function conditionNotes(document) {
    const conditions = document.Status?.Conditions;
    return (Array.isArray(conditions) ? conditions : []).filter((each) => each?.Message)
        .map((each) => element("p", { class: "note", "data-severity": String(each.Severity) },
            String(each.Message)));
}

function chainOf(document) {
    const chain = certificatesOf(document.CertificateString ?? "");
    return element("section", {},
        element("h3", {}, chain.length > 1 ? `Chain of ${chain.length}` : "Chain"),
        chain.length > 1 ? element("ol", { class: "chain" }, ...chain.map(chainItem))
            : element("p", { class: "soft" }, "Installed without further certificates."));
}

function fill() {
    byId("details-title").textContent = nameOf(shown.document.Subject);
    const rows = rowsOf(shown).flatMap(([label, value]) =>
        [element("dt", {}, label), element("dd", {}, String(value))]);
    byId("details-body").replaceChildren(remainingBar(shown), ...conditionNotes(shown.document),
        element("dl", {}, ...rows), chainOf(shown.document));
}

export function openDetails(certificate) {
    shown = certificate;
    fill();
    openDialog(byId("details"), () => rowButton(certificate.uri) ?? byId("board-title"));
}

// Shows what is known now of the certificate that stands open.
export function refreshDetails(certificates) {
    if (!shown || !byId("details").open) {
        return;
    }
    const current = certificates.find((certificate) => certificate.uri === shown.uri);
    if (current) {
        shown = current;
        fill();
    } else {
        byId("details").close();
    }
}

function downloadShown() {
    const { document } = shown;
    const ending = document.CertificateType === "PKCS7" ? "p7b" : "pem";
    download(`${fileNameOf(nameOf(document.Subject))}.${ending}`,
        document.CertificateString ?? "", "application/x-pem-file");
}

// `replace` and `remove` take the certificate.
export function setUpDetails({ replace, remove }) {
    byId("details-download").addEventListener("click", downloadShown);
    byId("details-replace").addEventListener("click", () => replace(shown));
    byId("details-delete").addEventListener("click", () => remove(shown));
}
