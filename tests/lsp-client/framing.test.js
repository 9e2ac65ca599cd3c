'use strict';
// Bytes on the wire: the server reads Content-Length framing however the client
// splits its writes, answers what it cannot read with -32700 and goes on reading,
// refuses an absurd length without allocating it, and writes nothing but framed
// JSON to stdout.

const { describe, it } = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const { RawServer, withRaw, sleep } = require('./lib/harness');

const PARSE_ERROR = -32700;

// After whatever went before, the server answers a well-formed request.
async function stillAnswers(server, id) {
  server.request(id, 'workspace/symbol', { query: 'Order' });
  const response = await server.response(id, `a request sent after the faulty input (id ${id})`);
  assert.equal(response.error, undefined, JSON.stringify(response));
  assert.ok(Array.isArray(response.result), JSON.stringify(response));
}

// Error responses the server sent without an id it could read.
function parseErrors(server) {
  return server.messages.filter((m) => m.error && m.error.code === PARSE_ERROR);
}

function peakResidentKiB(pid) {
  const status = fs.readFileSync(`/proc/${pid}/status`, 'utf8');
  return Number(/VmHWM:\s+(\d+) kB/.exec(status)[1]);
}

describe('framing that must be read', () => {
  it('reads a message written one byte at a time', async () => {
    await withRaw([], async (server) => {
      const bytes = RawServer.frame({ jsonrpc: '2.0', id: 1, method: 'initialize', params: { processId: null, rootUri: null, capabilities: {} } });
      for (const byte of bytes) {
        server.sendBytes(Buffer.from([byte]));
        await sleep(1);
      }
      const response = await server.response(1);
      assert.ok(response.result.capabilities);
    });
  });

  it('reads several messages in one write', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      const batch = [1, 2, 3].map((id) => RawServer.frame({ jsonrpc: '2.0', id, method: 'workspace/symbol', params: { query: 'Order' } }));
      server.sendBytes(Buffer.concat(batch));
      for (const id of [1, 2, 3]) assert.ok(Array.isArray((await server.response(id)).result));
    });
  });

  it('accepts a Content-Type header, lower-case names and a multi-byte body', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      const body = Buffer.from(JSON.stringify({ jsonrpc: '2.0', id: 'ü', method: 'workspace/symbol', params: { query: 'Ordér😀' } }), 'utf8');
      server.sendBytes(Buffer.concat([
        Buffer.from(`Content-Type: application/vscode-jsonrpc; charset=utf-8\r\ncontent-length: ${body.length}\r\n\r\n`),
        body,
      ]));
      const response = await server.response('ü');
      assert.equal(response.error, undefined, JSON.stringify(response));
      await stillAnswers(server, 2);
    });
  });

  it('writes only framed JSON to stdout, even when logging at debug level', async () => {
    await withRaw(['--log-level', 'debug'], async (server) => {
      await server.initialize();
      server.notify('textDocument/didOpen', { textDocument: { uri: 'file:///doc.txt', languageId: 'vantle', version: 1, text: 'Shop.Order.Nope' } });
      server.request(2, 'textDocument/completion', { textDocument: { uri: 'file:///doc.txt' }, position: { line: 0, character: 11 } });
      await server.response(2);
      await stillAnswers(server, 3);
      assert.deepEqual(server.framingErrors, []);
      assert.equal(server.buffer.length, 0, `bytes left over on stdout: ${server.buffer.toString()}`);
    });
  });
});

describe('framing faults the server survives', () => {
  it('answers a body that is not JSON with -32700 and reads on', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.send('this is not JSON at all');
      const error = await server.take((m) => m.error && m.error.code === PARSE_ERROR, 'a -32700 response to a body that is not JSON');
      assert.equal(error.id, null, 'no id can be read from it');
      await stillAnswers(server, 2);
    });
  });

  it('answers a cut-off JSON body with -32700 and reads on', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      server.send('{"jsonrpc":"2.0","id":41,"method":"workspace/symbol","params":{"query":');
      const error = await server.take((m) => m.error && m.error.code === PARSE_ERROR, 'a -32700 response to cut-off JSON');
      assert.ok(error.id === null || error.id === 41, `id null or the one in the text: ${JSON.stringify(error)}`);
      await stillAnswers(server, 2);
    });
  });

  it('answers a body with invalid UTF-8 and reads on', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      const body = Buffer.concat([Buffer.from('{"jsonrpc":"2.0","id":5,"method":"workspace/symbol","params":{"query":"'), Buffer.from([0xff, 0xfe, 0xc3]), Buffer.from('"}}')]);
      server.sendBytes(Buffer.concat([Buffer.from(`Content-Length: ${body.length}\r\n\r\n`), body]));
      await stillAnswers(server, 6);
      const answer = server.messages.find((m) => m.id === 5);
      if (answer && answer.error) assert.ok([PARSE_ERROR, -32600, -32602].includes(answer.error.code), JSON.stringify(answer));
    });
  });

  for (const [name, header] of [
    ['a header without Content-Length', 'Content-Type: application/vscode-jsonrpc\r\n\r\n'],
    ['a Content-Length that is not a number', 'Content-Length: twelve\r\n\r\n'],
    ['a negative Content-Length', 'Content-Length: -5\r\n\r\n'],
    ['a header line without a colon', 'Content-Length 12\r\n\r\n'],
  ]) {
    it(`survives ${name}`, async () => {
      await withRaw([], async (server) => {
        await server.initialize();
        server.sendBytes(Buffer.from(header, 'ascii'));
        await stillAnswers(server, 2);
        for (const error of parseErrors(server)) assert.equal(error.id, null, JSON.stringify(error));
        assert.deepEqual(server.framingErrors, []);
      });
    });
  }

  it('refuses a body over 64 MiB without allocating it, and reads the message after it', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      await stillAnswers(server, 1);
      const before = peakResidentKiB(server.pid);
      const length = 64 * 1024 * 1024 + 1;
      server.sendBytes(Buffer.from(`Content-Length: ${length}\r\n\r\n`, 'ascii'));
      const chunk = Buffer.alloc(1024 * 1024, 0x20);
      for (let sent = 0; sent < length; sent += chunk.length) {
        const part = chunk.subarray(0, Math.min(chunk.length, length - sent));
        if (!server.child.stdin.write(part)) await new Promise((resolve) => server.child.stdin.once('drain', resolve));
      }
      const refused = await server.take((m) => m.error && m.error.code === PARSE_ERROR, 'a -32700 response to the oversized message');
      assert.equal(refused.id, null);
      await stillAnswers(server, 2);
      const grown = peakResidentKiB(server.pid) - before;
      assert.ok(grown < 32 * 1024, `peak resident memory grew by ${grown} KiB`);
    });
  });

  for (const length of ['68719476736', '99999999999999999999999']) {
    it(`refuses Content-Length ${length} at once without allocating it`, async () => {
      await withRaw([], async (server) => {
        await server.initialize();
        await stillAnswers(server, 1);
        const before = peakResidentKiB(server.pid);
        server.sendBytes(Buffer.from(`Content-Length: ${length}\r\n\r\n`, 'ascii'));
        const refused = await server.take((m) => m.error && m.error.code === PARSE_ERROR, `a -32700 response to Content-Length ${length}`);
        assert.equal(refused.id, null);
        const grown = peakResidentKiB(server.pid) - before;
        assert.ok(grown < 32 * 1024, `peak resident memory grew by ${grown} KiB`);
        assert.equal(server.exitStatus, null, 'the server still runs');
      });
    });
  }

  it('reads a message of several MiB', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      await server.ready();
      const text = `${'x'.repeat(4 * 1024 * 1024)}\nShop.Order.`;
      server.notify('textDocument/didOpen', { textDocument: { uri: 'file:///big.txt', languageId: 'vantle', version: 1, text } });
      server.request(2, 'textDocument/completion', { textDocument: { uri: 'file:///big.txt' }, position: { line: 1, character: 11 } });
      const response = await server.response(2);
      const items = Array.isArray(response.result) ? response.result : response.result.items;
      assert.ok(items.some((item) => item.label === 'AddLine'), 'completion on the last line of a large document');
    });
  });

  it('answers a JSON value that is not a request object without dying', async () => {
    await withRaw([], async (server) => {
      await server.initialize();
      for (const body of ['42', '"text"', 'null', '[]', '{"jsonrpc":"2.0","id":{"a":1},"method":"x"}', '{"jsonrpc":"2.0","id":7,"method":42}']) {
        server.send(body);
      }
      await stillAnswers(server, 2);
      const seven = server.messages.find((m) => m.id === 7);
      if (seven) assert.ok(seven.error, `a request whose method is a number is refused: ${JSON.stringify(seven)}`);
    });
  });
});
