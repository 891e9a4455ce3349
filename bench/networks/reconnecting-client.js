// The `ws` client with the reconnecting wrapper that many programs have: the first attempt after 1 to 5 s, each later one
// 1.3 times as late, 10 s at most; 4 s for an attempt; a protocol ping every 30 s, and the end of a link whose pong does
// not come. Asks 20 times a second and prints when it came up, went down, and how long each answer took, in milliseconds
// of the monotonic clock.
//
//   node reconnecting-client.js ws://ADDRESS:PORT
'use strict';

const WebSocket = require('ws');

const url = process.argv[2];
const now = () => Number(process.hrtime.bigint()) / 1e6;
const tell = (event) => process.stdout.write(JSON.stringify({ at: now(), ...event }) + '\n');

let socket = null;
let retries = 0;
let number = Date.now() * 1000;
const asked = new Map();

function connect() {
  socket = new WebSocket(url, { perMessageDeflate: false, handshakeTimeout: 4000 });
  socket.isAlive = true;
  const mine = socket;
  socket.on('open', () => mine.send('PING'));
  socket.on('pong', () => { mine.isAlive = true; });
  socket.on('error', () => {});
  socket.on('close', () => {
    tell({ down: true });
    asked.clear();
    const delay = retries === 0 ? 1000 + Math.random() * 4000 : Math.min(10000, 1000 * 1.3 ** retries);
    retries += 1;
    setTimeout(connect, delay);
  });
  socket.on('message', (data) => {
    const text = data.toString('utf8');
    if (text === 'PONG') {
      retries = 0;
      mine.up = true;
      return tell({ up: true });
    }
    const key = String(JSON.parse(text).s);
    const begun = asked.get(key);
    if (begun === undefined) return;
    asked.delete(key);
    tell({ took: now() - begun });
  });
}

setInterval(() => {
  if (!socket.up || socket.readyState !== WebSocket.OPEN) return;
  number += 1;
  asked.set(String(number), now());
  socket.send(JSON.stringify({ c: 'Dev.Echo', r: '1', g: 'g', a: '1', b: '1.1', s: String(number), v: {} }));
}, 50);

setInterval(() => {
  if (socket.readyState !== WebSocket.OPEN) return;
  if (!socket.isAlive) return socket.terminate();
  socket.isAlive = false;
  socket.ping();
}, 30000);

connect();
