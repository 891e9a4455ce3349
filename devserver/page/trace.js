// Reads a trace of frames, as clients write it (a line of JSON each), into what the list shows.

/** Milliseconds since 1970 of "2026-11-22T11:34:45.123456Z"; the language's own reader knows no microseconds. */
function momentOf(time) {
  const whole = Date.parse(`${String(time).slice(0, 23)}Z`);
  return Number.isNaN(whole) ? 0 : whole + (Number(String(time).slice(23, 26)) || 0) / 1000;
}

/** What a message is, as the server's own stream tells it. */
class Exchange {
  #asked = new Map();  // connection and "s" -> when it was asked

  describe(line, entry) {
    const {frame} = line;
    if (frame === undefined) return {...entry, kind: {PING: 'ping', PONG: 'pong'}[line.text] ?? 'unread', text: line.text};
    const key = `${entry.connection} ${frame.s}`;
    const command = String((entry.direction === 'in' ? frame.c : frame.C) ?? '');
    if (entry.direction === 'in') {
      this.#asked.set(key, entry.time);
      return {...entry, kind: 'request', command, frame};
    }
    const asked = this.#asked.get(key);
    this.#asked.delete(key);
    const told = {...entry, kind: asked === undefined ? 'push' : 'reply', command, frame};
    if (asked !== undefined) told.ms = entry.time - asked;
    const code = Number(frame.v?.ret ?? 0);
    return code === 0 ? told : {...told, code};
  }
}

const eventTexts = (line) => [line.reason, line.text].filter(Boolean).join(': ');

/** The entries of a trace: frames, and `{skipped}` where some are missing. */
export function readTrace(text) {
  const exchange = new Exchange();
  return text.split('\n').filter((line) => line.trim()).map((source) => {
    let line;
    try {
      line = JSON.parse(source);
    } catch {
      line = null;
    }
    const entry = {direction: 'none', connection: line?.connection ?? 0, user: '', bytes: line?.bytes ?? source.length,
      time: momentOf(line?.time)};
    // A disk that got full may have cut a line.
    if (line === null || typeof line !== 'object') return {...entry, kind: 'malformed', text: source};
    if (line.kind === 'skipped') return {skipped: line.skipped ?? 0, text: line.text};
    if (line.kind === 'sent') return exchange.describe(line, {...entry, direction: 'in'});
    if (line.kind === 'received') return exchange.describe(line, {...entry, direction: 'out'});
    const known = ['attempt', 'opened', 'up', 'failed', 'closed', 'began'].includes(line.kind);
    return {...entry, kind: known ? line.kind : 'malformed', text: known ? eventTexts(line) : source};
  });
}
