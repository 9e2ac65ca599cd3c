'use strict';
// Position encodings: what the server agrees to in initialize, and that every
// position it reads or writes counts in that encoding on a line with characters
// of one, two, three and four UTF-8 bytes.

const { describe, it } = require('node:test');
const assert = require('node:assert/strict');
const os = require('node:os');
const path = require('node:path');
const h = require('./lib/harness');

const { Server, cursor, markdown } = h;

describe('negotiation', () => {
  for (const [offered, expected] of [
    [undefined, ['utf-16']],
    [[], ['utf-16']],
    [['utf-16'], ['utf-16']],
    [['utf-8'], ['utf-8']],
    [['utf-32'], ['utf-32']],
    [['utf-8', 'utf-16'], ['utf-8']],
    [['utf-16', 'utf-8'], ['utf-16', 'utf-8']],
    [['utf-32', 'utf-8', 'utf-16'], ['utf-32', 'utf-8']],
    [['latin1', 'ucs-2'], ['utf-16']],
  ]) {
    it(`answers ${expected.join(' or ')} to an offer of ${JSON.stringify(offered)}`, async () => {
      const server = new Server();
      try {
        const result = await server.initialize({ positionEncodings: offered });
        assert.ok(expected.includes(result.capabilities.positionEncoding), `got ${result.capabilities.positionEncoding}`);
      } finally {
        await server.finish();
      }
    });
  }
});

// "éééé😀😀😀" has 4 two-byte and 3 four-byte characters: 23, 13 and 10 units
// to its end in UTF-8, UTF-16 and UTF-32, so a position read in the wrong
// encoding lands on another word or past the end of the line.
const PREFIX = '"éééé😀😀😀" ';

for (const encoding of ['utf-16', 'utf-8', 'utf-32']) {
  describe(`positions in ${encoding}`, () => {
    async function run(body) {
      const server = new Server();
      try {
        const result = await server.initialize({ positionEncodings: encoding === 'utf-16' ? ['utf-16'] : [encoding, 'utf-16'] });
        assert.equal(result.capabilities.positionEncoding, encoding);
        await server.ready();
        await body(server);
      } finally {
        await server.finish();
      }
    }
    const uri = h.uriOf(path.join(os.tmpdir(), `vantle-encoding-${encoding}.txt`));
    const prefixUnits = h.units(PREFIX, encoding);

    it('reads hover positions and writes hover ranges in it', async () => {
      await run(async (server) => {
        const { text, position } = cursor(`${PREFIX}Shop.Order.Li|nes, Shop.Customer.Name`, encoding);
        await server.open(uri, text);
        const hover = await server.hover(uri, position);
        assert.ok(markdown(hover) && markdown(hover).includes('relm of Shop.Line'), `hover on Lines: ${JSON.stringify(hover)}`);
        if (hover.range) {
          assert.equal(hover.range.end.character, prefixUnits + 16);
          assert.ok([prefixUnits, prefixUnits + 11].includes(hover.range.start.character), JSON.stringify(hover.range));
        }
        const name = await server.hover(uri, cursor(`${PREFIX}Shop.Order.Lines, Shop.Customer.Na|me`, encoding).position);
        assert.ok(markdown(name).includes('Shop.Customer'), `hover on Name: ${JSON.stringify(name)}`);
      });
    });

    it('reads completion and signature-help positions in it', async () => {
      await run(async (server) => {
        const { text, position } = cursor(`${PREFIX}Shop.Order.AddLine("😀,é", |`, encoding);
        await server.open(uri, text);
        const help = await server.signatureHelp(uri, position);
        assert.ok(help && help.signatures[0].label.startsWith('AddLine('), JSON.stringify(help));
        const signature = help.signatures[0];
        const active = signature.activeParameter !== undefined && signature.activeParameter !== null ? signature.activeParameter : help.activeParameter;
        assert.equal(active, 1);
        const dot = cursor(`${PREFIX}Shop.Order.|AddLine("😀,é", `, encoding).position;
        const items = await server.completionItems(uri, dot);
        assert.ok(items.some((item) => item.label === 'Lines'), `members at ${JSON.stringify(dot)}: ${items.map((item) => item.label)}`);
      });
    });

    it('writes diagnostic ranges in it', async () => {
      await run(async (server) => {
        await server.open(uri, `${PREFIX}Shop.Order.Nope\n${PREFIX}😀 Shop.Cart.Gone`);
        const found = await server.waitDiagnostics(uri, (d) => d.length === 2);
        const ranges = found.map((d) => d.range).sort((a, b) => a.start.line - b.start.line);
        const second = prefixUnits + h.units('😀 ', encoding) + 10;
        assert.deepEqual(ranges, [
          { start: { line: 0, character: prefixUnits + 11 }, end: { line: 0, character: prefixUnits + 15 } },
          { start: { line: 1, character: second }, end: { line: 1, character: second + 4 } },
        ]);
      });
    });

    it('reads incremental edits in it', async () => {
      await run(async (server) => {
        await server.open(uri, `${PREFIX}Shop.Order`);
        // Replace "Order" (after the prefix and "Shop.") with "Cart.".
        const start = prefixUnits + 5;
        await server.change(uri, [{ range: { start: { line: 0, character: start }, end: { line: 0, character: start + 5 } }, text: 'Cart.' }]);
        const items = await server.completionItems(uri, { line: 0, character: start + 5 });
        const labels = items.map((item) => item.label);
        assert.ok(labels.includes('Checkout') && !labels.includes('AddLine'), `${labels}`);
      });
    });

    it('survives positions inside a character', async () => {
      await run(async (server) => {
        await server.open(uri, `😀é${PREFIX}Shop.Order.`);
        // One unit into the four-byte character, and past the end of the line.
        for (const character of [1, 2, 3, 500]) {
          await server.hover(uri, { line: 0, character });
          await server.completion(uri, { line: 0, character });
          await server.signatureHelp(uri, { line: 0, character });
        }
        await server.change(uri, [{ range: { start: { line: 0, character: 1 }, end: { line: 0, character: 1 } }, text: 'x' }]);
        const items = await server.completionItems(uri, { line: 0, character: 999 });
        assert.ok(Array.isArray(items));
      });
    });
  });
}
