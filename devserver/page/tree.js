// What a frame holds, as a tree that opens and closes.

import {make} from './format.js';

const openLevels = 3;
const mostMembers = 200;

const isTree = (value) => value !== null && typeof value === 'object' && Object.keys(value).length > 0;

/** The size, and for what stands in an array the first members that tell something. */
function brief(value, named) {
  const size = Array.isArray(value) ? value.length : Object.keys(value).length;
  if (Array.isArray(value)) return `[${size}]`;
  const told = Object.entries(value).filter(([, member]) => member !== '' && !isTree(member)).slice(0, 4);
  const text = told.map(([key, member]) => `${key}: ${JSON.stringify(member)}`).join(', ');
  return named ? `{${size}}` : `{${size}}  ${text.slice(0, 90)}`;
}

function leaf(value) {
  if (typeof value === 'string') return make('span', {className: 'string'}, JSON.stringify(value));
  return make('span', {className: 'literal'}, JSON.stringify(value));
}

function label(key) {
  return key === undefined ? [] : [make('span', {className: 'key'}, String(key)), ': '];
}

function fill(box, value, level) {
  const keys = Object.keys(value);
  const add = (from) => {
    for (const key of keys.slice(from, from + mostMembers)) box.append(node(key, value[key], level));
    if (keys.length <= from + mostMembers) return;
    const more = make('button', {type: 'button'}, `${keys.length - from - mostMembers} more`);
    more.addEventListener('click', () => { more.remove(); add(from + mostMembers); });
    box.append(more);
  };
  add(0);
}

function node(key, value, level) {
  if (!isTree(value)) return make('div', {className: 'leaf'}, ...label(key), leaf(value));
  const box = make('div');
  const details = make('details', {},
    make('summary', {}, ...label(key), make('span', {className: 'brief'}, brief(value, level === 0 || Number.isNaN(Number(key))))), box);
  // Members are made when they are seen first: a page of courses has thousands.
  const open = () => { if (details.open && !box.hasChildNodes()) fill(box, value, level + 1); };
  details.addEventListener('toggle', open);
  details.open = level < openLevels;
  open();
  return details;
}

/** Puts the value into the place. */
export function showTree(place, value) {
  place.replaceChildren(isTree(value) ? node(undefined, value, 0) : leaf(value));
}

export function openAll(place) {
  for (let round = 0; round < 12; ++round) {
    const closed = place.querySelectorAll('details:not([open])');
    if (closed.length === 0 || place.querySelectorAll('*').length > 20000) return;
    for (const details of closed) {
      details.open = true;
      details.dispatchEvent(new Event('toggle'));
    }
  }
}

export function closeAll(place) {
  for (const details of place.querySelectorAll('details details')) details.open = false;
}

/** Arrow keys among the members that can be opened. */
export function treeKeys(place) {
  place.addEventListener('keydown', (event) => {
    const here = event.target.closest('summary');
    if (!here || event.ctrlKey || event.altKey || event.metaKey) return;
    const details = here.parentElement;
    const seen = [...place.querySelectorAll('summary')].filter((summary) => summary.offsetParent !== null);
    const at = seen.indexOf(here);
    let next;
    if (event.key === 'ArrowDown') next = seen[at + 1];
    else if (event.key === 'ArrowUp') next = seen[at - 1];
    else if (event.key === 'Home') next = seen[0];
    else if (event.key === 'End') next = seen.at(-1);
    else if (event.key === 'ArrowRight') details.open ? (next = seen[at + 1]) : (details.open = true);
    else if (event.key === 'ArrowLeft') {
      if (details.open) details.open = false;
      else next = details.parentElement.closest('details')?.querySelector('summary');
    } else return;
    event.preventDefault();
    next?.focus();
  });
}
