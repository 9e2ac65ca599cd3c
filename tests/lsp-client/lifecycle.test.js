'use strict';
// The protocol's lifecycle as the server sees it from a client: what it offers in
// initialize, what it refuses before initialize and after shutdown, and how it ends.

const { describe, it } = require('node:test');
const assert = require('node:assert/strict');
const { RawServer, Server, withRaw, TIMEOUT } = require('./lib/harness');

const SERVER_NOT_INITIALIZED = -32002;
const INVALID_REQUEST = -32600;
const METHOD_NOT_FOUND = -32601;

const hoverParams = { textDocument: { uri: 'file:///nowhere/doc.txt' }, position: { line: 0, character: 0 } };

describe('initialize', () => {
  it('announces every capability the server implements', async () => {
    await withRaw([], async (server) => {
      const { result, error } = await server.initialize(1);
      assert.equal(error, undefined);
      const caps = result.capabilities;
      assert.equal(caps.positionEncoding, 'utf-16', 'a client offering no encoding gets utf-16');
      assert.equal(typeof caps.textDocumentSync, 'object', 'textDocumentSync as options, with openClose');
      assert.equal(caps.textDocumentSync.change, 2, 'incremental document sync');
      assert.equal(caps.textDocumentSync.openClose, true);
      assert.deepEqual(caps.completionProvider.triggerCharacters, ['.']);
      assert.equal(caps.completionProvider.resolveProvider, true);
      assert.deepEqual([...caps.signatureHelpProvider.triggerCharacters].sort(), ['(', ',']);
      for (const provider of ['hoverProvider', 'definitionProvider', 'workspaceSymbolProvider']) {
        assert.ok(caps[provider], `${provider} is offered`);
      }
      server.request(2, 'shutdown');
      assert.deepEqual((await server.response(2)).result, null);
      server.notify('exit');
      assert.deepEqual(await server.waitExit(), { code: 0, signal: null });
    });
  });

  it('answers a client that sends initialize with string ids and no optional fields', async () => {
    await withRaw([], async (server) => {
      server.request('first', 'initialize', { processId: null, rootUri: null, capabilities: {} });
      const response = await server.response('first');
      assert.equal(response.jsonrpc, '2.0');
      assert.ok(response.result && response.result.capabilities, JSON.stringify(response));
    });
  });
});

describe('before initialize', () => {
  it('refuses requests with -32002 and still initializes afterwards', async () => {
    await withRaw([], async (server) => {
      server.request(1, 'textDocument/hover', hoverParams);
      server.request(2, 'workspace/symbol', { query: 'Order' });
      server.request(3, 'shutdown');
      for (const id of [1, 2, 3]) {
        const response = await server.response(id);
        assert.equal(response.error && response.error.code, SERVER_NOT_INITIALIZED, `request ${id}: ${JSON.stringify(response)}`);
        assert.equal('result' in response, false, 'an error response carries no result');
      }
      const init = await server.initialize(4);
      assert.ok(init.result.capabilities, JSON.stringify(init));
      server.request(5, 'workspace/symbol', { query: 'Order' });
      const symbols = await server.response(5);
      assert.equal(symbols.error, undefined, JSON.stringify(symbols));
    });
  });

  it('ends with exit code 1 on exit without initialize', async () => {
    const server = new RawServer();
    try {
      server.notify('exit');
      assert.deepEqual(await server.waitExit(), { code: 1, signal: null });
    } finally {
      await server.finish();
    }
  });
});

describe('while running', () => {
  it('answers an unknown request with -32601, a $/ request too', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.request(10, 'vantle/noSuchRequest', {});
      server.request(11, '$/noSuchRequest', {});
      for (const id of [10, 11]) {
        const response = await server.response(id);
        assert.equal(response.error && response.error.code, METHOD_NOT_FOUND, JSON.stringify(response));
      }
    });
  });

  it('ignores unknown notifications without answering them', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.notify('vantle/noSuchNotification', { x: 1 });
      server.notify('$/noSuchNotification', {});
      server.request(20, 'workspace/symbol', { query: 'Order' });
      const response = await server.response(20);
      assert.equal(response.error, undefined, JSON.stringify(response));
      assert.deepEqual(server.pendingResponses(), [], 'no response to a notification');
    });
  });

  it('keeps ids as sent: numbers, strings, zero', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.request(0, 'workspace/symbol', { query: 'Order' });
      server.request('0', 'workspace/symbol', { query: 'Order' });
      server.request('id with "quotes" and ünïcode', 'workspace/symbol', { query: 'Order' });
      for (const id of [0, '0', 'id with "quotes" and ünïcode']) {
        const response = await server.response(id);
        assert.ok(Array.isArray(response.result), JSON.stringify(response));
      }
    });
  });
});

describe('shutdown and exit', () => {
  it('refuses requests after shutdown with -32600, then exits with 0', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.request(30, 'shutdown');
      const shutdown = await server.response(30);
      assert.equal(shutdown.error, undefined, JSON.stringify(shutdown));
      assert.equal(shutdown.result, null, 'shutdown answers null');
      server.request(31, 'textDocument/hover', hoverParams);
      server.request(32, 'shutdown');
      for (const id of [31, 32]) {
        const response = await server.response(id);
        assert.equal(response.error && response.error.code, INVALID_REQUEST, JSON.stringify(response));
      }
      server.notify('textDocument/didOpen', { textDocument: { uri: 'file:///x.txt', languageId: 'vantle', version: 1, text: 'Shop.Order.' } });
      server.notify('exit');
      assert.deepEqual(await server.waitExit(), { code: 0, signal: null });
    });
  });

  it('exits with 1 on exit without shutdown', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.notify('exit');
      assert.deepEqual(await server.waitExit(), { code: 1, signal: null });
    });
  });

  it('ends by itself when the client closes the pipe', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.child.stdin.end();
      const status = await server.waitExit('exit after the client closed stdin', Math.min(TIMEOUT, 10000));
      assert.equal(status.signal, null, `ended by a signal: ${JSON.stringify(status)}`);
    });
  });

  it('ends by itself when the pipe closes in the middle of a message', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.sendBytes(Buffer.from('Content-Length: 100\r\n\r\n{"jsonrpc":"2.0","id":1,'));
      server.child.stdin.end();
      const status = await server.waitExit('exit after a cut-off message', Math.min(TIMEOUT, 10000));
      assert.equal(status.signal, null, `ended by a signal: ${JSON.stringify(status)}`);
    });
  });

  it('shuts down through vscode-jsonrpc like an editor', async () => {
    const server = new Server();
    try {
      await server.initialize();
      assert.deepEqual(await server.shutdownAndExit(), { code: 0, signal: null });
    } finally {
      await server.finish();
    }
  });
});
