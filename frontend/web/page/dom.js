// Elements and dialogs. Texts of the service become text nodes and nothing else.

export function byId(id) {
    return document.getElementById(id);
}

// An element with its attributes; "onclick" and the like are listeners, false and null leave an
// attribute out. Children are elements and texts.
export function element(name, attributes = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (key.startsWith("on")) {
            made.addEventListener(key.slice(2), value);
        } else if (value !== false && value !== null) {
            made.setAttribute(key, value === true ? "" : value);
        }
    }
    made.append(...children.filter((child) => child !== null));
    return made;
}

// The text with places to break it at, behind each slash.
export function breakable(text) {
    return text.split(/(?<=\/)/).flatMap((part) => [part, element("wbr")]);
}

// Opens the dialog. What had the focus gets it back at the end, or else what `fallback` returns,
// since a row may have been drawn anew in between.
export function openDialog(dialog, fallback) {
    const before = document.activeElement;
    dialog.addEventListener("close", () => {
        const target = before?.isConnected && before !== document.body ? before : fallback?.();
        target?.focus();
    }, { once: true });
    dialog.showModal();
}

export function connectCloseButtons() {
    for (const button of document.querySelectorAll("[data-close]")) {
        button.addEventListener("click", () => button.closest("dialog").close());
    }
}

export function closeAllDialogs() {
    for (const dialog of document.querySelectorAll("dialog[open]")) {
        dialog.close();
    }
}

// Keeps the buttons of a form from being pressed twice while the work lasts.
export async function whileBusy(form, work) {
    if (form.getAttribute("aria-busy") === "true") {
        return undefined;
    }
    form.setAttribute("aria-busy", "true");
    try {
        return await work();
    } finally {
        form.removeAttribute("aria-busy");
    }
}

// Has the browser keep the text as a file.
export function download(fileName, text, type) {
    const address = URL.createObjectURL(new Blob([text], { type }));
    element("a", { href: address, download: fileName }).click();
    setTimeout(() => URL.revokeObjectURL(address), 10000);
}

// What a person may take as a file's name, from any text.
export function fileNameOf(text) {
    return text.replace(/[^A-Za-z0-9._-]+/g, "-").replace(/^[-.]+|[-.]+$/g, "") || "certificate";
}

export function pause(milliseconds) {
    return new Promise((resolve) => { setTimeout(resolve, milliseconds); });
}
