// Reads as much of certificates as a person wants to see of them: a chain's names and dates, and
// what a file holds before it is sent. The service judges them, not this page.

const NAME_PARTS = { "2.5.4.3": "CommonName", "2.5.4.10": "Organization",
    "2.5.4.11": "OrganizationalUnit" };
const SIGNED_DATA = "1.2.840.113549.1.7.2";
const TAG = { INTEGER: 0x02, OID: 0x06, UTC_TIME: 0x17, BMP_STRING: 0x1e, LATIN_STRING: 0x14,
    SEQUENCE: 0x30, CONTEXT_0: 0xa0 };

// --- DER ----------------------------------------------------------------------------------------

// The element at the offset: its tag, and where its content begins and ends. Throws RangeError for
// what is no such element.
function elementAt(bytes, offset, limit) {
    let start = offset + 2;
    let length = bytes[offset + 1];
    if (length >= 0x80) {
        const digits = length & 0x7f;
        if (digits === 0 || digits > 4) {
            throw new RangeError("length");
        }
        length = bytes.subarray(start, start + digits).reduce((sum, byte) => sum * 256 + byte, 0);
        start += digits;
    }
    if (!(start + length <= limit)) {
        throw new RangeError("end");
    }
    return { bytes, tag: bytes[offset], begin: offset, start, end: start + length };
}

function childrenOf(parent) {
    const children = [];
    for (let offset = parent.start; offset < parent.end;) {
        const child = elementAt(parent.bytes, offset, parent.end);
        children.push(child);
        offset = child.end;
    }
    return children;
}

function contentOf({ bytes, start, end }) {
    return bytes.subarray(start, end);
}

function identifierOf(node) {
    const [first, ...rest] = contentOf(node);
    const numbers = [Math.min(Math.floor(first / 40), 2)];
    numbers.push(first - numbers[0] * 40);
    let number = 0;
    for (const byte of rest) {
        number = number * 128 + (byte & 0x7f);
        if (byte < 0x80) {
            numbers.push(number);
            number = 0;
        }
    }
    return numbers.join(".");
}

function textOf(node) {
    const encoding = { [TAG.BMP_STRING]: "utf-16be", [TAG.LATIN_STRING]: "latin1" }[node.tag];
    return new TextDecoder(encoding ?? "utf-8").decode(contentOf(node));
}

// "260131235959Z" or "20260131235959Z".
function timeOf(node) {
    let digits = textOf(node);
    if (node.tag === TAG.UTC_TIME) {
        digits = (Number(digits.slice(0, 2)) < 50 ? "20" : "19") + digits;
    }
    const parts = digits.match(/^(\d{4})(\d\d)(\d\d)(\d\d)(\d\d)(\d\d)Z$/);
    return parts ? new Date(Date.UTC(parts[1], parts[2] - 1, ...parts.slice(3))) : null;
}

// --- certificates -------------------------------------------------------------------------------

function nameOf(node) {
    const name = {};
    for (const attribute of childrenOf(node).flatMap(childrenOf)) {
        const [identifier, value] = childrenOf(attribute);
        const part = NAME_PARTS[identifierOf(identifier)];
        if (part && !(part in name)) {
            name[part] = textOf(value);
        }
    }
    return name;
}

function rawText({ bytes, begin, end }) {
    return bytes.subarray(begin, end).join();
}

function readCertificate(certificate) {
    const [signed] = childrenOf(certificate);
    const fields = childrenOf(signed);
    if (fields[0].tag === TAG.CONTEXT_0) {
        fields.shift(); // the version, which old certificates lack
    }
    const [, , issuer, validity, subject] = fields;
    const [notBefore, notAfter] = childrenOf(validity).map(timeOf);
    return {
        subject: nameOf(subject),
        issuer: nameOf(issuer),
        notBefore,
        notAfter,
        isSelfIssued: rawText(subject) === rawText(issuer),
    };
}

function certificatesOfSignedData(contentInfo) {
    const [type, content] = childrenOf(contentInfo);
    if (type?.tag !== TAG.OID || identifierOf(type) !== SIGNED_DATA) {
        return [];
    }
    const [signedData] = childrenOf(content);
    const set = childrenOf(signedData).find((child) => child.tag === TAG.CONTEXT_0);
    return set ? childrenOf(set).map(readCertificate) : [];
}

function orNothing(work) {
    try {
        return work();
    } catch {
        return [];
    }
}

// --- texts --------------------------------------------------------------------------------------

function decoded(base64) {
    return Uint8Array.from(atob(base64.replace(/\s+/g, "")), (each) => each.charCodeAt(0));
}

function blocksOf(text) {
    const pattern = /-----BEGIN ([A-Z0-9 ]+)-----([^-]*)-----END \1-----/g;
    return [...text.matchAll(pattern)].map(([, label, body]) => ({ label, body }));
}

function certificatesOfBlock({ label, body }) {
    return orNothing(() => {
        const bytes = decoded(body);
        const whole = elementAt(bytes, 0, bytes.length);
        if (label === "PKCS7" || label === "CMS") {
            return certificatesOfSignedData(whole);
        }
        return label.endsWith("CERTIFICATE") ? [readCertificate(whole)] : [];
    });
}

// The certificates of a PEM text, in their order; what cannot be read is left out.
export function certificatesOf(text) {
    return blocksOf(String(text)).flatMap(certificatesOfBlock);
}

export function holdsPrivateKey(text) {
    return /-----BEGIN [A-Z0-9 ]*PRIVATE KEY-----/.test(text);
}

// The Redfish certificate type of a text.
export function certificateTypeOf(text) {
    const labels = blocksOf(text).map((block) => block.label);
    if (labels.includes("PKCS7") || labels.includes("CMS")) {
        return "PKCS7";
    }
    return labels.filter((label) => label.endsWith("CERTIFICATE")).length > 1 ? "PEMchain" : "PEM";
}

function pemOf(label, bytes) {
    const base64 = btoa(Array.from(bytes, (byte) => String.fromCharCode(byte)).join(""));
    const lines = base64.match(/.{1,64}/g);
    return [`-----BEGIN ${label}-----`, ...lines, `-----END ${label}-----`, ""].join("\n");
}

function isSignedData(bytes) {
    return orNothing(() => {
        const [type] = childrenOf(elementAt(bytes, 0, bytes.length));
        return type.tag === TAG.OID ? [type] : [];
    }).length > 0;
}

// A file's bytes as PEM text: PEM as it is, DER with the label of what it holds.
export function textOfFile(bytes) {
    if (bytes[0] !== TAG.SEQUENCE) {
        return new TextDecoder().decode(bytes);
    }
    return pemOf(isSignedData(bytes) ? "PKCS7" : "CERTIFICATE", bytes);
}
