// Brings together the stream of events, the list, what a frame holds, and the keyboard.

import {noteCommand, say, showFaults, showUsers, whenState} from './actions.js';
import {withToken} from './access.js';
import {clock, count, make, milliseconds, personOf, title} from './format.js';
import * as list from './frames.js';
import {readTrace} from './trace.js';
import {closeAll, openAll, showTree, treeKeys} from './tree.js';

const $ = (id) => document.getElementById(id);
const tree = $('tree');
let shown = null, reached = false;
let events = null;  // absent while a trace is shown

// --- State

function showConnected(connections) {
  $('connected-count').textContent = connections.length;
  $('nobody').hidden = connections.length > 0;
  const focused = document.activeElement?.closest('#connected li')?.dataset.id;
  $('connected').replaceChildren(...connections.map((one) => {
    const since = make('small', {title: 'Connected since'}, clock(one.since * 1000, false));
    const button = make('button', {type: 'button', title: 'Show only its frames'},
      make('small', {}, `#${one.id}`), make('span', {className: 'name'}, personOf(one)),
      make('small', {}, one.uID), since);
    button.setAttribute('aria-pressed', String(list.filteredConnection() === String(one.id)));
    button.addEventListener('click', () => list.filterConnection(one.id));
    const item = make('li', {}, button);
    item.dataset.id = one.id;
    return item;
  }));
  if (focused) $('connected').querySelector(`[data-id="${focused}"] button`)?.focus();
}

let connectedText = '', connectedNow = [];

function showState(state) {
  const text = JSON.stringify(state.connections);
  if (text !== connectedText) {
    connectedText = text;
    connectedNow = state.connections;
    list.setConnections(connectedNow);
    showConnected(connectedNow);
    showUsers(connectedNow);
  }
  showFaults(state.faults);
}

// --- The stream of events

function setLive(text, kind) {
  const live = $('live');
  if (live.textContent !== text) live.textContent = text;
  live.className = `pill ${kind}`;
}

function listen() {
  events = new EventSource(withToken('/events'));
  const on = (name, act) => events.addEventListener(name, (event) => act(JSON.parse(event.data)));
  events.onerror = () => setLive(reached ? 'connection lost, trying again' : 'no connection', 'warn');
  on('hello', (hello) => {
    reached = true;
    setLive('live', 'good');
    if (hello.resumed) return;
    list.clearList();
    list.forgetConnections();
    if (hello.next > 1) list.addSkipped(0, `${count(hello.next - 1, 'earlier frame')} no longer kept`);
  });
  on('state', showState);
  on('frame', list.addFrame);
  on('skipped', ({frames}) => list.addSkipped(frames));
}

// --- A trace in the place of the stream

function showTrace(name, entries) {
  events?.close();
  events = null;
  list.clearList();
  list.forgetConnections();
  list.setConnections([...new Set(entries.map(({connection}) => connection).filter(Boolean))]
    .map((id) => ({id, uID: 'client'})));
  for (const entry of entries) {
    if (entry.skipped === undefined) list.addFrame(entry);
    else list.addSkipped(entry.skipped, entry.text);
  }
  setLive(`trace ${name}`, '');
  $('trace').textContent = 'Back to live';
  $('trace').setAttribute('aria-pressed', 'true');
  say(`${name}: ${count(entries.length, 'entry', 'entries')}.`);
}

function leaveTrace() {
  $('trace').textContent = 'Open trace';
  $('trace').setAttribute('aria-pressed', 'false');
  setLive('connecting', '');
  connectedText = '';
  listen();
}

async function openTrace(file) {
  if (!file) return;
  try {
    showTrace(file.name, readTrace(await file.text()));
  } catch {
    say(`${file.name} cannot be read.`, true);
  }
}

const askForTrace = () => (events === null ? leaveTrace() : $('trace-file').click());

$('trace').addEventListener('click', askForTrace);
$('trace-file').addEventListener('change', ({target}) => {
  openTrace(target.files[0]);
  target.value = '';  // so that the same file can be opened again
});
document.addEventListener('dragover', (event) => event.preventDefault());
document.addEventListener('drop', (event) => {
  event.preventDefault();
  openTrace(event.dataTransfer?.files[0]);
});

// --- What a frame holds

const kinds = {none: 'no frame', in: 'to the server', out: 'to the client'};

function facts(frame) {
  const parts = [frame.kind, kinds[frame.direction], `#${frame.connection}`];
  if (frame.direction !== 'none') parts.push(count(frame.bytes, 'byte'));
  if (frame.ms !== undefined) parts.push(`${milliseconds(frame.ms)} ms`);
  return [...parts, clock(frame.time)].join(' · ');
}

function showContent(frame) {
  if (frame.frame !== undefined) return showTree(tree, frame.frame);
  const text = frame.text ?? frame.hex;
  if (text === undefined) return tree.replaceChildren(make('p', {className: 'empty'}, 'This is no frame.'));
  const content = make('pre', {tabIndex: 0}, text);
  tree.replaceChildren(content);
  if (frame.truncated) tree.append(make('p', {className: 'empty'}, 'Only the beginning is shown.'));
}

list.whenChosen((frame, paired) => {
  shown = frame;
  for (const id of ['open-all', 'close-all']) $(id).disabled = frame?.frame === undefined;
  $('copy').disabled = frame?.frame === undefined && frame?.text === undefined;
  $('detail-pair').hidden = !paired;
  $('detail-pair').textContent = frame?.kind === 'request' ? 'Go to the reply' : 'Go to the request';
  $('detail-title').textContent = frame ? title(frame) : 'Frame';
  $('detail-facts').textContent = frame ? facts(frame) : '';
  if (frame) return showContent(frame);
  tree.replaceChildren(make('p', {className: 'empty'}, 'Choose a frame to see what it holds.'));
});

async function copy() {
  const text = shown.frame === undefined ? shown.text : JSON.stringify(shown.frame, null, 2);
  try {
    await navigator.clipboard.writeText(text);
    say('Copied.');
  } catch {
    say('The browser does not let the page copy.', true);
  }
}

// --- The keyboard and the head of the page

list.whenPaused((paused, waiting) => {
  $('pause').setAttribute('aria-pressed', String(paused));
  $('pause').textContent = paused ? waiting > 0 ? `Go on (${waiting.toLocaleString('en')} new)` : 'Go on' : 'Pause';
});
list.whenCommand(noteCommand);
whenState(showState);

const toggle = (id) => () => { $(id).checked = !$(id).checked; list.applyFilters(); };
const shortcuts = {
  '/': () => $('filter-command').focus(), '?': () => $('help').showModal(),
  p: list.togglePause, c: list.clearList, n: list.goToNewest, r: list.goToPartner, t: askForTrace,
  e: toggle('filter-errors'), h: toggle('filter-pings'),
};

document.addEventListener('keydown', (event) => {
  if (event.ctrlKey || event.altKey || event.metaKey || $('help').open) return;
  const writes = event.target.matches('input:not([type=checkbox], [type=radio]), textarea, select');
  if (event.key === 'Escape') {
    if (event.target.id === 'filter-command' && event.target.value) {
      event.target.value = '';
      list.applyFilters();
    }
    return list.focusList();
  }
  const act = writes ? undefined : shortcuts[event.key];
  if (!act) return;
  event.preventDefault();
  act();
});

$('pause').addEventListener('click', list.togglePause);
$('clear-list').addEventListener('click', list.clearList);
$('help-open').addEventListener('click', () => $('help').showModal());
$('open-all').addEventListener('click', () => openAll(tree));
$('close-all').addEventListener('click', () => closeAll(tree));
$('copy').addEventListener('click', copy);
$('detail-pair').addEventListener('click', list.goToPartner);
$('filters').addEventListener('input', () => showConnected(connectedNow));
$('connected').addEventListener('click', () => showConnected(connectedNow));
treeKeys(tree);

$('address').textContent = `${location.protocol === 'https:' ? 'wss' : 'ws'}://${location.host}`;
listen();
