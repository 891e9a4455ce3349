// A WebSocket server that writes down what it receives, for tests. See README.md.
'use strict';

const { parseArgs } = require('node:util');
const { WebSocketServer } = require('ws');

const { values: options } = parseArgs({
  options: {
    'close-after': { type: 'string' },
    'close-code': { type: 'string' },
    'close-reason': { type: 'string', default: '' },
    'drop-after': { type: 'string' },
    'ping': { type: 'string' },
    'send': { type: 'string', multiple: true, default: [] },
    'send-binary': { type: 'string', multiple: true, default: [] },
    'silent': { type: 'boolean', default: false },
  },
});

function record(event, details = {}) {
  process.stdout.write(JSON.stringify({ event, ...details }) + '\n');
}

// The answer to a text frame; undefined when there is none.
function answerTo(text) {
  if (text === 'PING') return 'PONG';
  let request;
  try {
    request = JSON.parse(text);
  } catch {
    return undefined;
  }
  if (request === null || typeof request !== 'object' || !('c' in request) || !('s' in request)) return undefined;
  return JSON.stringify({ C: request.c, s: request.s, v: { ret: 0, data: {} } });
}

function isNumber(text, number) {
  return text !== undefined && Number(text) === number;
}

function endAfter(socket, frames) {
  if (isNumber(options['drop-after'], frames)) socket.terminate();
  if (!isNumber(options['close-after'], frames)) return;
  if (options['close-code'] === undefined) socket.close();
  else socket.close(Number(options['close-code']), options['close-reason']);
}

function greet(socket) {
  for (const text of options.send) socket.send(text);
  for (const hex of options['send-binary']) socket.send(Buffer.from(hex, 'hex'));
  if (options.ping !== undefined) socket.ping(options.ping);
  endAfter(socket, 0);
}

function serve(socket, request) {
  let frames = 0;
  record('connection', { url: request.url, headers: request.headers });
  socket.on('message', (data, isBinary) => {
    frames += 1;
    if (isBinary) {
      record('binary', { hex: data.toString('hex') });
    } else {
      const text = data.toString('utf8');
      record('text', { text });
      const answer = options.silent ? undefined : answerTo(text);
      if (answer !== undefined) socket.send(answer);
    }
    endAfter(socket, frames);
  });
  socket.on('ping', (data) => record('ping', { payload: data.toString('utf8') }));
  socket.on('pong', (data) => record('pong', { payload: data.toString('utf8') }));
  socket.on('error', (error) => record('error', { message: error.message }));
  socket.on('close', (code, reason) => record('close', { code, reason: reason.toString('utf8') }));
  greet(socket);
}

const server = new WebSocketServer({ host: '127.0.0.1', port: 0, perMessageDeflate: false });
server.on('listening', () => process.stdout.write(`listening ${server.address().port}\n`));
server.on('connection', serve);

// Who started this holds the other end of standard input and lets go of it at the latest when it ends.
process.stdin.on('end', () => process.exit(0));
process.stdin.resume();
