// The page's start, its two views, and what keeps the table true to the board.

import { addActivity, clearActivity, nameActivity } from "./activity.js";
import { findBoard, readCertificates } from "./certificates.js";
import { askToDelete, setUpDeletion } from "./deletion.js";
import { openDetails, refreshDetails, setUpDetails } from "./details.js";
import { byId, closeAllDialogs, connectCloseButtons, element, whileBusy } from "./dom.js";
import { listen } from "./events.js";
import { openReplace, setUpInstall } from "./install.js";
import { clearRefusals, forgetRefusalsOnInput, showRefusal } from "./refusals.js";
import { currentUser, logIn, logOut, onSessionEnd, Refusal } from "./service.js";
import { resetSigning, setUpSigning } from "./signing.js";
import { clearTable, showTable } from "./table.js";

const NOTICE_TIME = 12000;  // milliseconds
const REDRAW_TIME = 30000;  // the remaining times go on
const EVENT_PAUSE = 150;    // events come in groups
const RETRY_SECONDS = 5;

let board = null;
let inventory = { certificates: [], collections: [] };
let listening = null; // AbortController of the event stream; null until the board has been read
let reading = null;   // the reading that runs
let readAgain = false;

const app = {
    board: () => board,
    certificates: () => inventory.certificates,
    collections: () => inventory.collections,
    isReady: () => board !== null,
    open: openCertificate,
    reload,
    notify,
};

// --- notices ------------------------------------------------------------------------------------

// Tells something that has happened, for a while; with an action, until that is taken.
function notify(text, action) {
    const line = element("p", { class: "notice" }, element("span", {}, text));
    if (action) {
        line.append(element("button", { type: "button", class: "link", onclick: () => {
            line.remove();
            action.run();
        } }, action.text));
    } else {
        setTimeout(() => line.remove(), NOTICE_TIME);
    }
    byId("notices").append(line);
}

// What keeps the board from being read, in the service's words; empty: nothing.
function showTrouble(text) {
    let line = byId("trouble");
    if (!text) {
        line?.remove();
        return;
    }
    if (!line) {
        line = element("p", { id: "trouble", class: "notice", "data-severity": "Critical" });
        byId("notices").prepend(line);
    }
    line.textContent = text;
}

// --- the table ----------------------------------------------------------------------------------

function openCertificate(uri) {
    const certificate = inventory.certificates.find((each) => each.uri === uri);
    if (certificate) {
        openDetails(certificate);
    }
}

function draw() {
    showTable(inventory.certificates, openCertificate);
    refreshDetails(inventory.certificates);
    nameActivity(app);
}

async function readBoard() {
    try {
        board ??= await findBoard();
        const found = await readCertificates(board);
        if (currentUser()) {
            inventory = found;
            showTrouble("");
            draw();
            startListening();
        }
    } catch (refusal) {
        if (!(refusal instanceof Refusal)) {
            throw refusal;
        }
        if (currentUser()) {
            showTrouble(refusal.message);
            setTimeout(() => currentUser() && reload(),
                (refusal.retryAfter || RETRY_SECONDS) * 1000);
        }
    }
}

async function readUntilTrue() {
    do {
        readAgain = false;
        await readBoard();
    } while (readAgain);
}

// Reads the board anew. Whoever asks while it is read gets one more reading.
async function reload() {
    readAgain = reading !== null;
    reading ??= readUntilTrue().finally(() => { reading = null; });
    await reading;
}

// --- events -------------------------------------------------------------------------------------

let eventTimer = null;

function happened(record) {
    addActivity(record, app);
    clearTimeout(eventTimer);
    eventTimer = setTimeout(() => currentUser() && reload(), EVENT_PAUSE);
}

function showLive(isLive) {
    byId("live").dataset.live = isLive ? "yes" : "no";
    byId("live").textContent = isLive ? "Live" : "Connecting …";
}

function startListening() {
    if (listening) {
        return;
    }
    listening = new AbortController();
    if (!board.eventStream) {
        byId("live").textContent = "No events";
        return;
    }
    listen(board.eventStream, {
        signal: listening.signal,
        happened,
        connected: (isLive) => {
            showLive(isLive);
            if (isLive) {
                reload(); // what happened before is seen as well
            }
        },
    });
}

function stopListening() {
    listening?.abort(new DOMException("logged out", "AbortError"));
    listening = null;
    showLive(false);
}

// --- the two views ------------------------------------------------------------------------------

function showLogin(notice = "") {
    stopListening();
    closeAllDialogs();
    resetSigning();
    clearActivity();
    board = null;
    inventory = { certificates: [], collections: [] };
    clearTable();
    byId("notices").replaceChildren();
    byId("board").hidden = true;
    byId("login").hidden = false;
    byId("login-notice").textContent = notice;
    byId("login-notice").hidden = !notice;
    byId("login-password").value = "";
    byId(byId("login-user").value ? "login-password" : "login-user").focus();
}

async function showBoard() {
    byId("login").hidden = true;
    byId("board").hidden = false;
    byId("user").textContent = currentUser();
    byId("board-title").focus();
    await reload();
}

async function submitLogin() {
    const form = byId("login-form");
    clearRefusals(form);
    try {
        await logIn(form.elements.UserName.value, form.elements.Password.value);
    } catch (refusal) {
        if (!(refusal instanceof Refusal)) {
            throw refusal;
        }
        showRefusal(form, refusal);
        return;
    }
    form.elements.Password.value = "";
    await showBoard();
}

async function leave() {
    const ended = logOut();
    showLogin("You are logged out.");
    await ended;
}

function setUp() {
    for (const place of document.querySelectorAll(".board-name")) {
        place.textContent = window.location.host;
    }
    document.title = `Certificates on ${window.location.host}`;
    connectCloseButtons();
    forgetRefusalsOnInput();
    setUpInstall(app);
    setUpSigning(app);
    setUpDeletion(app);
    setUpDetails({ replace: openReplace, remove: askToDelete });
    onSessionEnd(() => showLogin("Your session has ended. Log in again."));
    byId("logout").addEventListener("click", leave);
    byId("login-form").addEventListener("submit", (event) => {
        event.preventDefault();
        whileBusy(event.target, submitLogin);
    });
    setInterval(() => listening && showTable(inventory.certificates, openCertificate), REDRAW_TIME);
    document.addEventListener("visibilitychange", () => {
        if (!document.hidden && currentUser()) {
            reload();
        }
    });
}

setUp();
if (currentUser()) {
    showBoard();
} else {
    showLogin();
}
