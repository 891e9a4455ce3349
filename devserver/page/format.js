// How things are written on the page.

const two = (n) => String(n).padStart(2, '0');

/** 09:41:07.123 for milliseconds since 1970; without the milliseconds where they do not matter. */
export function clock(time, withMilliseconds = true) {
  const date = new Date(time);
  const text = `${two(date.getHours())}:${two(date.getMinutes())}:${two(date.getSeconds())}`;
  return withMilliseconds ? `${text}.${String(date.getMilliseconds()).padStart(3, '0')}` : text;
}

export function milliseconds(ms) {
  if (ms === undefined) return '';
  return ms < 10 ? ms.toFixed(2) : ms < 100 ? ms.toFixed(1) : Math.round(ms).toLocaleString('en');
}

export const count = (n, one, many = `${one}s`) => `${n.toLocaleString('en')} ${n === 1 ? one : many}`;

/** An element with attributes, properties and children; texts are never read as HTML. */
export function make(name, attributes = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key in element && key !== 'role' && key !== 'list') element[key] = value;
    else element.setAttribute(key, value);
  }
  element.append(...children);
  return element;
}

/** Who is at the other end of a connection. */
export function personOf(connection) {
  if (!connection.uID) return 'not signed in';
  return connection.nick || connection.uID;
}

const kindNames = {
  opened: 'connected', closed: 'gone', ping: 'PING', pong: 'PONG', malformed: 'not a request',
  unread: 'text', push: 'text', binary: 'binary frame', wire: 'bytes between frames',
  attempt: 'attempt to connect', up: 'link is up', failed: 'failed', began: 'the trace begins',
};

/** What stands in the place of a command. */
export function title(frame) {
  if (frame.kind === 'pong' && frame.text !== undefined) return frame.text.slice(0, 40);
  return frame.command || kindNames[frame.kind] || frame.kind;
}

export function isError(frame) {
  return (frame.code !== undefined && frame.code !== 0) || frame.kind === 'malformed' || frame.kind === 'failed' ||
    Boolean(frame.faults);
}

export const isHeartbeat = (frame) => frame.kind === 'ping' || frame.kind === 'pong';
