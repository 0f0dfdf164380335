// A chain of certificates, read from a text, as a list.

import { element } from "./dom.js";
import { dateText, nameOf, originOf } from "./certificates.js";

function linkText(certificate) {
    const issuer = certificate.isSelfIssued ? "itself" : nameOf(certificate.issuer);
    return `issued by ${issuer}`;
}

export function chainItem(certificate) {
    const origin = originOf(certificate.subject);
    return element("li", {},
        element("span", { class: "chain-name" }, nameOf(certificate.subject)),
        element("span", { class: "second" },
            `${origin ? `${origin}; ` : ""}${linkText(certificate)}`),
        element("span", { class: "second" },
            `${dateText(certificate.notBefore)} to ${dateText(certificate.notAfter)}`));
}
