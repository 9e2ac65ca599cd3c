'use strict';
// Starts build/bin/vantle-lsp as a child process and talks to it the way an
// editor's language client does: through vscode-jsonrpc (Server) or, where a test
// needs to see or send the exact bytes, through a small framing reader of our own
// (RawServer). Every server is checked on close: a sanitizer report on its stderr
// fails the test that started it.

const { spawn, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { pathToFileURL, fileURLToPath } = require('node:url');
const rpc = require('vscode-jsonrpc/node');

const SERVER = process.env.VANTLE_LSP;
const SOURCE_DIR = process.env.VANTLE_SOURCE_DIR || path.resolve(__dirname, '..', '..', '..');
const ASSIST = process.env.VANTLE_ASSIST || (SERVER && path.join(path.dirname(SERVER), 'vantle-assist'));
// Sanitizer builds answer slower; one number for every wait.
const TIMEOUT = Number(process.env.VANTLE_LSP_TIMEOUT_MS || 20000);

if (!SERVER) throw new Error('VANTLE_LSP is not set: it names the vantle-lsp binary under test');
if (!fs.existsSync(SERVER)) throw new Error(`VANTLE_LSP names ${SERVER}, which does not exist (is vantle-lsp built?)`);

const SANITIZER_REPORT = /ERROR: (AddressSanitizer|LeakSanitizer|MemorySanitizer|ThreadSanitizer)|runtime error:|SUMMARY: \w+Sanitizer/;

function sleep(ms) {
  return new Promise((resolve) => setTimeout(resolve, ms));
}

// Resolves with what `promise` gives, or rejects naming `what` after `ms`.
function withTimeout(promise, what, ms = TIMEOUT, stderr = () => '') {
  let timer;
  const timeout = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`${what}: no answer within ${ms} ms${tail(stderr())}`)), ms);
  });
  return Promise.race([promise, timeout]).finally(() => clearTimeout(timer));
}

function tail(text) {
  if (!text) return '';
  return `\n--- server stderr (last 2000 bytes) ---\n${text.slice(-2000)}`;
}

// Polls `probe` until it returns a truthy value; rejects naming `what` otherwise.
async function eventually(probe, what, ms = TIMEOUT) {
  const end = Date.now() + ms;
  let last;
  for (;;) {
    last = await probe();
    if (last) return last;
    if (Date.now() > end) throw new Error(`${what}: not reached within ${ms} ms`);
    await sleep(100);
  }
}

class Child {
  constructor(args = [], env = {}) {
    this.args = args;
    this.stderr = '';
    this.child = spawn(SERVER, args, {
      stdio: ['pipe', 'pipe', 'pipe'],
      env: { ...process.env, ...env },
    });
    this.child.stderr.setEncoding('utf8');
    this.child.stderr.on('data', (chunk) => {
      this.stderr += chunk;
    });
    // A write to a server that has gone away must fail the test through its own
    // assertion, not crash the runner with EPIPE.
    this.child.stdin.on('error', () => {});
    this.exited = new Promise((resolve) => {
      this.child.on('exit', (code, signal) => resolve({ code, signal }));
    });
    this.exitStatus = null;
    this.exited.then((status) => {
      this.exitStatus = status;
    });
  }

  get pid() {
    return this.child.pid;
  }

  // Waits for the process to end; kills it (and says so) if it does not.
  async waitExit(what = 'server exit', ms = TIMEOUT) {
    return withTimeout(this.exited, what, ms, () => this.stderr);
  }

  sanitizerReport() {
    return SANITIZER_REPORT.test(this.stderr) ? this.stderr : null;
  }

  // Ends the process if it still runs and fails on a sanitizer report.
  async finish() {
    if (this.exitStatus === null) {
      this.child.stdin.end();
      let timer;
      const ended = await Promise.race([this.exited, new Promise((resolve) => { timer = setTimeout(() => resolve(null), 3000); })]);
      clearTimeout(timer);
      if (ended === null) {
        this.child.kill('SIGKILL');
        await this.exited;
      }
    }
    const report = this.sanitizerReport();
    if (report) throw new Error(`the server reported a sanitizer error:\n${report.slice(-6000)}`);
  }
}

// A client on vscode-jsonrpc, the library editors' language clients are built on.
class Server extends Child {
  constructor({ args = [], env = {}, configuration } = {}) {
    super(args, env);
    this.connection = rpc.createMessageConnection(
      new rpc.StreamMessageReader(this.child.stdout),
      new rpc.StreamMessageWriter(this.child.stdin),
    );
    this.diagnostics = new Map(); // uri -> every publishDiagnostics, in order
    this.diagnosticWaiters = [];
    this.configuration = configuration; // (items) => result of workspace/configuration
    this.configurationRequests = [];
    this.registrations = [];
    this.logMessages = [];
    this.versions = new Map();
    this.connection.onNotification('textDocument/publishDiagnostics', (params) => {
      const list = this.diagnostics.get(params.uri) || [];
      list.push(params.diagnostics);
      this.diagnostics.set(params.uri, list);
      for (const waiter of [...this.diagnosticWaiters]) waiter();
    });
    this.connection.onNotification('window/logMessage', (params) => this.logMessages.push(params));
    this.connection.onNotification('window/showMessage', (params) => this.logMessages.push(params));
    this.connection.onRequest('workspace/configuration', (params) => {
      this.configurationRequests.push(params);
      if (!this.configuration) return params.items.map(() => null);
      return this.configuration(params.items);
    });
    this.connection.onRequest('client/registerCapability', (params) => {
      this.registrations.push(...params.registrations);
      return null;
    });
    this.connection.onRequest('client/unregisterCapability', () => null);
    this.connection.onRequest('window/workDoneProgress/create', () => null);
    this.connection.onNotification(() => {}); // $/progress, $/logTrace and the like
    this.connection.onError(() => {});
    this.connection.onClose(() => {});
    this.connection.listen();
  }

  request(method, params, token) {
    const sent = token === undefined
      ? this.connection.sendRequest(method, params)
      : this.connection.sendRequest(method, params, token);
    return withTimeout(sent, `request ${method}`, TIMEOUT, () => this.stderr);
  }

  notify(method, params) {
    return this.connection.sendNotification(method, params);
  }

  // initialize + initialized. `capabilities` are merged over a typical editor's.
  async initialize({ capabilities = {}, initializationOptions, rootUri = null, positionEncodings } = {}) {
    const general = positionEncodings ? { positionEncodings } : {};
    const caps = {
      general,
      workspace: { configuration: false, didChangeConfiguration: { dynamicRegistration: false }, ...capabilities.workspace },
      textDocument: {
        synchronization: { didSave: false, dynamicRegistration: false },
        completion: { completionItem: { snippetSupport: false, labelDetailsSupport: true }, contextSupport: true },
        hover: { contentFormat: ['markdown', 'plaintext'] },
        signatureHelp: {
          signatureInformation: { documentationFormat: ['markdown', 'plaintext'], parameterInformation: { labelOffsetSupport: true }, activeParameterSupport: true },
          contextSupport: true,
        },
        definition: { linkSupport: false },
        publishDiagnostics: { relatedInformation: true },
        ...capabilities.textDocument,
      },
    };
    const params = { processId: process.pid, clientInfo: { name: 'vantle-lsp-tests', version: '1' }, rootUri, capabilities: caps };
    if (initializationOptions !== undefined) params.initializationOptions = initializationOptions;
    const result = await this.request('initialize', params);
    this.initializeResult = result;
    await this.notify('initialized', {});
    return result;
  }

  // Waits until the dictionary has loaded in the background: until a workspace
  // symbol query for `query` finds something.
  async ready(query = 'Order') {
    await eventually(async () => {
      const symbols = await this.request('workspace/symbol', { query });
      return symbols && symbols.length > 0;
    }, `the dictionary loaded (a workspace symbol for ${JSON.stringify(query)})`);
  }

  async open(uri, text, languageId = 'vantle') {
    this.versions.set(uri, 1);
    await this.notify('textDocument/didOpen', { textDocument: { uri, languageId, version: 1, text } });
  }

  async change(uri, contentChanges) {
    const version = (this.versions.get(uri) || 1) + 1;
    this.versions.set(uri, version);
    await this.notify('textDocument/didChange', { textDocument: { uri, version }, contentChanges });
  }

  async close(uri) {
    await this.notify('textDocument/didClose', { textDocument: { uri } });
  }

  async configure(settings) {
    await this.notify('workspace/didChangeConfiguration', { settings });
  }

  completion(uri, position, context = { triggerKind: 1 }) {
    return this.request('textDocument/completion', { textDocument: { uri }, position, context });
  }

  async completionItems(uri, position, context) {
    const result = await this.completion(uri, position, context);
    if (result === null || result === undefined) return [];
    return Array.isArray(result) ? result : result.items;
  }

  hover(uri, position) {
    return this.request('textDocument/hover', { textDocument: { uri }, position });
  }

  signatureHelp(uri, position, context = { triggerKind: 1, isRetrigger: false }) {
    return this.request('textDocument/signatureHelp', { textDocument: { uri }, position, context });
  }

  definition(uri, position) {
    return this.request('textDocument/definition', { textDocument: { uri }, position });
  }

  // The latest diagnostics published for `uri` (undefined before any).
  latestDiagnostics(uri) {
    const list = this.diagnostics.get(uri);
    return list ? list[list.length - 1] : undefined;
  }

  // Waits until the latest diagnostics published for `uri` satisfy `predicate`.
  waitDiagnostics(uri, predicate, what = `diagnostics for ${uri}`, ms = TIMEOUT) {
    return new Promise((resolve, reject) => {
      const check = () => {
        const latest = this.latestDiagnostics(uri);
        if (latest !== undefined && predicate(latest)) {
          cleanup();
          resolve(latest);
          return true;
        }
        return false;
      };
      const timer = setTimeout(() => {
        cleanup();
        const latest = this.latestDiagnostics(uri);
        reject(new Error(`${what}: not published within ${ms} ms; latest for the document: ${JSON.stringify(latest)}${tail(this.stderr)}`));
      }, ms);
      const cleanup = () => {
        clearTimeout(timer);
        this.diagnosticWaiters = this.diagnosticWaiters.filter((w) => w !== check);
      };
      if (!check()) this.diagnosticWaiters.push(check);
    });
  }

  // shutdown + exit; resolves with the exit status.
  async shutdownAndExit() {
    await this.request('shutdown', null);
    await this.notify('exit', null);
    return this.waitExit('exit after shutdown');
  }

  async finish() {
    if (this.exitStatus === null) {
      try {
        const status = await withTimeout(this.shutdownAndExit(), 'shutdown on close', 5000);
        this.connection.dispose();
        await super.finish();
        if (status.code !== 0) throw new Error(`the server exited with ${JSON.stringify(status)} after shutdown and exit${tail(this.stderr)}`);
        return;
      } catch (error) {
        this.connection.dispose();
        await super.finish();
        throw error;
      }
    }
    this.connection.dispose();
    await super.finish();
  }
}

// Runs `body(server)` on an initialized server whose dictionary has loaded (a
// workspace symbol query for `ready` finds something; null: no wait) and closes
// it cleanly afterwards (shutdown, exit, exit code 0, no sanitizer report).
async function withServer(options, body) {
  const { initialize = {}, ready = 'Order', ...serverOptions } = options || {};
  const server = new Server(serverOptions);
  await runThenFinish(server, async () => {
    await server.initialize(initialize);
    if (ready !== null) await server.ready(ready);
    await body(server);
  });
}

// Frames JSON-RPC messages by hand and reads the server's output byte for byte.
class RawServer extends Child {
  constructor(args = [], env = {}) {
    super(args, env);
    this.buffer = Buffer.alloc(0);
    this.messages = [];
    this.waiters = [];
    this.framingErrors = [];
    this.child.stdout.on('data', (chunk) => {
      this.buffer = Buffer.concat([this.buffer, chunk]);
      this.parse();
    });
  }

  parse() {
    for (;;) {
      const end = this.buffer.indexOf('\r\n\r\n');
      if (end < 0) return;
      const header = this.buffer.subarray(0, end).toString('ascii');
      const match = /^Content-Length: (\d+)$/im.exec(header);
      if (!match || !/^Content-Length:/.test(header)) {
        this.framingErrors.push(`a header block the client cannot read: ${JSON.stringify(header)}`);
      }
      const length = match ? Number(match[1]) : 0;
      if (this.buffer.length < end + 4 + length) return;
      const body = this.buffer.subarray(end + 4, end + 4 + length).toString('utf8');
      this.buffer = this.buffer.subarray(end + 4 + length);
      try {
        this.messages.push(JSON.parse(body));
      } catch (error) {
        this.framingErrors.push(`a body that is not JSON: ${JSON.stringify(body)}`);
      }
      for (const waiter of [...this.waiters]) waiter();
    }
  }

  sendBytes(bytes) {
    this.child.stdin.write(bytes);
  }

  static frame(message) {
    const body = Buffer.from(typeof message === 'string' ? message : JSON.stringify(message), 'utf8');
    return Buffer.concat([Buffer.from(`Content-Length: ${body.length}\r\n\r\n`, 'ascii'), body]);
  }

  send(message) {
    this.sendBytes(RawServer.frame(message));
  }

  request(id, method, params) {
    const message = { jsonrpc: '2.0', id, method };
    if (params !== undefined) message.params = params;
    this.send(message);
  }

  notify(method, params) {
    const message = { jsonrpc: '2.0', method };
    if (params !== undefined) message.params = params;
    this.send(message);
  }

  // Waits for the first message (not yet taken) that satisfies `predicate` and
  // takes it.
  take(predicate, what, ms = TIMEOUT) {
    return new Promise((resolve, reject) => {
      const check = () => {
        const index = this.messages.findIndex(predicate);
        if (index < 0) return false;
        const [message] = this.messages.splice(index, 1);
        cleanup();
        resolve(message);
        return true;
      };
      const timer = setTimeout(() => {
        cleanup();
        reject(new Error(`${what}: nothing within ${ms} ms; unclaimed messages: ${JSON.stringify(this.messages).slice(0, 2000)}; exit: ${JSON.stringify(this.exitStatus)}${tail(this.stderr)}`));
      }, ms);
      const cleanup = () => {
        clearTimeout(timer);
        this.waiters = this.waiters.filter((w) => w !== check);
      };
      if (!check()) this.waiters.push(check);
    });
  }

  response(id, what = `the response to request ${JSON.stringify(id)}`) {
    return this.take((m) => 'id' in m && !('method' in m) && m.id === id, what);
  }

  // Responses (not notifications, not server requests) not yet taken.
  pendingResponses() {
    return this.messages.filter((m) => !('method' in m));
  }

  async initialize(id = 'init', params = {}) {
    this.request(id, 'initialize', { processId: process.pid, rootUri: null, capabilities: {}, ...params });
    const response = await this.response(id);
    this.notify('initialized', {});
    return response;
  }

  // Waits until the bundled dictionary has loaded in the background.
  async ready() {
    let n = 0;
    await eventually(async () => {
      const id = `ready-${++n}`;
      this.request(id, 'workspace/symbol', { query: 'Order' });
      const response = await this.response(id);
      return Array.isArray(response.result) && response.result.length > 0;
    }, 'the dictionary loaded (a workspace symbol for "Order")');
  }
}

async function withRaw(args, body) {
  const server = new RawServer(args);
  await runThenFinish(server, () => body(server));
}

// Runs `work`, then always ends the server; the first failure of the two is thrown.
async function runThenFinish(server, work) {
  let failure = null;
  try {
    await work();
  } catch (error) {
    failure = error;
  }
  try {
    await server.finish();
  } catch (error) {
    if (!failure) failure = error;
  }
  if (failure) throw failure;
}

// A document with one cursor marked `|`: the text without it and the cursor as
// an LSP position in the given encoding.
function cursor(marked, encoding = 'utf-16') {
  const offset = marked.indexOf('|');
  if (offset < 0 || marked.indexOf('|', offset + 1) >= 0) throw new Error(`expected one | in ${JSON.stringify(marked)}`);
  const text = marked.slice(0, offset) + marked.slice(offset + 1);
  return { text, position: positionAt(text, offset, encoding) };
}

// The LSP position of a UTF-16 string offset: \n, \r\n and \r each end a line.
function positionAt(text, offset, encoding = 'utf-16') {
  let line = 0;
  let start = 0;
  for (let i = 0; i < offset; i++) {
    const c = text[i];
    if (c === '\r' && text[i + 1] === '\n') {
      if (i + 1 < offset) {
        i++;
        line++;
        start = i + 1;
      }
    } else if (c === '\n' || c === '\r') {
      line++;
      start = i + 1;
    }
  }
  return { line, character: units(text.slice(start, offset), encoding) };
}

function units(text, encoding) {
  if (encoding === 'utf-16') return text.length;
  if (encoding === 'utf-8') return Buffer.byteLength(text, 'utf8');
  if (encoding === 'utf-32') return [...text].length;
  throw new Error(`unknown encoding ${encoding}`);
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

// Member names as the component lists them.
function assistMembers(className, ...options) {
  const answer = assist('members', className, ...options);
  return (answer.members || []).map((member) => member.name);
}

function assistSignature(className, method, argument) {
  const answer = argument === undefined ? assist('signature', className, method) : assist('signature', className, method, String(argument));
  return answer;
}

function assistClasses(prefix) {
  const answer = assist('classes', prefix);
  return (answer.classes || []).map((entry) => entry.name);
}

// A new folder under the system's temporary folder, removed when the test file ends.
// The default prefix holds a space, so that paths must be percent-encoded in URIs.
const tempDirs = [];
process.on('exit', () => {
  for (const dir of tempDirs) fs.rmSync(dir, { recursive: true, force: true });
});
function tempDir(prefix = 'vantle lsp ') {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), prefix));
  tempDirs.push(dir);
  return dir;
}

function uriOf(file) {
  return pathToFileURL(file).href;
}

// Text of the whole document where a location points, for checking definitions.
function textAt(uri, range) {
  const text = fs.readFileSync(fileURLToPath(uri), 'utf8');
  const lines = text.split(/\r\n|\n|\r/);
  if (range.start.line !== range.end.line) throw new Error(`expected a one-line range, got ${JSON.stringify(range)}`);
  return lines[range.start.line].slice(range.start.character, range.end.character);
}

// Locations of a definition answer, whatever its form (Location, Location[],
// LocationLink[]).
function locations(result) {
  if (!result) return [];
  const list = Array.isArray(result) ? result : [result];
  return list.map((l) => ('targetUri' in l ? { uri: l.targetUri, range: l.targetSelectionRange || l.targetRange } : l));
}

// The text a client inserts for a completion item at `line`/`character` of a
// one-line document: textEdit when given, otherwise insertText or label over the
// identifier left of the cursor (letters, digits, `_`, a leading `%`).
function applyCompletion(lineText, character, item) {
  let start = character;
  let end = character;
  let newText;
  if (item.textEdit) {
    const range = item.textEdit.range || item.textEdit.replace;
    start = range.start.character;
    end = range.end.character;
    newText = item.textEdit.newText;
  } else {
    while (start > 0 && /[A-Za-z0-9_]/.test(lineText[start - 1])) start--;
    if (start > 0 && lineText[start - 1] === '%') start--;
    newText = item.insertText !== undefined && item.insertText !== null ? item.insertText : item.label;
  }
  return lineText.slice(0, start) + newText + lineText.slice(end);
}

// Asserts two lists of names hold the same names, naming the ones that differ.
function assertSameNames(actual, expected, what) {
  const extra = actual.filter((name) => !expected.includes(name));
  const missing = expected.filter((name) => !actual.includes(name));
  if (extra.length || missing.length || actual.length !== expected.length) {
    throw new Error(`${what}: ${extra.length ? `not expected: ${extra.join(' ')}; ` : ''}${missing.length ? `missing: ${missing.join(' ')}; ` : ''}got ${actual.join(' ')}`);
  }
}

function markdown(hover) {
  if (!hover) return null;
  const { contents } = hover;
  if (typeof contents === 'string') return contents;
  if (Array.isArray(contents)) return contents.map((c) => (typeof c === 'string' ? c : c.value)).join('\n');
  return contents.value;
}

module.exports = {
  SERVER,
  ASSIST,
  SOURCE_DIR,
  TIMEOUT,
  Server,
  RawServer,
  withServer,
  withRaw,
  cursor,
  positionAt,
  units,
  assist,
  assistMembers,
  assistSignature,
  assistClasses,
  tempDir,
  uriOf,
  textAt,
  locations,
  applyCompletion,
  markdown,
  assertSameNames,
  eventually,
  sleep,
  withTimeout,
  rpc,
  fileURLToPath,
};
