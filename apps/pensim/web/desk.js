// The desk: shows what the service reports by server-sent events, and sends commands. Texts of others (brands, hints,
// texts of hosts) are put onto the page as text only, never as HTML.

const element = id => document.getElementById(id);

function make(tag, className, ...content) {
  const made = document.createElement(tag);
  if (className) made.className = className;
  made.append(...content);
  return made;
}

// Writing the same text again would make the browser lay out the page again.
function show(node, text) {
  if (node.textContent !== text) node.textContent = text;
}

function plural(count, one, many = one + "s") {
  return `${count.toLocaleString("en")} ${count === 1 ? one : many}`;
}

function bytes(count) {
  const units = ["bytes", "KiB", "MiB", "GiB"];
  let unit = 0;
  for (; count >= 1024 && unit < 3; ++unit) count /= 1024;
  return `${unit && count < 10 ? Math.round(count * 10) / 10 : Math.round(count)} ${units[unit]}`;
}

function hidden(text) {
  return make("span", "hidden", text);
}

// ---- Commands

let toldTimer = 0;
function tell(text, isProblem) {
  element(isProblem ? "told" : "refused").textContent = "";
  element(isProblem ? "refused" : "told").textContent = text;
  clearTimeout(toldTimer);
  toldTimer = setTimeout(() => {
    element("told").textContent = "";
    element("refused").textContent = "";
  }, isProblem ? 10000 : 4000);
}

// The data of the answer. If the service refuses, throws an error with its text.
async function command(name, parameters) {
  const response = await fetch("command", {
    method: "POST",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify({ command: name, ...parameters }),
  });
  const answer = await response.json();
  if (!answer.ok) throw new Error(answer.error);
  return answer.data;
}

async function act(done, name, parameters) {
  try {
    const data = await command(name, parameters);
    tell(done);
    return data ?? true;
  } catch (error) {
    tell(error.message, true);
    return null;
  }
}

// ---- Pens

const pens = new Map(); // id -> what the service told last
const cards = new Map(); // id -> element
let order = [];
let chosen = null; // the id of the pen whose details are shown

function cardOf(pen) {
  let card = cards.get(pen.id);
  if (card) return card;
  card = element("card").content.firstElementChild.cloneNode(true);
  card.dataset.id = pen.id;
  card.querySelector(".serial").textContent = pen.serial;
  card.querySelector(".more").lastChild.textContent = ` of ${pen.serial}`;
  cards.set(pen.id, card);
  return card;
}

function chipsOf(pen) {
  const chips = [];
  if (pen.mode !== "ordinary") chips.push(["upgrade", "firmware upgrade"]);
  if (pen.locked) chips.push(["locked", "locked"]);
  if (pen.busy) chips.push(["busy", "busy"]);
  if (pen.faults.length) chips.push(["fault", plural(pen.faults.length, "fault")]);
  return chips;
}

function figure(node, text, rest, level) {
  const drawn = `${text}${rest} ${level}`;
  if (node.dataset.drawn === drawn) return;
  node.dataset.drawn = drawn;
  node.replaceChildren(text, hidden(rest));
  if (level === undefined) return;
  const bar = make("span", "level", make("i"));
  bar.firstChild.style.inlineSize = `${Math.round(100 * Math.min(1, level))}%`;
  node.append(bar);
}

function hostsOf(pen) {
  const names = pen.connections.filter(number => number !== pen.session).map(number => `#${number}`);
  const several = names.length > 4 ? `${names.slice(0, 4).join(", ")} and ${names.length - 4} more` : names.join(", ");
  if (pen.session === null) return several ? `${several} connected` : "no host connected";
  const reads = `#${pen.session} reads: ${Math.min(pen.session_pages, pen.pages)} of ${plural(pen.pages, "page")}`;
  return several ? `${reads}; ${several} connected` : reads;
}

function drawProgress(node, pen) {
  const reads = pen.session !== null && pen.pages > 0;
  node.hidden = !reads;
  if (!reads) return;
  const read = Math.min(pen.session_pages, pen.pages);
  node.setAttribute("aria-valuemax", pen.pages);
  node.setAttribute("aria-valuenow", read);
  node.setAttribute("aria-label", `Pages of ${pen.serial} read`);
  node.setAttribute("aria-valuetext", `${read} of ${pen.pages} pages`);
  node.firstElementChild.style.inlineSize = `${(100 * read) / pen.pages}%`;
}

function drawCard(pen) {
  const card = cardOf(pen);
  show(card.querySelector(".brand"), pen.brand);
  const chips = chipsOf(pen);
  const list = card.querySelector(".chips");
  const drawn = chips.map(chip => chip[1]).join();
  if (list.dataset.drawn !== drawn) {
    list.dataset.drawn = drawn;
    list.replaceChildren(...chips.map(([kind, text]) => make("li", `chip ${kind}`, text)));
    list.hidden = !chips.length;
  }
  figure(card.querySelector(".battery"), pen.battery === null ? "unknown" : `${pen.battery} %`, "", (pen.battery ?? 0) / 100);
  figure(card.querySelector(".pages"), pen.stylo_pages ? `${pen.pages} + ${pen.stylo_pages} stylo` : `${pen.pages}`, "");
  const used = pen.memory - pen.free_memory;
  figure(card.querySelector(".memory"), bytes(used), ` of ${bytes(pen.memory)}`, pen.memory ? used / pen.memory : 1);
  const upgrade = `${pen.firmware.state}, ${bytes(pen.firmware.image_size)} received`;
  show(card.querySelector(".hosts"), !pen.docked ? "not there for any host" : pen.mode === "ordinary" ? hostsOf(pen) : upgrade);
  drawProgress(card.querySelector(".progress"), pen);
  card.classList.toggle("used", pen.connections.length > 0);
  const dock = card.querySelector(".dock");
  if (dock.dataset.docked !== `${pen.docked}`) {
    dock.dataset.docked = pen.docked;
    dock.replaceChildren(pen.docked ? "Take off" : "Dock", hidden(` ${pen.serial}`));
  }
}

// Cards that are in their place already are not touched, so that the keyboard focus stays where it is.
function arrange(list, ids) {
  ids.forEach((id, place) => {
    const card = cards.get(id);
    if (list.children[place] !== card) {
      const focused = card.contains(document.activeElement) ? document.activeElement : null;
      list.insertBefore(card, list.children[place] ?? null);
      focused?.focus();
    }
  });
}

function drawPlaces() {
  const docked = order.filter(id => pens.get(id)?.docked);
  const away = order.filter(id => pens.has(id) && !pens.get(id).docked);
  element("desk").classList.toggle("is-empty", !docked.length); // first: what is not displayed takes no focus
  element("drawer").classList.toggle("is-empty", !away.length);
  arrange(element("desk-cards"), docked);
  arrange(element("drawer-cards"), away);
  show(element("desk-count"), `${docked.length}`);
  show(element("drawer-count"), `${away.length}`);
}

function takePens(told, newOrder) {
  for (const pen of told ?? []) {
    pens.set(pen.id, pen);
    drawCard(pen);
  }
  if (newOrder) {
    order = newOrder;
    const known = new Set(order);
    for (const id of [...pens.keys()].filter(id => !known.has(id))) {
      pens.delete(id);
      cards.get(id).remove();
      cards.delete(id);
    }
  }
  if (told || newOrder) drawPlaces();
  if (chosen && !pens.has(chosen)) closeDetails();
  else if (chosen && told?.some(pen => pen.id === chosen)) drawDetails();
}

function dock(pen, wanted) {
  if (wanted === pen.docked) return;
  act(wanted ? `${pen.serial} is docked.` : `${pen.serial} is off its dock.`, wanted ? "dock" : "undock", { pen: pen.serial });
}

function penOf(node) {
  return pens.get(node.closest(".card").dataset.id);
}

// ---- Dragging: the pen itself by touch, the whole card by mouse

let drag = null;

function zoneAt(x, y) {
  return document.elementFromPoint(x, y)?.closest(".zone") ?? null;
}

function startDrag(event) {
  const card = event.target.closest(".card");
  if (!card || event.button !== 0 || event.target.closest("button, a")) return;
  if (event.pointerType !== "mouse" && !event.target.closest(".pen")) return;
  drag = { card, x: event.clientX, y: event.clientY, moved: false, zone: null, id: event.pointerId };
}

function moveDrag(event) {
  if (!drag || event.pointerId !== drag.id) return;
  const x = event.clientX - drag.x;
  const y = event.clientY - drag.y;
  if (!drag.moved && Math.hypot(x, y) < 6) return;
  if (!drag.moved) {
    drag.moved = true;
    drag.card.classList.add("dragged");
    document.body.classList.add("dragging");
    getSelection()?.removeAllRanges();
  }
  drag.card.style.translate = `${x}px ${y}px`;
  drag.zone?.classList.remove("target");
  drag.zone = zoneAt(event.clientX, event.clientY);
  drag.zone?.classList.add("target");
}

function endDrag(event) {
  if (!drag || (event.pointerId !== undefined && event.pointerId !== drag.id)) return;
  const { card, moved, zone } = drag;
  drag = null;
  card.classList.remove("dragged");
  document.body.classList.remove("dragging");
  card.style.translate = "";
  zone?.classList.remove("target");
  if (event.type === "pointerup" && moved && zone) dock(penOf(card), zone.id === "desk");
  else if (event.type === "pointerup" && !moved) openDetails(penOf(card));
}

for (const id of ["desk", "drawer"]) element(id).addEventListener("pointerdown", startDrag);
addEventListener("pointermove", moveDrag);
addEventListener("pointerup", endDrag);
addEventListener("pointercancel", endDrag);
addEventListener("keydown", event => {
  if (event.key !== "Escape" || document.querySelector("dialog[open]")) return;
  if (drag) endDrag(event);
  else if (chosen) closeDetails();
});
document.querySelector("main").addEventListener("click", event => {
  if (event.target.closest(".dock")) dock(penOf(event.target), !penOf(event.target).docked);
  else if (event.target.closest(".more")) openDetails(penOf(event.target));
});

// ---- Details of one pen

const properties = {
  0x0000: "pen id", 0x0001: "software version", 0x0003: "free memory", 0x000e: "battery", 0x0010: "revisions",
  0x001a: "memory", 0x001f: "clock difference", 0x0021: "system time", 0x0022: "pattern version",
  0x0023: "manufacturer data", 0x0024: "brand", 0x002a: "secure delete", 0x2009: "locale", 0x200a: "owner card",
  0x200b: "owner e-mail", 0x200c: "owner phone", 0x201a: "public properties", 0x2021: "pen time",
  0x202a: "auto power off", 0x202e: "Bluetooth enabled", 0x2203: "Bluetooth PIN", 0x2204: "discoverable allowed",
  0x2207: "wake-up time", 0x2208: "certificate authenticator", 0x2209: "certificate", 0x220a: "signing key",
};

const phaseOf = {
  appIDLE: "application", appDETACH: "detached", dfuIDLE: "ready", "dfuDNLOAD-SYNC": "download", dfuDNBUSY: "download",
  "dfuDNLOAD-IDLE": "download", "dfuMANIFEST-SYNC": "manifest", dfuMANIFEST: "manifest",
  "dfuMANIFEST-WAIT-RESET": "manifest", dfuERROR: "error",
};

function instructionName(code) {
  return document.querySelector(`#fault-trigger option[value="${CSS.escape(code)}"]`)?.textContent ?? code;
}

function faultText(fault) {
  const which = fault.connection ? "new connections" : instructionName(fault.instruction);
  const turn = fault.occurrence ? `, number ${fault.occurrence} from now` : "";
  const what = [];
  if (fault.delay_ms) what.push(`${fault.delay_ms} ms later`);
  if (fault.status !== undefined) what.push(`status ${fault.status}`);
  if (fault.value) what.push(valueText(fault.value));
  if (fault.bytes === "") what.push("no answer");
  else if (fault.bytes) what.push(`other bytes: ${fault.bytes.slice(0, 40)}`);
  if (fault.cut_after !== undefined) what.push(`cut at byte ${fault.cut_after}`);
  if (fault.ending === "close") what.push("then closed");
  if (fault.ending === "reset") what.push("then reset");
  return `${which}${turn}: ${what.join(", ") || "as usual"}`;
}

function facts(pen) {
  return [
    ["Id", pen.id], ["Protocols", pen.protocols.join(", ") || "none"], ["Software", pen.software_version],
    ["Mode", pen.mode === "ordinary" ? "ordinary" : "firmware upgrade"],
    ["Memory", `${bytes(pen.free_memory)} of ${bytes(pen.memory)} free`],
    ["Dock", pen.docked ? `docked, port ${pen.port}` : "in the drawer"],
  ];
}

function lines(list, texts, none) {
  const drawn = texts.join("\n");
  if (list.dataset.drawn === drawn) return;
  list.dataset.drawn = drawn;
  list.replaceChildren(...(texts.length ? texts : [none]).map(text => make("li", texts.length ? "" : "note", text)));
}

function drawDetails() {
  const pen = pens.get(chosen);
  show(element("details-title"), pen.serial);
  show(element("details-brand"), pen.brand);
  const told = JSON.stringify(facts(pen));
  if (element("facts").dataset.drawn !== told) {
    element("facts").dataset.drawn = told;
    element("facts").replaceChildren(...facts(pen).map(([name, text]) => make("div", "", make("dt", "", name), make("dd", "", text))));
  }
  lines(element("fault-list"), pen.faults.map(faultText), "none");
  element("fault-clear").disabled = !pen.faults.length;
  show(element("session-text"), pen.docked ? `${hostsOf(pen)}.` : "Off its dock nobody is connected.");
  element("busy-switch").setAttribute("aria-pressed", pen.busy);
  element("drop-close").disabled = element("drop-reset").disabled = !pen.connections.length;
  element("lock-switch").setAttribute("aria-pressed", pen.locked);
  show(element("lock-text"), pen.has_password ? "has a password" : "has no password");
  const hint = element("hint");
  if (document.activeElement !== hint && hint.dataset.known !== pen.hint) hint.value = hint.dataset.known = pen.hint;
  drawFirmware(pen);
  askWhole(pen);
}

function drawFirmware(pen) {
  const phase = phaseOf[pen.firmware.state];
  for (const item of element("phases").children) {
    if (item.dataset.phase === phase) item.setAttribute("aria-current", "step");
    else item.removeAttribute("aria-current");
  }
  const size = pen.firmware.image_size;
  const end = pen.firmware.installed ? ", installed" : size ? ", not installed" : "";
  show(element("firmware-text"), `${pen.firmware.state}: ${size ? plural(size, "byte") : "nothing"} received${end}.`);
  element("image-link").hidden = !size;
  element("image-link").href = `image/${pen.serial}`;
}

// Pages and counts are requested at most twice a second, because a pen may have tens of thousands of pages.
const mostPagesShown = 200;
let whole = { key: "", asking: false };
async function askWhole(pen) {
  const key = [pen.id, pen.pages, pen.stylo_pages, pen.free_memory, pen.exchanges].join();
  if (whole.asking || whole.key === key) return;
  whole.asking = true;
  try {
    const state = await command("state", { pen: pen.serial });
    whole.key = key;
    if (chosen === pen.id) drawWhole(pen, state);
  } catch (error) {
    if (chosen === pen.id) tell(error.message, true);
  }
  setTimeout(() => {
    whole.asking = false;
    if (chosen) askWhole(pens.get(chosen));
  }, 500);
}

function pageLine(pen, page) {
  const remove = make("button", "quiet small", "Remove", hidden(` page ${page.address}`));
  remove.type = "button";
  remove.addEventListener("click", () => {
    act(`Page ${page.address} is removed.`, "pages", { pen: pen.serial, action: "remove", page: page.address });
    element("page-address").focus();
  });
  return make("li", "", make("code", "", page.address), make("span", "", plural(page.size, "byte")), remove);
}

function drawWhole(pen, state) {
  const pages = state.pages.slice(0, mostPagesShown).map(page => pageLine(pen, page));
  const rest = state.pages.length - pages.length;
  if (rest) pages.push(make("li", "note", `and ${plural(rest, "more page", "more pages")}`));
  for (const page of state.stylo_pages.slice(0, mostPagesShown))
    pages.push(make("li", "", make("code", "", page.address), make("span", "", `${plural(page.size, "byte")}, stylo`)));
  element("page-list").replaceChildren(...(pages.length ? pages : [make("li", "note", "none")]));
  lines(element("exchange-list"), Object.entries(state.exchanges).map(([code, count]) => `${instructionName(code)}: ${count}`), "none yet");
  element("counts-clear").disabled = !Object.keys(state.exchanges).length;
}

function openDetails(pen) {
  if (chosen) cards.get(chosen)?.classList.remove("chosen");
  const another = chosen !== pen.id;
  chosen = pen.id;
  cards.get(chosen).classList.add("chosen");
  element("details").hidden = false;
  document.body.classList.add("with-details");
  whole.key = "";
  if (another) {
    element("password").value = "";
    element("hint").dataset.known = element("hint").value = pen.hint;
    element("page-list").replaceChildren();
  }
  drawDetails();
  element("details").querySelector(".sheet").scrollTop = 0;
  element("details-title").focus();
}

function closeDetails() {
  const card = cards.get(chosen);
  chosen = null;
  element("details").hidden = true;
  document.body.classList.remove("with-details");
  card?.classList.remove("chosen");
  card?.querySelector(".more").focus();
}

// A command for the pen whose details are shown.
function actOnChosen(done, name, parameters) {
  const pen = pens.get(chosen);
  return act(`${pen.serial}: ${done}`, name, { pen: pen.serial, ...parameters });
}

function onClick(id, action) {
  element(id).addEventListener("click", action);
}

function onSubmit(id, action) {
  element(id).addEventListener("submit", event => {
    event.preventDefault();
    action(event);
  });
}

// The number in a field; null if the field holds no valid one.
function numberIn(id) {
  const field = element(id);
  return field.reportValidity() ? field.valueAsNumber : null;
}

// A byte is a wrong type for every request, because no request of a host is answered by a byte.
const faults = {
  silent: () => ({ bytes: "" }),
  close: () => ({ bytes: "", ending: "close" }),
  reset: () => ({ bytes: "", ending: "reset" }),
  type: () => ({ value: { byte: 7 } }),
  slow: () => ({ delay_ms: numberIn("fault-delay") }),
  cut: () => ({ cut_after: numberIn("fault-cut"), ending: "close" }),
  status: () => ({ status: numberIn("fault-status") }),
};

element("fault-form").addEventListener("click", event => {
  const kind = event.target.dataset?.fault;
  if (!kind) return;
  const occurrence = numberIn("fault-occurrence");
  const fault = faults[kind]();
  if (occurrence === null || Object.values(fault).includes(null)) return;
  const trigger = element("fault-trigger").value;
  const which = trigger === "connection" ? { connection: true } : { instruction: trigger };
  actOnChosen(`${event.target.textContent.toLowerCase()}, ${element("fault-trigger").selectedOptions[0].textContent}.`, "fault", {
    fault: { ...which, ...(occurrence ? { occurrence } : {}), ...fault },
  });
});
element("fault-form").addEventListener("submit", event => event.preventDefault());
element("fault-trigger").addEventListener("change", event => {
  for (const button of document.querySelectorAll("#fault-form .answer")) button.disabled = event.target.value === "connection";
});

onClick("fault-clear", () => actOnChosen("no faults.", "clear", { what: "faults" }));
onClick("counts-clear", () => actOnChosen("counts from 0.", "clear", { what: "counts" }));
onClick("busy-switch", () => {
  const busy = !pens.get(chosen).busy;
  actOnChosen(busy ? "busy." : "not busy.", "busy", { state: busy ? "on" : "off" });
});
onClick("drop-close", () => actOnChosen("connections closed.", "drop", { ending: "close" }));
onClick("drop-reset", () => actOnChosen("connections reset.", "drop", { ending: "reset" }));
onClick("lock-switch", () => {
  const locked = !pens.get(chosen).locked;
  actOnChosen(locked ? "locked." : "unlocked.", "set", { key: "locked", value: locked });
});
onSubmit("password-form", async () => {
  const value = element("password").value;
  if (await actOnChosen(value ? "has a password." : "has no password.", "set", { key: "password", value })) element("password").value = "";
});
onSubmit("hint-form", () => {
  const value = element("hint").value;
  actOnChosen("hint set.", "set", { key: "hint", value });
});
onSubmit("page-form", () => {
  const count = element("page-count").valueAsNumber;
  actOnChosen(`${plural(count, "page")} added.`, "pages", {
    action: "add",
    page: { address: element("page-address").value, size: element("page-size").valueAsNumber, ...(count > 1 ? { count } : {}) },
  });
});
onClick("details-close", closeDetails);

// ---- Log

const mostKept = 10000;
const mostDrawn = 400;
const mostInSight = 40; // lines that are drawn while they come faster than anybody reads
let kept = []; // lines, oldest first
let shown = []; // those that wait to be drawn
let paused = false;
let sinceThePause = 0;
let filter = [];

const statuses = { [-9001]: "unknown instruction", [-9003]: "locked", [-4013]: "refused", [-4001]: "no such page", [-4002]: "no session", [-4003]: "unfit arguments", [-4004]: "stalled" };

function valueText(value) {
  if (value.secret) return "(secret)";
  const type = Object.keys(value)[0];
  const content = value[type];
  const size = value.size;
  if (type === "null" || type === "any" || type === "terminator") return type;
  if (type === "string") return JSON.stringify(content);
  if (type === "binary" || type === "escaped_binary") return `${content.slice(0, 16)}${content.length > 16 ? "…" : ""} (${plural(size ?? content.length / 2, "byte")})`;
  if (type === "data_array") return arrayText(content.items, size);
  if (Array.isArray(content)) return arrayText(content, size);
  return `${content}`;
}

function arrayText(items, size) {
  const most = 12;
  const text = items.slice(0, most).map(valueText).join(", ");
  return `[${text}${items.length > most ? ", …" : ""}]${(size ?? items.length) > most ? ` (${size ?? items.length} items)` : ""}`;
}

function argumentsText(line) {
  const texts = line.arguments.map(valueText);
  if (line.page !== undefined) return line.page;
  if (line.instruction === "R1GP" || line.instruction === "R1SP") {
    const id = line.arguments[0]?.short16;
    if (id !== undefined) texts[0] = `0x${id.toString(16).padStart(4, "0")}${properties[id] ? " " + properties[id] : ""}`;
  }
  return texts.join(", ");
}

function resultText(line) {
  if (line.status !== 0) return `${line.status} ${statuses[line.status] ?? ""}`.trimEnd();
  if (line.value === undefined) return "done";
  if (line.instruction === "U0PI" && line.value.array) return plural(line.value.size ?? line.value.array.length, "page");
  return valueText(line.value);
}

// A message of the rendezvous protocol: first its kind, then the rest as it was sent.
function messageText(text) {
  const parts = text.split("\n").map(part => part.trim()).filter(part => part && part !== "\0");
  if (parts[0] === "LIST") return "list";
  if (parts[1]?.startsWith("subscribe=")) return parts[0] === "DVA1" ? "subscribe, firmware-upgrade mode" : "subscribe";
  const kinds = { CONNECT: "pen arrived", DISCONNECT: "pen left" };
  const kind = kinds[parts[1]];
  if (!kind) return parts.join(" · ");
  const fields = Object.fromEntries(parts.slice(2).map(part => part.split(/=(.*)/s)));
  const mode = parts[0] === "DVP1" ? ", in firmware-upgrade mode" : "";
  return `${kind}: ${fields["pen-brand"]}, ${fields["pen-id"]}, port ${fields["service-port"]}${mode}`;
}

// The columns of a line.
function read(line) {
  const time = line.time.toFixed(3);
  if (line.event === "exchange") {
    const text = argumentsText(line);
    return { time, who: line.pen, number: line.connection, code: line.instruction, what: text ? `${line.name} (${text})` : line.name,
             result: resultText(line), fault: line.fault ?? "", kind: line.fault ? "bent" : line.status < 0 ? "refused" : "" };
  }
  if (line.event === "message" || line.event === "announcement") {
    return { time, who: "rendezvous", number: line.connection ?? 0, code: line.event === "message" ? "←" : "→", what: messageText(line.text), result: "", fault: "", kind: "event", raw: line.text };
  }
  return { time, who: line.pen, number: line.connection, code: "", what: line.what, result: "", fault: "", kind: "event" };
}

function textOf(line) {
  return `${line.who} #${line.number} ${line.code} ${line.what} ${line.result} ${line.fault} ${line.raw ?? ""}`.toLowerCase();
}

function fits(line) {
  return filter.every(word => line.text.includes(word));
}

function rowOf(line) {
  const row = make("div", `line ${line.kind}`);
  const cut = text => (text.length > 400 ? `${text.slice(0, 400)}…` : text);
  row.append(make("span", "time", line.time), make("span", "who", line.who, line.number ? make("b", "", ` #${line.number}`) : ""),
             make("span", "code", line.code), make("span", "what", cut(line.what)), make("span", "result", cut(line.result)));
  if (line.fault) row.append(make("span", "fault", line.fault));
  return row;
}

function drawCount() {
  const matching = filter.length ? `${plural(kept.filter(fits).length, "line")} of ${kept.length.toLocaleString("en")}` : plural(kept.length, "line");
  show(element("log-count"), paused ? `${matching}, ${sinceThePause.toLocaleString("en")} new` : matching);
}

let isFollowing = true; // whether the newest line stays in sight
element("log").addEventListener("scroll", () => {
  const log = element("log");
  isFollowing = log.scrollHeight - log.scrollTop - log.clientHeight < 40;
}, { passive: true });

// Of a rush of lines the last ones are drawn at once, and the others when it is over, or when somebody reads.
let catchingUp = 0;
function catchUp() {
  const log = element("log");
  const rest = log.scrollHeight - log.scrollTop;
  shown = [];
  log.replaceChildren(...kept.filter(fits).slice(-mostDrawn).map(rowOf));
  log.scrollTop = log.scrollHeight - rest;
}

let drawing = 0;
function drawLog() {
  drawing = 0;
  drawCount(); // before the log is scrolled, for which the browser lays out the page
  if (shown.length) {
    const log = element("log");
    const isRush = isFollowing && shown.length > mostInSight;
    const most = isRush ? mostInSight : mostDrawn;
    const fresh = shown.slice(-most);
    shown = [];
    if (isRush) {
      clearTimeout(catchingUp);
      catchingUp = setTimeout(catchUp, 500);
    }
    const over = log.childElementCount + fresh.length - most;
    if (fresh.length === most) log.replaceChildren();
    else for (let i = 0; i < over; ++i) log.firstElementChild.remove();
    log.append(...fresh.map(rowOf));
    if (isFollowing) log.scrollTop = log.scrollHeight;
  }
}

function planLog() {
  if (!drawing) drawing = requestAnimationFrame(drawLog);
}

function redrawLog() {
  element("log").replaceChildren();
  isFollowing = true;
  shown = kept.filter(fits).slice(-mostDrawn);
  planLog();
}

let waiting = []; // lines that came while paused
function keep(fresh) {
  kept.push(...fresh);
  if (kept.length > mostKept) kept.splice(0, kept.length - mostKept);
}

function takeLog(told, dropped) {
  const fresh = [];
  if (dropped)
    fresh.push({ time: "", who: "", number: 0, code: "", what: `${plural(dropped, "line was", "lines were")} dropped here: this page was too slow for them`, result: "", fault: "", kind: "event dropped" });
  for (const line of told ?? []) fresh.push(read(line));
  if (!fresh.length) return;
  for (const line of fresh) line.text = textOf(line);
  if (paused) {
    waiting.push(...fresh);
    if (waiting.length > mostKept) waiting.splice(0, waiting.length - mostKept);
    sinceThePause += fresh.length;
  } else {
    keep(fresh);
    shown.push(...fresh.filter(fits));
  }
  planLog();
}

element("log-filter").addEventListener("input", event => {
  filter = event.target.value.toLowerCase().split(/\s+/).filter(Boolean);
  redrawLog();
});
onClick("log-pause", event => {
  paused = !paused;
  event.target.setAttribute("aria-pressed", paused);
  sinceThePause = 0;
  if (!paused) {
    keep(waiting);
    waiting = [];
    redrawLog();
  }
  planLog();
});
onClick("log-clear", () => {
  kept = [];
  redrawLog();
});

// ---- The service

let isListening = false;

function takeRendezvous(told) {
  isListening = told.listening;
  const hosts = told.subscribers + told.firmware_subscribers;
  show(element("service-state"), isListening ? `up on port ${told.port}, ${plural(hosts, "host")} listening` : `down: no host finds a pen`);
  element("service").classList.toggle("up", isListening);
  element("service").classList.toggle("down", !isListening);
  const button = element("service-switch");
  button.hidden = false;
  show(button, isListening ? "Take down" : "Bring up");
}

onClick("service-switch", () => act(isListening ? "The service is down." : "The service is up.", "rendezvous", { action: isListening ? "down" : "up" }));

const events = new EventSource("events");
events.addEventListener("message", event => {
  const news = JSON.parse(event.data);
  takePens(news.pens, news.order);
  if (news.rendezvous) takeRendezvous(news.rendezvous);
  takeLog(news.log, news.dropped);
});
events.addEventListener("open", () => {
  element("lost").hidden = true;
  kept = [];
  waiting = [];
  redrawLog(); // a new stream begins with the last lines
});
events.addEventListener("error", () => {
  element("lost").hidden = false;
  element("service").classList.remove("up", "down");
  show(element("service-state"), "not reached");
  element("service-switch").hidden = true;
});

// ---- New pen

// Serial texts have nine symbols out of thirty: three for the upper half of the id and six for the lower half. Hosts
// ignore pens whose ids do not fit into them.
function randomId() {
  const [high, low] = crypto.getRandomValues(new Uint32Array(2));
  return `0x${((high % 30 ** 3) * 2 ** 32 + (low % 30 ** 6)).toString(16).padStart(12, "0")}`;
}

onClick("open-new-pen", () => {
  element("new-pen-form").reset();
  element("new-pen-form").elements.id.value = randomId();
  element("new-pen-problem").textContent = "";
  element("new-pen").showModal();
});

function penOfForm(form) {
  const text = name => form.elements[name].value;
  const number = name => form.elements[name].valueAsNumber;
  const pen = { id: text("id"), brand: text("brand"), software_version: text("software_version"), protocols: text("protocols").split(" "),
                memory: Math.min(number("memory") * 1024 * 1024, 4294967295) };
  if (text("mode") !== "ordinary") pen.mode = text("mode");
  if (number("pages")) pen.pages = [{ address: "1.2.3.0", size: number("page_size"), ...(number("pages") > 1 ? { count: number("pages") } : {}) }];
  if (text("password")) pen.password = text("password");
  if (text("hint")) pen.hint = text("hint");
  if (number("count") > 1) pen.count = number("count");
  return pen;
}

onSubmit("new-pen-form", async event => {
  if (event.submitter?.value !== "dock") return;
  const pen = penOfForm(event.target);
  try {
    await command("dock", { pen });
    element("new-pen").close();
    tell(pen.count ? `${pen.count} pens are docked.` : `${pen.brand} is docked.`);
  } catch (error) {
    element("new-pen-problem").textContent = error.message;
  }
});

for (const button of document.querySelectorAll("[data-close]")) button.addEventListener("click", () => button.closest("dialog").close());

// ---- Copy as test

let led = { commands: [], lost: 0 }; // the commands that led here

const writers = {
  pytest: commands => [
    'pytest_plugins = ["zel.testing"]', "", "", "def test_from_the_desk(pensim):",
    ...commands.map(one => `    pensim.command(${JSON.stringify(one.line)})`),
    "    # What the host does and should find goes here.", "",
  ].join("\n"),
  words: commands => commands.map(one => one.line + "\n").join(""),
  json: commands => commands.map(one => JSON.stringify(one.command) + "\n").join(""),
};

function drawTest() {
  element("test-text").value = writers[element("test-format").value](led.commands);
  element("test-copied").textContent = "";
}

onClick("open-test", async () => {
  led = await (await fetch("commands")).json();
  const count = plural(led.commands.length, "command");
  element("test-note").textContent = led.lost
    ? `The last ${count}; the ${plural(led.lost, "one")} before are lost, so this does not lead here from the start.`
    : `${count} led here from the start of the service, whoever gave them.`;
  drawTest();
  element("test").showModal();
});
element("test-format").addEventListener("change", drawTest);
onClick("test-copy", async () => {
  const text = element("test-text");
  text.select();
  try {
    await navigator.clipboard.writeText(text.value);
  } catch {
    document.execCommand("copy");
  }
  element("test-copied").textContent = "copied";
});
