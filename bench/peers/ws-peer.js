// Node's `ws`. Nothing is parsed. The same command line and the same line of results as the other peers:
//
//   node ws-peer.js ADDRESS:PORT OUTSTANDING AMOUNT
'use strict';

const WebSocket = require('ws');

const [address, outstandingText, amountText] = process.argv.slice(2);
const outstanding = Number(outstandingText);
const seconds = amountText.endsWith('s') ? parseFloat(amountText) : 0;
const requests = seconds > 0 ? 0 : Number(amountText);

// 300 bytes, as the library writes a request.
const REQUEST_BYTES = 300;
const requestWith = (note) => `{
  "c" : "Dev.Echo",
  "r" : "1",
  "g" : "bench",
  "a" : "1",
  "b" : "1.0.1",
  "s" : "1706690702345678",
  "v" : {
    "roomID" : "1234567",
    "title" : "代数 lesson 12",
    "start" : 0,
    "limit" : 30,
    "note" : "${note}"
  }
}`;
const request = requestWith('x'.repeat(REQUEST_BYTES - Buffer.byteLength(requestWith(''))));

const MOST_SAMPLES = 4000000;
const samples = new Float64Array(requests > 0 ? Math.min(requests, MOST_SAMPLES) : MOST_SAMPLES);
const sent = new Float64Array(outstanding);
let sampled = 0;
let oldest = 0;
let newest = 0;
let asked = 0;
let answered = 0;
let now = 0;
let phase = 'warming up';
let begin;
let end;

// Microseconds.
const clock = () => performance.now() * 1000;
const moment = () => ({ time: now, used: process.cpuUsage(), waits: process.resourceUsage().voluntaryContextSwitches, answered });

function reached(share, since) {
  if (requests > 0) return answered - since.answered >= Math.max(requests * share, outstanding);
  return now - since.time >= seconds * share * 1e6;
}

function ask(socket) {
  if (phase === 'ended' || asked - answered >= outstanding) return false;
  sent[newest] = now;
  newest = (newest + 1) % outstanding;
  asked += 1;
  socket.send(request);
  return true;
}

function receive() {
  now = clock();
  if (phase === 'measuring' && sampled < samples.length) samples[sampled++] = now - sent[oldest];
  oldest = (oldest + 1) % outstanding;
  answered += 1;
  if (phase === 'measuring' && reached(1, begin)) {
    end = moment();
    phase = 'ended';
  } else if (phase === 'warming up' && reached(0.25, begin)) {
    begin = moment();
    phase = 'measuring';
  }
}

function print() {
  const sorted = samples.subarray(0, sampled).sort();
  const percentile = (share) => sorted[Math.floor(share * (sampled - 1))];
  const number = end.answered - begin.answered;
  const used = end.used.user + end.used.system - begin.used.user - begin.used.system;
  console.log(JSON.stringify({
    outstanding,
    requests: number,
    seconds: (end.time - begin.time) / 1e6,
    p50_us: percentile(0.5),
    p99_us: percentile(0.99),
    per_second: number / (end.time - begin.time) * 1e6,
    cpu_us: used / number,
    waits: (end.waits - begin.waits) / number,
    peak_kib: process.resourceUsage().maxRSS,
  }));
}

const socket = new WebSocket(`ws://${address}`, { perMessageDeflate: false });
socket.on('error', (error) => {
  console.error(error.message);
  process.exit(1);
});
socket.on('close', () => {
  if (phase === 'ended' && asked === answered) return;
  console.error('the connection is lost');
  process.exit(1);
});
socket.on('open', () => {
  now = clock();
  begin = moment();
  while (ask(socket));
});
socket.on('message', () => {
  receive();
  ask(socket);
  if (phase === 'ended' && asked === answered) {
    print();
    socket.terminate();
  }
});
