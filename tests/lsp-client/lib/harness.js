'use strict';
// Starts build/bin/vantle-lsp as a child process and talks to it the way an
// editor's language client does: through vscode-jsonrpc (Server) or, where a test
// needs to send or see the exact bytes, through a framing reader of our own
// (RawServer). Every server is ended on close: shutdown and exit with code 0 for a
// Server, and a sanitizer report on its stderr fails the test that started it.

const assert = require('node:assert/strict');
const { spawn, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { pathToFileURL, fileURLToPath } = require('node:url');
const rpc = require('vscode-jsonrpc/node');

const SERVER = process.env.VANTLE_LSP;
const ASSIST = process.env.VANTLE_ASSIST;
const SOURCE_DIR = process.env.VANTLE_SOURCE_DIR;
// Sanitizer builds answer slower; one number for every wait.
const TIMEOUT = Number(process.env.VANTLE_LSP_TIMEOUT_MS || 20000);
if (!SERVER || !fs.existsSync(SERVER)) throw new Error(`VANTLE_LSP must name the vantle-lsp binary under test (is it built?): ${SERVER}`);

const SANITIZER_REPORT = /ERROR: \w+Sanitizer|runtime error:|SUMMARY: \w+Sanitizer/;

// Resolves with what `promise` gives, or rejects naming `what` after TIMEOUT.
function withTimeout(promise, what, stderr = () => '') {
  let timer;
  const timeout = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`${what}: nothing within ${TIMEOUT} ms\n--- server stderr ---\n${stderr().slice(-2000)}`)), TIMEOUT);
  });
  return Promise.race([promise, timeout]).finally(() => clearTimeout(timer));
}

// Asks `probe` again, 100 ms apart, until it answers truthy: for what no message announces.
async function eventually(probe, what) {
  for (const end = Date.now() + TIMEOUT; !(await probe());) {
    if (Date.now() > end) throw new Error(`${what}: not reached within ${TIMEOUT} ms`);
    await new Promise((resolve) => setTimeout(resolve, 100));
  }
}

class Child {
  constructor(args) {
    this.stderr = '';
    this.child = spawn(SERVER, args, { stdio: ['pipe', 'pipe', 'pipe'] });
    this.child.stderr.setEncoding('utf8');
    this.child.stderr.on('data', (chunk) => { this.stderr += chunk; });
    // A write to a server that has gone away fails the test by its assertions, not by EPIPE.
    this.child.stdin.on('error', () => {});
    this.exitStatus = null;
    this.exited = new Promise((resolve) => this.child.on('exit', (code, signal) => resolve(this.exitStatus = { code, signal })));
  }

  waitExit() {
    return withTimeout(this.exited, 'server exit', () => this.stderr);
  }

  // Closes the input of a server still running, kills it if that does not end it,
  // and fails on a sanitizer report.
  async finish() {
    if (this.exitStatus === null) {
      this.child.stdin.end();
      const timer = setTimeout(() => this.child.kill('SIGKILL'), 3000);
      await this.exited;
      clearTimeout(timer);
    }
    if (SANITIZER_REPORT.test(this.stderr)) throw new Error(`the server reported a sanitizer error:\n${this.stderr.slice(-6000)}`);
  }
}

// A client on vscode-jsonrpc, the library editors' language clients are built on.
class Server extends Child {
  constructor({ args = [], configuration } = {}) {
    super(args);
    this.connection = rpc.createMessageConnection(new rpc.StreamMessageReader(this.child.stdout), new rpc.StreamMessageWriter(this.child.stdin));
    this.diagnostics = new Map(); // uri -> the latest publishDiagnostics
    this.diagnosticWaiters = new Set();
    this.configurationRequests = [];
    this.connection.onNotification('textDocument/publishDiagnostics', ({ uri, diagnostics }) => {
      this.diagnostics.set(uri, diagnostics);
      for (const waiter of this.diagnosticWaiters) waiter();
    });
    this.connection.onRequest('workspace/configuration', (params) => {
      this.configurationRequests.push(params);
      return params.items.map((item) => (configuration ? configuration(item) : null));
    });
    this.connection.onRequest(() => null); // client/registerCapability and the like
    this.connection.onNotification(() => {}); // window/logMessage and the like
    this.connection.listen();
    this.version = 1;
  }

  request(method, params) {
    return withTimeout(this.connection.sendRequest(method, params), `request ${method}`, () => this.stderr);
  }

  notify(method, params) {
    return this.connection.sendNotification(method, params);
  }

  // initialize (capabilities as given) and initialized; the result of initialize.
  async initialize(capabilities = {}, initializationOptions) {
    const result = await this.request('initialize', { processId: process.pid, rootUri: null, capabilities, initializationOptions });
    await this.notify('initialized', {});
    return result;
  }

  // Waits until the dictionary has loaded in the background: until a workspace
  // symbol query for `query` finds something.
  ready(query = 'Order') {
    return eventually(async () => (await this.request('workspace/symbol', { query })).length > 0, `the dictionary loaded (a symbol ${query})`);
  }

  open(uri, text) {
    return this.notify('textDocument/didOpen', { textDocument: { uri, languageId: 'vantle', version: 1, text } });
  }

  change(uri, contentChanges) {
    return this.notify('textDocument/didChange', { textDocument: { uri, version: ++this.version }, contentChanges });
  }

  configure(settings) {
    return this.notify('workspace/didChangeConfiguration', { settings });
  }

  at(method, uri, position) {
    return this.request(`textDocument/${method}`, { textDocument: { uri }, position });
  }

  async labels(uri, position) {
    return (await this.at('completion', uri, position)).items.map((item) => item.label);
  }

  // The member names offered at the end of `text`, opened as a new document.
  async labelsAfter(text, uri = docUri()) {
    await this.open(uri, text);
    const lines = text.split('\n');
    const labels = await this.labels(uri, { line: lines.length - 1, character: lines[lines.length - 1].length });
    await this.notify('textDocument/didClose', { textDocument: { uri } });
    return labels.sort();
  }

  // Waits until the latest diagnostics published for `uri` satisfy `predicate`.
  waitDiagnostics(uri, predicate, what) {
    let waiter;
    const published = new Promise((resolve) => {
      waiter = () => {
        const latest = this.diagnostics.get(uri);
        if (latest !== undefined && predicate(latest)) resolve(latest);
      };
      this.diagnosticWaiters.add(waiter);
      waiter();
    });
    const latest = () => `latest for ${uri}: ${JSON.stringify(this.diagnostics.get(uri))}\n${this.stderr}`;
    return withTimeout(published, what, latest).finally(() => this.diagnosticWaiters.delete(waiter));
  }

  async finish() {
    try {
      if (this.exitStatus === null) {
        await this.request('shutdown', null);
        await this.notify('exit', null);
        assert.deepEqual(await this.waitExit(), { code: 0, signal: null }, 'exit after shutdown');
      }
    } finally {
      this.connection.dispose();
      await super.finish();
    }
  }
}

// Frames JSON-RPC messages by hand and reads the server's output byte for byte.
class RawServer extends Child {
  constructor(args = []) {
    super(args);
    this.buffer = Buffer.alloc(0);
    this.messages = [];
    this.waiters = new Set();
    this.child.stdout.on('data', (chunk) => {
      this.buffer = Buffer.concat([this.buffer, chunk]);
      for (let match; (match = /^Content-Length: (\d+)\r\n\r\n/.exec(this.buffer.toString('latin1', 0, 40)));) {
        const end = match[0].length + Number(match[1]);
        if (this.buffer.length < end) break;
        this.messages.push(JSON.parse(this.buffer.toString('utf8', match[0].length, end)));
        this.buffer = this.buffer.subarray(end);
      }
      for (const waiter of this.waiters) waiter();
    });
  }

  static frame(message) {
    const body = Buffer.from(typeof message === 'string' ? message : JSON.stringify(message), 'utf8');
    return Buffer.concat([Buffer.from(`Content-Length: ${body.length}\r\n\r\n`), body]);
  }

  send(...messages) {
    this.child.stdin.write(Buffer.concat(messages.map((m) => (Buffer.isBuffer(m) ? m : RawServer.frame(m)))));
  }

  request(id, method, params) {
    this.send({ jsonrpc: '2.0', id, method, params });
  }

  notify(method, params) {
    this.send({ jsonrpc: '2.0', method, params });
  }

  // Waits for the first message not yet taken that satisfies `predicate`, and takes it.
  take(predicate, what) {
    let waiter;
    const found = new Promise((resolve) => {
      waiter = () => {
        const index = this.messages.findIndex(predicate);
        if (index >= 0) resolve(this.messages.splice(index, 1)[0]);
      };
      this.waiters.add(waiter);
      waiter();
    });
    const unclaimed = () => `unclaimed: ${JSON.stringify(this.messages).slice(0, 2000)}\n${this.stderr}`;
    return withTimeout(found, what, unclaimed).finally(() => this.waiters.delete(waiter));
  }

  response(id) {
    return this.take((m) => m.id === id && !('method' in m), `the response to ${JSON.stringify(id)}`);
  }

  async initialize(id = 'init') {
    this.request(id, 'initialize', { processId: null, rootUri: null, capabilities: {} });
    const response = await this.response(id);
    this.notify('initialized', {});
    return response;
  }

  // Waits until the dictionary has loaded: a workspace symbol query finds `query`.
  ready(query = 'Order') {
    let asked = 0;
    return eventually(async () => {
      const id = `ready-${asked++}`;
      this.request(id, 'workspace/symbol', { query });
      const { result } = await this.response(id);
      return Array.isArray(result) && result.length > 0;
    }, `the dictionary loaded (a symbol ${query})`);
  }
}

// Runs `body(server)` and always ends the server; the first failure of the two is thrown.
async function using(server, body) {
  let failure = null;
  try {
    await body(server);
  } catch (error) {
    failure = error;
  }
  try {
    await server.finish();
  } catch (error) {
    failure = failure || error;
  }
  if (failure) throw failure;
}

// An initialized server whose dictionary has loaded (`ready`: a symbol it holds; null: no wait).
function withServer({ capabilities, initializationOptions, ready = 'Order', ...options }, body) {
  return using(new Server(options), async (server) => {
    await server.initialize(capabilities, initializationOptions);
    if (ready) await server.ready(ready);
    await body(server);
  });
}

const withRaw = (body) => using(new RawServer(), body);

// A document with one cursor marked `|`: the text without it and the cursor as
// an LSP position counted in `encoding`.
function cursor(marked, encoding = 'utf-16') {
  const offset = marked.indexOf('|');
  const text = marked.slice(0, offset) + marked.slice(offset + 1);
  const lines = marked.slice(0, offset).split(/\r\n|\n|\r/);
  return { text, position: { line: lines.length - 1, character: units(lines[lines.length - 1], encoding) } };
}

function units(text, encoding) {
  return { 'utf-8': Buffer.byteLength(text, 'utf8'), 'utf-16': text.length, 'utf-32': [...text].length }[encoding];
}

// The component's own answer, through the host tool: one JSON document, exit 0
// (found) or 1 (not found); anything else is a failure of the tool.
function assist(...args) {
  const run = spawnSync(ASSIST, [...args, '--json'], { encoding: 'utf8' });
  if (run.status !== 0 && run.status !== 1) {
    throw new Error(`vantle-assist ${args.join(' ')} exited ${run.status}: ${run.stdout}${run.stderr}`);
  }
  return JSON.parse(run.stdout);
}

// Member names or class names as the component lists them, sorted.
function assistList(...args) {
  const answer = assist(...args);
  return (answer.members || answer.classes || []).map((entry) => entry.name).sort();
}

// A new folder, removed when the test file ends; the space in its name must be
// percent-encoded in URIs.
const tempDirs = [];
process.on('exit', () => tempDirs.forEach((dir) => fs.rmSync(dir, { recursive: true, force: true })));
function tempDir() {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'vantle lsp '));
  tempDirs.push(dir);
  return dir;
}

const uriOf = (file) => pathToFileURL(file).href;
let documents = 0;
const docUri = () => uriOf(path.join(os.tmpdir(), `vantle-doc-${process.pid}-${++documents}.txt`));

// The text a one-line location selects in its file, without quotes.
function textAt({ uri, range }) {
  const lines = fs.readFileSync(fileURLToPath(uri), 'utf8').split('\n');
  assert.equal(range.start.line, range.end.line, 'a one-line range');
  return lines[range.start.line].slice(range.start.character, range.end.character).replace(/^"|"$/g, '');
}

const hoverText = (hover) => (hover ? hover.contents.value : null);

module.exports = {
  SOURCE_DIR, Server, RawServer, withServer, withRaw, using, eventually, cursor, units, assist, assistList,
  tempDir, uriOf, docUri, textAt, hoverText, fileURLToPath, assert,
};
