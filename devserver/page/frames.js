// The list of frames: rows, filters, the keyboard, and what has to wait while the list is paused.

import {clock, count, isError, isHeartbeat, make, milliseconds, personOf, title} from './format.js';

const mostRows = 2000;
const $ = (id) => document.getElementById(id);

const rows = $('rows'), scroll = $('scroll'), filters = $('filters');
const frames = new Map();  // row -> frame
const answers = new Map();  // connection and "s" -> rows that have them
const connections = new Map();  // id -> what is known of it
let waiting = [], waitingSkipped = 0;
let paused = false, scheduled = false, following = true;
let chosen = null, active = null;
let onChosen = () => {}, onPause = () => {}, onCommand = () => {};

export const whenChosen = (callback) => { onChosen = callback; };
export const whenPaused = (callback) => { onPause = callback; };
export const whenCommand = (callback) => { onCommand = callback; };

// --- Rows

function notes(frame) {
  const chips = [];
  const chip = (text, kind = '') => chips.push(make('span', {className: `chip ${kind}`}, text));
  if (frame.code) chip(String(frame.code), 'bad');
  for (const fault of frame.faults ?? []) chip(fault, 'warn');
  if (frame.kind === 'push') chip('push');
  if (frame.kind === 'malformed') chip('malformed', 'bad');
  if (frame.direction === 'none' && frame.text) return [...chips, frame.text];
  const error = frame.code ? frame.frame?.v?.err : '';
  return typeof error === 'string' ? [...chips, error] : chips;
}

function pairKey(frame) {
  const stamp = frame.frame?.s;
  const answered = frame.kind === 'request' || frame.kind === 'reply';
  return answered && stamp !== undefined ? `${frame.connection} ${stamp}` : null;
}

/** Who was signed in when the frame passed. */
function nameOf(frame) {
  const person = connections.get(frame.connection);
  return frame.user && person?.uID === frame.user ? personOf(person) : frame.user;
}

function makeRow(frame) {
  const cell = (name, ...children) => make('td', {className: name, role: 'gridcell'}, ...children);
  const way = {in: '→ in', out: '← out', none: ''}[frame.direction];
  const row = make('tr', {tabIndex: -1, role: 'row', className: frame.direction},
    cell('time', clock(frame.time)), cell('way', way),
    cell('peer', make('small', {}, `#${frame.connection} `), nameOf(frame)), cell('what', title(frame)),
    cell('number', frame.direction === 'none' ? '' : frame.bytes.toLocaleString('en')),
    cell('number', milliseconds(frame.ms)), cell('note', ...notes(frame)));
  row.cells[3].title = title(frame);
  row.setAttribute('aria-selected', 'false');
  if (frame.direction === 'none' || isHeartbeat(frame)) row.classList.add('quiet');
  if (frame.faults?.includes('dropped')) row.classList.add('dropped');
  return row;
}

function gapRow(text) {
  return make('tr', {className: 'gap', role: 'row'}, make('td', {colSpan: 7, role: 'gridcell'}, text));
}

function remember(row, frame) {
  frames.set(row, frame);
  const key = pairKey(frame);
  if (key === null) return;
  if (!answers.has(key)) answers.set(key, new Set());
  answers.get(key).add(row);
}

function forget(row) {
  const frame = frames.get(row);
  const key = frame && pairKey(frame);
  if (key !== null && key !== undefined) {
    answers.get(key)?.delete(row);
    if (answers.get(key)?.size === 0) answers.delete(key);
  }
  frames.delete(row);
  if (row === chosen) choose(null);
  if (row === active) active = null;
  row.remove();
}

// --- What comes

export function addFrame(frame) {
  waiting.push(frame);
  if (frame.command) onCommand(frame.command);
  cutWaiting();
  later();
}

/** Frames that the server could not keep for this page. */
export function addSkipped(frames, text = `${count(frames, 'frame')} skipped`) {
  waiting.push({gap: text, frames});
  cutWaiting();
  later();
}

/** While the list is paused, or the frames outrun it, only the newest wait. */
function cutWaiting() {
  if (waiting.length < mostRows * 2) return;
  for (const cut of waiting.splice(0, waiting.length - mostRows)) waitingSkipped += cut.frames ?? 1;
}

function later() {
  if (paused) return tellPause();
  if (scheduled) return;
  scheduled = true;
  // A hidden page draws no pictures, but its list goes on.
  document.hidden ? setTimeout(append, 250) : requestAnimationFrame(append);
}

function append() {
  scheduled = false;
  if (paused) return;
  const batch = document.createDocumentFragment();
  if (waitingSkipped > 0) batch.append(gapRow(`${count(waitingSkipped, 'frame')} skipped`));
  waitingSkipped = 0;
  for (const frame of waiting.splice(0)) {
    const row = frame.gap === undefined ? makeRow(frame) : gapRow(frame.gap);
    if (frame.gap === undefined) {
      remember(row, frame);
      row.hidden = !matches(frame);
    }
    batch.append(row);
  }
  rows.append(batch);
  while (rows.children.length > mostRows) forget(rows.firstElementChild);
  if (following) scroll.scrollTop = scroll.scrollHeight;
  tellShown();
}

export function clearList() {
  waiting = [];
  waitingSkipped = 0;
  choose(null);
  active = null;
  frames.clear();
  answers.clear();
  rows.replaceChildren();
  following = true;
  tellShown();
  if (paused) tellPause();
}

export function togglePause() {
  paused = !paused;
  if (!paused) later();
  tellPause();
}

function tellPause() {
  onPause(paused, waiting.reduce((sum, frame) => sum + (frame.frames ?? 1), waitingSkipped));
}

// --- Filters

function matches(frame) {
  const wanted = filters.elements;
  if (wanted.direction.value && frame.direction !== wanted.direction.value) return false;
  if (wanted.connection.value && String(frame.connection) !== wanted.connection.value) return false;
  const text = wanted.command.value.trim().toLowerCase();
  if (text && !title(frame).toLowerCase().includes(text)) return false;
  if (wanted.pings.checked && isHeartbeat(frame)) return false;
  return !wanted.errors.checked || isError(frame);
}

export function applyFilters() {
  for (const [row, frame] of frames) row.hidden = !matches(frame);
  if (active?.hidden) setActive(null);
  following = true;
  scroll.scrollTop = scroll.scrollHeight;
  tellShown();
}

function tellShown() {
  const shown = [...frames.keys()].filter((row) => !row.hidden).length;
  const hidden = frames.size - shown;
  $('shown').value = hidden > 0 ? `${count(shown, 'row')}, ${hidden.toLocaleString('en')} hidden` : count(shown, 'row');
  const nothing = $('nothing');
  nothing.hidden = shown > 0;
  nothing.textContent = hidden > 0 ? 'The filters hide every frame.' : 'No frame has passed yet.';
  if (!active && shown > 0) setActive(visibleRows()[0], false);
  $('newest').hidden = following || shown === 0;
}

/** Who is connected, for names and the choice of a connection. */
export function setConnections(list) {
  for (const connection of list) connections.set(connection.id, connection);
  // A sign-in is told after its frames.
  for (const [row, frame] of frames) row.cells[2].lastChild.textContent = nameOf(frame);
  const select = $('filter-connection'), value = select.value;
  const known = [...connections.values()].slice(-100);
  const names = known.map(({id, uID, nick}) => `#${id} ${personOf({uID, nick})}`);
  if (select.dataset.names === names.join('\n')) return;
  select.dataset.names = names.join('\n');
  select.replaceChildren(make('option', {value: ''}, 'Every connection'),
    ...known.map((connection, i) => make('option', {value: String(connection.id)}, names[i])));
  select.value = known.some(({id}) => String(id) === value) ? value : '';
  if (select.value !== value) applyFilters();
}

export function filterConnection(id) {
  const select = $('filter-connection');
  select.value = select.value === String(id) ? '' : String(id);
  applyFilters();
}

export const filteredConnection = () => $('filter-connection').value;

export function forgetConnections() {
  connections.clear();
}

// --- Choosing

const visibleRows = () => [...frames.keys()].filter((row) => !row.hidden);

function setActive(row, focus = true) {
  if (active) active.tabIndex = -1;
  active = row;
  if (!row) return;
  row.tabIndex = 0;
  if (focus) row.focus({preventScroll: true});
}

/** Keeps the row in view, below the head of the table. */
function reveal(row) {
  const head = scroll.querySelector('thead').offsetHeight;
  const top = row.offsetTop - head, bottom = row.offsetTop + row.offsetHeight;
  if (top < scroll.scrollTop) scroll.scrollTop = top;
  if (bottom > scroll.scrollTop + scroll.clientHeight) scroll.scrollTop = bottom - scroll.clientHeight;
}

function choose(row) {
  chosen?.setAttribute('aria-selected', 'false');
  for (const paired of rows.querySelectorAll('.paired')) paired.classList.remove('paired');
  chosen = row;
  if (row) {
    row.setAttribute('aria-selected', 'true');
    for (const paired of partners(row)) paired.classList.add('paired');
  }
  onChosen(row ? frames.get(row) : null, row ? partners(row).length > 0 : false);
}

function partners(row) {
  const key = pairKey(frames.get(row));
  return key === null ? [] : [...answers.get(key) ?? []].filter((other) => other !== row);
}

function go(row) {
  if (!row) return;
  setActive(row);
  choose(row);
  reveal(row);
}

/** From a request to its reply, or back. */
export function goToPartner() {
  const partner = chosen && partners(chosen)[0];
  if (!partner) return;
  if (partner.hidden) {
    filters.reset();
    applyFilters();
  }
  go(partner);
}

export function focusList() {
  (active ?? visibleRows()[0])?.focus();
}

export function goToNewest() {
  following = true;
  go(visibleRows().at(-1));
  scroll.scrollTop = scroll.scrollHeight;
}

rows.addEventListener('keydown', (event) => {
  const row = event.target.closest('tr');
  if (!row || event.ctrlKey || event.altKey || event.metaKey) return;
  const all = visibleRows();
  const at = all.indexOf(row);
  const page = Math.max(1, Math.floor(scroll.clientHeight / row.offsetHeight) - 2);
  const to = {
    ArrowDown: at + 1, ArrowUp: at - 1, PageDown: at + page, PageUp: at - page, Home: 0, End: all.length - 1,
  }[event.key];
  if (to !== undefined) {
    event.preventDefault();
    go(all[Math.min(Math.max(to, 0), all.length - 1)]);
  } else if (event.key === 'Enter' || event.key === 'ArrowRight') {
    event.preventDefault();
    if (chosen !== row) go(row);
    $('tree').querySelector('summary, [tabindex]')?.focus();
  } else if (event.key === ' ') {
    event.preventDefault();
    go(row);
  }
});
rows.addEventListener('click', (event) => {
  const row = event.target.closest('tr');
  if (frames.has(row)) go(row);
});
scroll.addEventListener('scroll', () => {
  following = scroll.scrollTop + scroll.clientHeight >= scroll.scrollHeight - 24;
  if (following) $('newest').hidden = true;
}, {passive: true});
// A window of another size shows the newest as well.
new ResizeObserver(() => { if (following) scroll.scrollTop = scroll.scrollHeight; }).observe(scroll);
$('newest').addEventListener('click', goToNewest);
filters.addEventListener('input', applyFilters);
filters.addEventListener('submit', (event) => {
  event.preventDefault();
  focusList();
});
