// Refusals at the fields that they concern.

// "#/KeyUsage/0" is about the field KeyUsage.
function propertyOf(pointer) {
    return String(pointer).replace(/^#?\//, "").split("/")[0];
}

function fieldNamed(form, name) {
    return [...form.querySelectorAll("[data-field]")].find((field) =>
        field.dataset.field.split(" ").includes(name));
}

// The field that the message is about, by its related properties or else by its arguments.
function fieldOf(form, message) {
    const names = [...message.properties.map(propertyOf), ...message.args.map(String)];
    return names.map((name) => fieldNamed(form, name)).find(Boolean);
}

function controlOf(field) {
    return field.querySelector("input, select, textarea");
}

function markField(field, text) {
    const control = controlOf(field);
    const note = document.createElement("p");
    note.className = "field-refusal";
    note.id = `${control.id}-refusal`;
    note.textContent = text;
    field.append(note);
    control.setAttribute("aria-invalid", "true");
    control.setAttribute("aria-describedby", note.id);
}

function showInGeneral(form, text) {
    const place = form.querySelector(".refusal");
    place.textContent = place.textContent ? `${place.textContent} ${text}` : text;
    place.hidden = false;
}

function clearField(field) {
    field.querySelector(".field-refusal")?.remove();
    const control = controlOf(field);
    control.removeAttribute("aria-invalid");
    control.removeAttribute("aria-describedby");
}

export function clearRefusals(form) {
    form.querySelectorAll("[data-field]").forEach(clearField);
    const place = form.querySelector(".refusal");
    place.textContent = "";
    place.hidden = true;
}

// Shows every message of the refusal, and leads to the first field that one is about.
export function showRefusal(form, refusal) {
    clearRefusals(form);
    for (const message of refusal.messages) {
        const field = fieldOf(form, message);
        if (field && !field.querySelector(".field-refusal") && !field.hidden) {
            markField(field, message.text);
        } else {
            showInGeneral(form, message.text);
        }
    }
    const first = form.querySelector("[aria-invalid]");
    first?.closest("details")?.setAttribute("open", "");
    first?.focus();
}

// A refusal has been read once its field is changed.
export function forgetRefusalsOnInput() {
    document.addEventListener("input", (event) => {
        const field = event.target.closest("[data-field]");
        if (field) {
            clearField(field);
        }
    });
}
