'use strict';
// Bytes on the wire: what the server cannot read it answers with an error and
// reads on; an absurd length is refused without being allocated; stdout carries
// nothing but framed JSON.

const { it } = require('node:test');
const fs = require('node:fs');
const { RawServer, withRaw, using, assert } = require('./lib/harness');

const peakResidentKiB = (pid) => Number(/VmHWM:\s+(\d+) kB/.exec(fs.readFileSync(`/proc/${pid}/status`, 'utf8'))[1]);

async function stillAnswers(server, id) {
  server.request(id, 'workspace/symbol', { query: 'Order' });
  assert.ok(Array.isArray((await server.response(id)).result), `a request after the fault (${id})`);
}

it('answers faulty input with the error code and the id it can read, and reads on', async () => {
  await withRaw(async (server) => {
    await server.initialize();
    const header = (text) => Buffer.from(text, 'latin1');
    for (const [what, input, code, id] of [
      ['a body that is not JSON', 'this is not JSON', -32700, null],
      ['cut-off JSON', '{"jsonrpc":"2.0","id":41,"method":"workspace/symbol","params":{"query":', -32700, 41],
      ['no Content-Length', header('Content-Type: application/vscode-jsonrpc\r\n\r\n'), -32700, null],
      ['a length that is not a number', header('Content-Length: twelve\r\n\r\n'), -32700, null],
      ['a negative length', header('Content-Length: -5\r\n\r\n'), -32700, null],
      ['a header line without a colon', header('Content-Length 12\r\n\r\n'), -32700, null],
      ['a length of 23 digits', header('Content-Length: 99999999999999999999999\r\n\r\n'), -32700, null],
      ['a JSON value that is not an object', '[]', -32600, null],
      ['a method that is a number', '{"jsonrpc":"2.0","id":7,"method":42}', -32600, 7],
    ]) {
      server.send(input);
      const error = await server.take((m) => m.error !== undefined, what);
      assert.deepEqual([error.error.code, error.id], [code, id], what);
      await stillAnswers(server, what);
    }
    // Over the limit: the server skips what follows as its body, so this comes last.
    server.send(header('Content-Length: 68719476736\r\n\r\n'));
    const refused = await server.take((m) => m.error !== undefined, '64 GiB');
    assert.deepEqual([refused.error.code, refused.id], [-32700, null]);
  });
});

it('refuses a body over 64 MiB without storing it, and reads the message after it', async () => {
  await withRaw(async (server) => {
    await server.initialize();
    await stillAnswers(server, 1);
    const before = peakResidentKiB(server.child.pid);
    const length = 64 * 1024 * 1024 + 1;
    server.send(Buffer.from(`Content-Length: ${length}\r\n\r\n`));
    const chunk = Buffer.alloc(1024 * 1024, 0x20);
    for (let sent = 0; sent < length; sent += chunk.length) {
      if (!server.child.stdin.write(chunk.subarray(0, Math.min(chunk.length, length - sent)))) {
        await new Promise((resolve) => server.child.stdin.once('drain', resolve));
      }
    }
    const refused = await server.take((m) => m.error !== undefined, 'the refusal');
    assert.deepEqual([refused.error.code, refused.id], [-32700, null]);
    await stillAnswers(server, 2);
    assert.ok(peakResidentKiB(server.child.pid) - before < 32 * 1024, 'peak memory grew by less than 32 MiB');
  });
});

it('writes only framed JSON to stdout, even when logging at debug level', async () => {
  await using(new RawServer(['--log-level', 'debug']), async (server) => {
    await server.initialize();
    const uri = 'file:///doc.txt';
    // Several messages in one write, among them ones the server logs about.
    server.send(
      { jsonrpc: '2.0', method: 'textDocument/didOpen', params: { textDocument: { uri, languageId: 'x', version: 1, text: 'Shop.Order.Nope' } } },
      { jsonrpc: '2.0', method: 'vantle/unknown' },
      { jsonrpc: '2.0', id: 2, method: 'textDocument/completion', params: { textDocument: { uri }, position: { line: 0, character: 11 } } },
    );
    await server.response(2);
    await stillAnswers(server, 3);
    assert.equal(server.buffer.length, 0, `bytes on stdout that are not a frame: ${server.buffer}`);
  });
});
