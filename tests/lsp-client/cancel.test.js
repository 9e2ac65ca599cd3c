'use strict';
// Requests refused before they run: a $/cancelRequest for a request still queued
// answers it with -32800, a didChange of its document with -32801. Every request is
// answered exactly once, whether the refusal came in time or not.

const { it } = require('node:test');
const { withRaw, assert } = require('./lib/harness');

const uri = 'file:///cancel/doc.txt';
const completion = (id) => ({ jsonrpc: '2.0', id, method: 'textDocument/completion', params: { textDocument: { uri }, position: { line: 0, character: 11 } } });
const cancel = (id) => ({ jsonrpc: '2.0', method: '$/cancelRequest', params: { id } });
const change = { jsonrpc: '2.0', method: 'textDocument/didChange', params: { textDocument: { uri, version: 2 }, contentChanges: [{ text: 'Shop.Order.Add' }] } };

for (const [what, code, refusals] of [
  ['cancelled', -32800, (ids) => ids.map(cancel)],
  ['about a document changed behind them', -32801, () => [change]],
]) {
  it(`answers requests ${what} while queued with ${code}, each exactly once`, async () => {
    await withRaw(async (server) => {
      await server.initialize();
      await server.ready();  // else the answers are empty for want of a dictionary, not for the refusal
      server.notify('textDocument/didOpen', { textDocument: { uri, languageId: 'x', version: 1, text: 'Shop.Order.' } });
      // Requests and their refusals in one write: the server reads them before it has answered most.
      const ids = Array.from({ length: 100 }, (_, i) => (i % 2 ? i : `r${i}`));
      server.send(...ids.map(completion), ...refusals(ids), cancel('unknown'), completion('unknown'));
      // Answers come in order: once this one is in, every earlier one is.
      assert.ok((await server.response('unknown')).result.items.length > 0, 'a stray cancellation refuses nothing');
      const codes = ids.map((id) => {
        const answers = server.messages.filter((m) => m.id === id && !('method' in m));
        assert.equal(answers.length, 1, `request ${id} answered ${answers.length} times`);
        return answers[0].error ? answers[0].error.code : 'result';
      });
      assert.ok(codes.includes(code), `none of the requests refused with ${code}`);
      assert.deepEqual(codes.filter((c) => c !== code && c !== 'result'), []);
      server.messages = server.messages.filter((m) => !ids.includes(m.id));
      server.send(completion(1));
      const again = await server.response(1);
      assert.ok(again.result.items.some((item) => item.label === 'AddLine'), 'served, on the text as it is now');
    });
  });
}
