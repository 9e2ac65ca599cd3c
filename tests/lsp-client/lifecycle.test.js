'use strict';
// The protocol's lifecycle on the wire: what the server offers in initialize, the
// error codes of requests it refuses, how it ends and with which exit code.

const { it } = require('node:test');
const { RawServer, withRaw, using, assert } = require('./lib/harness');

const hover = { textDocument: { uri: 'file:///nowhere/doc.txt' }, position: { line: 0, character: 0 } };
const errorCode = (response) => response.error && response.error.code;

it('refuses with -32002 before initialize, -32600 after shutdown, -32601 for unknown methods', async () => {
  await withRaw(async (server) => {
    server.request(1, 'textDocument/hover', hover);
    server.notify('textDocument/didOpen', { textDocument: { uri: 'file:///x.txt', languageId: 'x', version: 1, text: 'Shop.Order.Nope' } });
    assert.equal(errorCode(await server.response(1)), -32002);
    const { result } = await server.initialize(2);
    assert.deepEqual(result.capabilities, {
      positionEncoding: 'utf-16',
      textDocumentSync: { openClose: true, change: 2 },
      completionProvider: { triggerCharacters: ['.'], resolveProvider: true },
      signatureHelpProvider: { triggerCharacters: ['(', ','] },
      hoverProvider: true,
      definitionProvider: true,
      workspaceSymbolProvider: true,
    });
    server.request(3, 'initialize', { capabilities: {} });
    server.request(4, 'vantle/noSuchRequest', {});
    server.request(5, '$/noSuchRequest', {});
    server.notify('vantle/noSuchNotification', {});
    // Ids come back as sent: 0 and "0" are two requests.
    server.request(0, 'workspace/symbol', { query: 'Order' });
    server.request('0', 'workspace/symbol', { query: 'Order' });
    server.request('a "quoted" ünïcode id', 'workspace/symbol', { query: 'Order' });
    server.request(6, 'shutdown');
    server.request(7, 'textDocument/hover', hover);
    assert.deepEqual((await Promise.all([3, 4, 5].map((id) => server.response(id)))).map(errorCode), [-32600, -32601, -32601]);
    for (const id of [0, '0', 'a "quoted" ünïcode id']) assert.ok(Array.isArray((await server.response(id)).result), `request ${id}`);
    assert.deepEqual(await server.response(6), { jsonrpc: '2.0', id: 6, result: null });
    assert.equal(errorCode(await server.response(7)), -32600);
    server.notify('exit');
    assert.deepEqual(await server.waitExit(), { code: 0, signal: null });
    assert.deepEqual(server.messages, [], 'nothing else, no diagnostics for the document opened too early');
  });
});

it('exits with 1 on exit without shutdown, before or after initialize', async () => {
  for (const initialized of [false, true]) {
    await using(new RawServer(), async (server) => {
      if (initialized) await server.initialize();
      server.notify('exit');
      assert.deepEqual(await server.waitExit(), { code: 1, signal: null });
    });
  }
});

it('ends by itself when the client closes the pipe, also in the middle of a message', async () => {
  for (const rest of ['', 'Content-Length: 100\r\n\r\n{"jsonrpc":"2.0","id":1,']) {
    await using(new RawServer(), async (server) => {
      await server.initialize();
      server.child.stdin.end(rest);
      assert.equal((await server.waitExit()).signal, null);
    });
  }
});
