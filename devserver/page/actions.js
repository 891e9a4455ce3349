// Pushes and faults: each is one object that goes to /control.

import {authorization} from './access.js';
import {count, make, personOf} from './format.js';

const $ = (id) => document.getElementById(id);
let onState = () => {};
export const whenState = (callback) => { onState = callback; };

const examples = {
  'Rooms.Push.Message': '{"type": 3, "course": "5001"}',
  'User.OtherDevice.Login': '{"isLogin": 1, "liveStatus": 0}',
  'User.OtherDevice.Logout': '{}',
  'System.Upload.Log': '{}',
  other: '{}',
  text: 'hello',
};

// --- Saying what came of it

let saidTimer = 0;

export function say(text, bad = false) {
  const said = $('said');
  said.textContent = text;
  said.classList.toggle('bad', bad);
  said.classList.remove('gone');
  clearTimeout(saidTimer);
  saidTimer = setTimeout(() => said.classList.add('gone'), bad ? 9000 : 4000);
}

/** Sends the object; returns the state that the server answers, or null. */
async function control(request, done) {
  try {
    const response = await fetch('/control', {method: 'POST', headers: authorization, body: JSON.stringify(request)});
    const answer = await response.json();
    if (!response.ok) return say(answer.err ?? `The server answered ${response.status}.`, true);
    onState(answer);
    say(done(answer));
  } catch {
    say('The server does not answer.', true);
  }
}

const reached = (what) => (answer) => `${what}: ${count(answer.affected, 'connection')} reached.`;

// --- Pushes

function showPushFields() {
  const command = $('push-command').value;
  const other = command === 'other', text = command === 'text';
  $('push-other').hidden = !other;
  document.querySelector('label[for="push-other"]').hidden = !other;
  $('push-other').required = other;
  $('push-values-label').textContent = text ? 'Text, sent as it is' : 'Values (JSON)';
  $('push-values').value = examples[command];
  $('push-values').removeAttribute('aria-invalid');
}

function readValues() {
  const field = $('push-values');
  try {
    const values = JSON.parse(field.value.trim() || '{}');
    if (values === null || typeof values !== 'object' || Array.isArray(values)) throw new Error();
    field.removeAttribute('aria-invalid');
    return values;
  } catch {
    field.setAttribute('aria-invalid', 'true');
    field.focus();
    say('The values have to be a JSON object.', true);
    return null;
  }
}

function push(event) {
  event.preventDefault();
  const chosen = $('push-command').value;
  const user = $('push-user').value;
  if (chosen === 'text') {
    return control({garbage: 'text', text: $('push-values').value, user}, reached('Text'));
  }
  const values = readValues();
  if (values === null) return;
  const command = chosen === 'other' ? $('push-other').value.trim() : chosen;
  control({push: command, values, user}, reached(command));
}

// --- Faults

/** "command" and "count" of a fault that replies and requests have. */
function reach(withCount = true) {
  const common = {};
  const command = $('fault-command').value.trim();
  if (command) common.command = command;
  if (withCount && $('fault-count').value) common.count = Number($('fault-count').value);
  return common;
}

const armed = (what) => () => `${what}: in force.`;
const linkUser = () => $('link-user').value;

const does = {
  error: (form) => [{fault: 'error', code: Number(form.code.value), ...reach()}, armed(`Error ${form.code.value}`)],
  delay: (form) => [{fault: 'delay', ms: Number(form.ms.value), ...reach()}, armed(`Delay of ${form.ms.value} ms`)],
  timestamp: (form) => [{fault: 'timestamp', kind: form.kind.value, ...reach()}, armed('Wrong “s”')],
  drop: () => [{fault: 'drop', ...reach()}, armed('Drop')],
  duplicate: () => [{fault: 'duplicate', ...reach()}, armed('Duplicate')],
  reorder: () => [{fault: 'reorder', count: Math.max(2, Number($('fault-count').value))}, armed('Reorder')],
  cut: (form) => [{cut: form.cut.value, user: linkUser()}, reached('Cut')],
  garbage: (form) => [garbage(form.garbage.value), reached('Garbage')],
  connections: (form) => [{fault: 'connections', mode: form.mode.value},
    () => `New connections ${form.mode.selectedOptions[0].text}.`],
  ping: (form) => [{fault: 'ping', answer: form.answer.value || null},
    () => `PING is answered ${form.answer.selectedOptions[0].text}.`],
  expire: () => [{expire: linkUser() || 'all'}, (answer) => `${count(answer.affected, 'session')} ended.`],
  revoke: () => [{revoke: linkUser() || 'all'}, (answer) => `Tokens dropped, ${count(answer.affected, 'session')} ended.`],
};

function garbage(kind) {
  const bytes = {binary: '00ff4f52560a', wire: 'ff00ff00'}[kind];
  return {garbage: kind, user: linkUser(), ...(bytes ? {hex: bytes} : {})};
}

function describeReplyFault(rule) {
  const what = {
    delay: `delay ${rule.ms} ms`, error: `error ${rule.code}`, timestamp: `wrong “s” (${rule.kind})`,
    duplicate: rule.copies > 1 ? `duplicate ×${rule.copies}` : 'duplicate',
  }[rule.fault] ?? rule.fault;
  const times = rule.count === undefined ? 'always' : count(rule.count, 'time');
  return `${what}, ${times}${rule.command ? `, ${rule.command}` : ''}`;
}

function describe(faults) {
  const list = (faults.replies ?? []).map(describeReplyFault);
  if (faults.silence) list.push('silence');
  if ('ping' in faults) list.push(faults.ping === null ? 'PING not answered' : `PING answered by ${faults.ping}`);
  if (faults.connections) list.push(`new connections: ${faults.connections}`);
  if (faults.oneByteWrites) list.push('one byte a write');
  if (faults.cutAfter) list.push(`cut after ${count(faults.cutAfter.bytes, 'byte')}`);
  return list;
}

/** Shows the faults in force. */
export function showFaults(faults) {
  const list = describe(faults);
  $('in-force').replaceChildren(...list.map((text) => make('li', {className: 'chip warn'}, text)));
  $('none-in-force').hidden = list.length > 0;
  $('clear-faults').disabled = list.length === 0;
  $('silence').setAttribute('aria-pressed', String(Boolean(faults.silence)));
}

/** The users that are signed in, for the lists of users. */
export function showUsers(connections) {
  const users = new Map(connections.filter(({uID}) => uID).map((one) => [one.uID, one]));
  const names = [...users.values()].map((one) => `${personOf(one)} (${one.uID})`);
  for (const select of document.querySelectorAll('select.users')) {
    if (select.dataset.names === names.join('\n')) continue;
    select.dataset.names = names.join('\n');
    const value = select.value;
    select.replaceChildren(make('option', {value: ''}, 'everyone'),
      ...[...users.keys()].map((uID, i) => make('option', {value: uID}, names[i])));
    select.value = users.has(value) ? value : '';
  }
}

/** A command that was seen, to choose from. */
const seen = new Set();
export function noteCommand(command) {
  if (seen.has(command) || seen.size >= 300) return;
  seen.add(command);
  $('seen-commands').append(make('option', {value: command}));
}

for (const form of document.querySelectorAll('[data-does]')) {
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    control(...does[form.dataset.does](form.elements));
  });
}
$('silence').addEventListener('click', () => {
  const on = $('silence').getAttribute('aria-pressed') !== 'true';
  control({silence: on}, () => on ? 'Silence: in force.' : 'The server answers again.');
});
$('clear-faults').addEventListener('click', () => control({clear: true}, () => 'No fault is in force any more.'));
$('push-command').addEventListener('change', showPushFields);
$('push').addEventListener('submit', push);
showPushFields();
