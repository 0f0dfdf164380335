// What the board has: found by following links from the root, and read for display.

import { boardTime, isResource, read, readRoot, Refusal } from "./service.js";

const DAY = 86400000; // milliseconds
const YEAR = 365 * DAY;
const HOUR = 3600000;
const MINUTE = 60000;

// What collections are for, by the end of their URI.
const PURPOSES = [
    [/\/NetworkProtocol\/HTTPS\/Certificates$/, "HTTPS server"],
    [/\/LDAP\/Certificates$/, "Trust in LDAP servers"],
    [/\/ActiveDirectory\/Certificates$/, "Trust in Active Directory"],
    [/\/OAuth2\/Certificates$/, "Trust in OAuth servers"],
    [/\/TACACSplus\/Certificates$/, "Trust in TACACS+ servers"],
    [/\/RemoteServerCertificates$/, "Trust in update servers"],
    [/\/EnrollmentCACertificates$/, "Trust at enrolment"],
    [/\/TrustedCertificates$/, "Trust"],
    [/\/RevokedCertificates$/, "Revoked"],
    [/\/Subscriptions\/[^/]+\/Certificates$/, "Trust in event receivers"],
    [/ClientCertificates$/, "Client"],
    [/\/SecureBootDatabases\/[^/]+\/Certificates$/, "Secure boot"],
];

// --- links --------------------------------------------------------------------------------------

function linkOf(reference) {
    const uri = reference?.["@odata.id"];
    return isResource(uri) ? uri : null;
}

function linksOf(references) {
    return (Array.isArray(references) ? references : []).map(linkOf).filter(Boolean);
}

// The document, or null when there is no link or nothing behind it.
async function readBehind(reference) {
    const uri = linkOf(reference);
    if (!uri) {
        return null;
    }
    try {
        return await read(uri);
    } catch (refusal) {
        if (refusal instanceof Refusal && refusal.status === 404) {
            return null;
        }
        throw refusal;
    }
}

async function managerCollections(reference) {
    const manager = await readBehind(reference);
    const protocols = await readBehind(manager?.NetworkProtocol);
    return [linkOf(protocols?.HTTPS?.Certificates), linkOf(manager?.Certificates)].filter(Boolean);
}

async function collectionsOfManagers(reference) {
    const managers = await readBehind(reference);
    const found = await Promise.all((managers?.Members ?? []).map(managerCollections));
    return found.flat();
}

// Where everything is: {locations, collections, generateCsr, replaceCertificate, eventStream}.
export async function findBoard() {
    const root = await readRoot();
    const [service, collections, events] = await Promise.all([
        readBehind(root.CertificateService),
        collectionsOfManagers(root.Managers),
        readBehind(root.EventService),
    ]);
    const actions = service?.Actions ?? {};
    return {
        locations: service?.CertificateLocations,
        collections,
        generateCsr: actions["#CertificateService.GenerateCSR"]?.target,
        replaceCertificate: actions["#CertificateService.ReplaceCertificate"]?.target,
        eventStream: events?.ServerSentEventUri ?? null,
    };
}

// --- certificates -------------------------------------------------------------------------------

export function collectionOf(certificateUri) {
    return certificateUri.slice(0, certificateUri.lastIndexOf("/")).replace(/\/Members$/, "");
}

// {purpose, path}: what a collection is for, and where it is.
export function describeCollection(uri) {
    const path = uri.replace("/redfish/v1/", "").replace(/\/Certificates$/, "");
    const known = PURPOSES.find(([pattern]) => pattern.test(uri));
    return { purpose: known ? known[1] : path.split("/").at(-1), path };
}

export function nameOf(identifier) {
    const { CommonName, Organization, OrganizationalUnit, DisplayString } = identifier ?? {};
    return CommonName || Organization || OrganizationalUnit || DisplayString || "(no name)";
}

// The second line below a name.
export function originOf(identifier) {
    const { CommonName, Organization, OrganizationalUnit } = identifier ?? {};
    return (CommonName ? [Organization, OrganizationalUnit] : []).filter(Boolean).join(", ");
}

// "good", "near" its end or "ended", as the service's conditions say.
function stateOf(document) {
    const conditions = document?.Status?.Conditions;
    const severities = (Array.isArray(conditions) ? conditions : []).map((each) => each?.Severity);
    if (severities.includes("Critical")) {
        return "ended";
    }
    return severities.includes("Warning") ? "near" : "good";
}

function certificateOf(uri, document) {
    return {
        uri,
        document,
        collection: collectionOf(uri),
        state: stateOf(document),
        notBefore: Date.parse(document?.ValidNotBefore),
        notAfter: Date.parse(document?.ValidNotAfter),
    };
}

// The certificates of all collections, what ends first at the top, and every collection that they
// or the managers lead to.
export async function readCertificates(board) {
    const [locations, ...listed] = await Promise.all([
        readBehind(board.locations),
        ...board.collections.map((uri) => readBehind({ "@odata.id": uri })),
    ]);
    const uris = new Set([...linksOf(locations?.Links?.Certificates),
        ...listed.flatMap((collection) => linksOf(collection?.Members))]);
    const documents = await Promise.all(
        [...uris].map(async (uri) => [uri, await readBehind({ "@odata.id": uri })]));
    const certificates = documents.filter(([, document]) => document)
        .map(([uri, document]) => certificateOf(uri, document));
    certificates.sort((one, other) => (one.notAfter || 0) - (other.notAfter || 0)
        || one.uri.localeCompare(other.uri));
    const collections = new Set([...board.collections,
        ...certificates.map((certificate) => certificate.collection)]);
    return { certificates, collections: [...collections] };
}

// --- time ---------------------------------------------------------------------------------------

function amount(milliseconds) {
    const [size, unit] = [[DAY, "day"], [HOUR, "hour"], [MINUTE, "minute"], [1000, "second"]]
        .find(([each]) => milliseconds >= (each === DAY ? 2 * DAY : each)) ?? [1000, "second"];
    const count = Math.max(Math.floor(milliseconds / size), 0);
    return `${count} ${unit}${count === 1 ? "" : "s"}`;
}

// {text, share}: the remaining time in words, and as the share of a bar that a year fills, so that
// bars can be compared.
export function remainingOf({ notBefore, notAfter }) {
    const now = boardTime();
    if (Number.isNaN(notAfter)) {
        return { text: "Unknown", share: 0 };
    }
    if (now >= notAfter) {
        return { text: `Ended ${amount(now - notAfter)} ago`, share: 0 };
    }
    if (now < notBefore) {
        return { text: `Begins in ${amount(notBefore - now)}`, share: 1 };
    }
    return { text: `${amount(notAfter - now)} left`, share: Math.min((notAfter - now) / YEAR, 1) };
}

export function dateText(time) {
    return Number.isNaN(Number(time)) || time === null ? "unknown"
        : new Date(time).toLocaleString(undefined, { dateStyle: "medium", timeStyle: "short" });
}
