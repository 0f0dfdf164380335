// The choice of a collection, which is no question where there is only one.

import { byId, element } from "./dom.js";
import { describeCollection } from "./certificates.js";

function option(uri) {
    const { purpose, path } = describeCollection(uri);
    return element("option", { value: uri }, `${purpose} (${path})`);
}

// Fills the select element of that form's name, "install" or "signing".
export function offerPlaces(name, collections) {
    const select = byId(`${name}-collection`);
    const before = select.value;
    select.replaceChildren(...collections.map(option));
    if (collections.includes(before)) {
        select.value = before;
    }
    byId(`${name}-place`).hidden = collections.length < 2;
}
