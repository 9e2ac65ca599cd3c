'use strict';
// $/cancelRequest: a request cancelled while still pending is answered with -32800,
// every request is answered exactly once whether or not its cancellation came in
// time, and a cancellation of something already answered or never sent changes
// nothing.

const { describe, it } = require('node:test');
const assert = require('node:assert/strict');
const { RawServer, withRaw, withServer, rpc, sleep } = require('./lib/harness');

const REQUEST_CANCELLED = -32800;
const uri = 'file:///cancel/doc.txt';
const completionAt = (id) => ({ jsonrpc: '2.0', id, method: 'textDocument/completion', params: { textDocument: { uri }, position: { line: 0, character: 11 } } });
const cancel = (id) => ({ jsonrpc: '2.0', method: '$/cancelRequest', params: { id } });

async function opened(server) {
  await server.initialize();
  server.notify('textDocument/didOpen', { textDocument: { uri, languageId: 'vantle', version: 1, text: 'Shop.Order.' } });
}

function assertAnsweredOnce(server, ids) {
  for (const id of ids) {
    const answers = server.messages.filter((m) => m.id === id && !('method' in m));
    assert.equal(answers.length, 1, `request ${JSON.stringify(id)} answered ${answers.length} times: ${JSON.stringify(answers)}`);
    const [answer] = answers;
    if (answer.error) assert.equal(answer.error.code, REQUEST_CANCELLED, JSON.stringify(answer));
    else assert.ok('result' in answer, JSON.stringify(answer));
  }
}

describe('cancellation of pending requests', () => {
  it('answers requests cancelled in the same write with -32800, each exactly once', async () => {
    await withRaw([], async (server) => {
      await opened(server);
      const ids = Array.from({ length: 200 }, (_, i) => i + 1);
      // Requests first, then their cancellations, all in one write: the server
      // reads them together and has not answered most of them yet.
      server.sendBytes(Buffer.concat([...ids.map((id) => RawServer.frame(completionAt(id))), ...ids.map((id) => RawServer.frame(cancel(id)))]));
      server.request('after', 'workspace/symbol', { query: 'Order' });
      const after = await server.response('after');
      assert.equal(after.error, undefined, JSON.stringify(after));
      await sleep(200);
      assertAnsweredOnce(server, ids);
      const cancelled = server.messages.filter((m) => m.error && m.error.code === REQUEST_CANCELLED);
      assert.ok(cancelled.length > 0, 'none of 200 requests cancelled while queued came back as -32800');
    });
  });

  it('cancels by string id', async () => {
    await withRaw([], async (server) => {
      await opened(server);
      const ids = Array.from({ length: 100 }, (_, i) => `req-${i}`);
      server.sendBytes(Buffer.concat([...ids.map((id) => RawServer.frame(completionAt(id))), ...ids.map((id) => RawServer.frame(cancel(id)))]));
      server.request('after', 'workspace/symbol', { query: 'Order' });
      await server.response('after');
      await sleep(200);
      assertAnsweredOnce(server, ids);
      assert.ok(server.messages.some((m) => m.error && m.error.code === REQUEST_CANCELLED), 'no string-id request came back as -32800');
    });
  });

  it('does not answer or disturb anything when the id was already answered or never sent', async () => {
    await withRaw([], async (server) => {
      await opened(server);
      server.send(completionAt(1));
      const first = await server.response(1);
      assert.ok('result' in first, JSON.stringify(first));
      server.send(cancel(1));
      server.send(cancel(999));
      server.send(cancel('never'));
      server.send({ jsonrpc: '2.0', method: '$/cancelRequest', params: {} });
      server.send({ jsonrpc: '2.0', method: '$/cancelRequest' });
      server.send(completionAt(2));
      const second = await server.response(2);
      assert.ok('result' in second, `a request after stray cancellations is served: ${JSON.stringify(second)}`);
      await sleep(100);
      assert.deepEqual(server.pendingResponses(), [], 'no response to a cancellation notification');
    });
  });

  it('serves a request with the id of an earlier cancelled one', async () => {
    await withRaw([], async (server) => {
      await opened(server);
      server.sendBytes(Buffer.concat([RawServer.frame(completionAt(7)), RawServer.frame(cancel(7))]));
      await server.response(7);
      server.send(completionAt(7));
      const again = await server.response(7);
      assert.ok('result' in again, `the id is free again once answered: ${JSON.stringify(again)}`);
    });
  });
});

describe('cancellation through vscode-jsonrpc', () => {
  it('settles a request cancelled by its token with a result or -32800', async () => {
    await withServer({}, async (server) => {
      await server.open(uri, 'Shop.Order.');
      const outcomes = [];
      const pending = [];
      for (let i = 0; i < 50; i++) {
        const source = new rpc.CancellationTokenSource();
        pending.push(server.request('textDocument/completion', { textDocument: { uri }, position: { line: 0, character: 11 } }, source.token)
          .then(() => outcomes.push('result'), (error) => outcomes.push(error.code)));
        source.cancel();
      }
      await Promise.all(pending);
      assert.equal(outcomes.length, 50);
      for (const outcome of outcomes) assert.ok(outcome === 'result' || outcome === REQUEST_CANCELLED, `outcome ${outcome}`);
      const items = await server.completionItems(uri, { line: 0, character: 11 });
      assert.ok(items.some((item) => item.label === 'AddLine'), 'still serves completion afterwards');
    });
  });
});
