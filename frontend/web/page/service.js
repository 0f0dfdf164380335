// The road to the Redfish service: requests, the session, and refusals in the service's own words.

const SESSION_KEY = "session";
const ROOT_URI = "/redfish/v1/";
const LONGEST_WAIT = 120000; // milliseconds, for an answer
const NO_ANSWER = "The board does not answer. If its own certificate has just changed, load this " +
    "page anew and look at the new one.";

// {token, uri, user}; kept until the tab is closed, so that loading the page anew needs no login.
let session = JSON.parse(sessionStorage.getItem(SESSION_KEY));
let tellSessionEnd = () => {};
let clockLead = 0; // by how much the board's clock is ahead of this machine's, in milliseconds

// What the service says when it does not do what it is asked for.
export class Refusal extends Error {
    constructor(status, messages, retryAfter = 0) {
        super(messages.map((message) => message.text).join(" "));
        this.status = status;
        this.messages = messages; // {text, properties, args}; at least one
        this.retryAfter = retryAfter; // seconds; 0: not said
    }
}

export function currentUser() {
    return session?.user ?? null;
}

export function onSessionEnd(callback) {
    tellSessionEnd = callback;
}

// The time on the board, in milliseconds: certificates end by its clock.
export function boardTime() {
    return Date.now() + clockLead;
}

function keepSession(opened) {
    session = opened;
    if (opened) {
        sessionStorage.setItem(SESSION_KEY, JSON.stringify(opened));
    } else {
        sessionStorage.removeItem(SESSION_KEY);
    }
}

// Whether this is a resource of the service. The token goes nowhere else, whatever a document says.
export function isResource(uri) {
    return typeof uri === "string" && /^\/redfish\/v1(\/|$)/.test(uri);
}

// As an address: a stored name may hold what has a meaning there.
function addressOf(uri) {
    if (!isResource(uri)) {
        throw new Refusal(0, [{ text: "The service names a resource that cannot be one of its own.",
            properties: [], args: [] }]);
    }
    return uri.split("/").map(encodeURIComponent).join("/");
}

// The resource that a Location header leads to, which may hold a whole address.
export function resourceAt(location) {
    const address = new URL(location, window.location.origin);
    return address.origin === window.location.origin ? decodeURIComponent(address.pathname) : "";
}

function noteClock(headers) {
    const time = Date.parse(headers.get("Date") ?? "");
    if (!Number.isNaN(time)) {
        clockLead = time - Date.now();
    }
}

function asList(value) {
    return Array.isArray(value) ? value : [];
}

function messagesOf(status, document) {
    const infos = asList(document?.error?.["@Message.ExtendedInfo"]);
    const messages = infos.filter((info) => info?.Message).map((info) => ({
        text: String(info.Message),
        properties: asList(info.RelatedProperties),
        args: asList(info.MessageArgs),
    }));
    const plain = document?.error?.message ?? `The service answered with status ${status}.`;
    return messages.length > 0 ? messages : [{ text: String(plain), properties: [], args: [] }];
}

function headersFor(body, accept) {
    const headers = { Accept: accept, "OData-Version": "4.0" };
    if (session) {
        headers["X-Auth-Token"] = session.token;
    }
    if (body !== undefined) {
        headers["Content-Type"] = "application/json";
    }
    return headers;
}

async function send(method, uri, { body, accept = "application/json", signal } = {}) {
    try {
        return await fetch(addressOf(uri), {
            method,
            signal,
            headers: headersFor(body, accept),
            body: body === undefined ? undefined : JSON.stringify(body),
            credentials: "omit",
            cache: "no-store",
            redirect: "error",
        });
    } catch (error) {
        if (error instanceof Refusal || signal?.reason?.name === "AbortError") {
            throw error;
        }
        throw new Refusal(0, [{ text: NO_ANSWER, properties: [], args: [] }]);
    }
}

function parsed(text) {
    try {
        return JSON.parse(text);
    } catch {
        return null;
    }
}

// Throws the refusal that the answer is, if it is one.
async function checkAnswer(response, usedToken) {
    if (response.ok) {
        return;
    }
    const document = parsed(await response.text());
    if (response.status === 401 && usedToken && usedToken === session?.token) {
        keepSession(null);
        tellSessionEnd();
    }
    const retryAfter = Number.parseInt(response.headers.get("Retry-After"), 10) || 0;
    throw new Refusal(response.status, messagesOf(response.status, document), retryAfter);
}

// {status, headers, document} of the answer; throws Refusal.
export async function request(method, uri, body) {
    const usedToken = session?.token;
    const response = await send(method, uri, { body, signal: AbortSignal.timeout(LONGEST_WAIT) });
    noteClock(response.headers);
    await checkAnswer(response, usedToken);
    return {
        status: response.status,
        headers: response.headers,
        document: parsed(await response.text()),
    };
}

export async function read(uri) {
    return (await request("GET", uri)).document;
}

export function readRoot() {
    return read(ROOT_URI);
}

// The open answer of an event stream, to be read to its end; throws Refusal.
export async function openStream(uri, signal) {
    const usedToken = session?.token;
    const response = await send("GET", uri, { accept: "text/event-stream", signal });
    await checkAnswer(response, usedToken);
    return response.body;
}

export async function logIn(user, password) {
    keepSession(null);
    const root = await readRoot();
    const sessions = root?.Links?.Sessions?.["@odata.id"];
    const answer = await request("POST", sessions, { UserName: user, Password: password });
    keepSession({
        token: answer.headers.get("X-Auth-Token"),
        uri: resourceAt(answer.headers.get("Location")),
        user,
    });
}

// The session ends here in any case, whether or not the service can still be told.
export async function logOut() {
    const ending = session && request("DELETE", session.uri);
    keepSession(null);
    await ending?.catch(() => {});
}
