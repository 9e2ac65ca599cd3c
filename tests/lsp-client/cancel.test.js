'use strict';
// Requests refused before they run: a $/cancelRequest for a request still queued
// answers it with -32800, a didChange of its document with -32801. Every request is
// answered exactly once whether or not the refusal came in time, and a cancellation
// of something already answered or never sent changes nothing.

const { describe, it } = require('node:test');
const assert = require('node:assert/strict');
const { RawServer, withRaw, withServer, rpc, sleep } = require('./lib/harness');

const REQUEST_CANCELLED = -32800;
const CONTENT_MODIFIED = -32801;
const uri = 'file:///cancel/doc.txt';
const completionAt = (id) => ({ jsonrpc: '2.0', id, method: 'textDocument/completion', params: { textDocument: { uri }, position: { line: 0, character: 11 } } });
const cancel = (id) => ({ jsonrpc: '2.0', method: '$/cancelRequest', params: { id } });
const change = { jsonrpc: '2.0', method: 'textDocument/didChange', params: { textDocument: { uri, version: 2 }, contentChanges: [{ text: 'Shop.Order.Add' }] } };

async function opened(server) {
  await server.initialize();
  server.notify('textDocument/didOpen', { textDocument: { uri, languageId: 'vantle', version: 1, text: 'Shop.Order.' } });
}

// Sends the requests and then what refuses them in one write, so that the server
// reads them together and has not answered most of them yet.
async function refuseQueued(server, ids, refusals, allowed) {
  server.sendBytes(Buffer.concat([...ids.map((id) => RawServer.frame(completionAt(id))), ...refusals.map(RawServer.frame)]));
  server.request('after', 'workspace/symbol', { query: 'Order' });
  const after = await server.response('after');
  assert.equal(after.error, undefined, JSON.stringify(after));
  await sleep(200);
  for (const id of ids) {
    const answers = server.messages.filter((m) => m.id === id && !('method' in m));
    assert.equal(answers.length, 1, `request ${JSON.stringify(id)} answered ${answers.length} times`);
    if (answers[0].error) assert.ok(allowed.includes(answers[0].error.code), JSON.stringify(answers[0]));
    else assert.ok('result' in answers[0], JSON.stringify(answers[0]));
  }
  return server.messages.filter((m) => m.error && allowed.includes(m.error.code)).length;
}

describe('requests refused while queued', () => {
  it('answers cancelled requests, by number or string id, with -32800 exactly once', async () => {
    await withRaw([], async (server) => {
      await opened(server);
      const ids = [...Array.from({ length: 150 }, (_, i) => i + 1), ...Array.from({ length: 50 }, (_, i) => `req-${i}`)];
      const refused = await refuseQueued(server, ids, ids.map(cancel), [REQUEST_CANCELLED]);
      assert.ok(refused > 0, 'none of 200 requests cancelled while queued came back as -32800');
      await server.response(7);  // taken, so that the next answer with id 7 is the new one
      server.send(completionAt(7));
      assert.ok('result' in (await server.response(7)), 'the id of a cancelled request is free again');
    });
  });

  it('answers requests about a document changed behind them with -32801', async () => {
    await withRaw([], async (server) => {
      await opened(server);
      const ids = Array.from({ length: 200 }, (_, i) => i + 1);
      const refused = await refuseQueued(server, ids, [change], [CONTENT_MODIFIED]);
      assert.ok(refused > 0, 'none of 200 requests outdated while queued came back as -32801');
      server.send(completionAt('fresh'));
      const fresh = await server.response('fresh');
      assert.ok(fresh.result.items.some((item) => item.label === 'AddLine'), 'a request after the change reads the new text');
    });
  });

  it('ignores cancellations of answered, unknown or missing ids', async () => {
    await withRaw([], async (server) => {
      await opened(server);
      server.send(completionAt(1));
      assert.ok('result' in (await server.response(1)));
      for (const params of [{ id: 1 }, { id: 999 }, { id: 'never' }, {}, undefined]) server.send({ jsonrpc: '2.0', method: '$/cancelRequest', params });
      server.send(completionAt(2));
      assert.ok('result' in (await server.response(2)), 'a request after stray cancellations is served');
      await sleep(100);
      assert.deepEqual(server.pendingResponses(), [], 'no response to a cancellation notification');
    });
  });
});

describe('cancellation through vscode-jsonrpc', () => {
  it('settles a request cancelled by its token with a result or -32800', async () => {
    await withServer({}, async (server) => {
      await server.open(uri, 'Shop.Order.');
      const outcomes = await Promise.all(Array.from({ length: 50 }, () => {
        const source = new rpc.CancellationTokenSource();
        const request = server.request('textDocument/completion', { textDocument: { uri }, position: { line: 0, character: 11 } }, source.token)
          .then(() => 'result', (error) => error.code);
        source.cancel();
        return request;
      }));
      for (const outcome of outcomes) assert.ok(outcome === 'result' || outcome === REQUEST_CANCELLED, `outcome ${outcome}`);
      const items = await server.completionItems(uri, { line: 0, character: 11 });
      assert.ok(items.some((item) => item.label === 'AddLine'), 'still serves completion afterwards');
    });
  });
});
