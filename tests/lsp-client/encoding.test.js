'use strict';
// Position encodings: the one the client offers first among utf-8 and utf-32 is
// agreed to, and every position the server reads or writes counts in it, on lines
// with characters of one, two, three and four UTF-8 bytes.

const { it } = require('node:test');
const { withServer, cursor, units, docUri, hoverText, assert } = require('./lib/harness');

// 4 two-byte and 3 four-byte characters: 23, 13 and 10 units in UTF-8, UTF-16 and
// UTF-32, so a position read in the wrong encoding lands on another word.
const PREFIX = '"éééé😀😀😀" ';

for (const encoding of ['utf-16', 'utf-8', 'utf-32']) {
  it(`reads and writes positions in ${encoding}`, async () => {
    const offered = { general: { positionEncodings: encoding === 'utf-16' ? ['utf-16'] : [encoding, 'utf-16'] } };
    await withServer({ capabilities: offered }, async (server) => {
      const at = (marked) => cursor(marked, encoding).position;
      const line = `${PREFIX}Shop.Order.Lines, Shop.Order.AddLine("😀,é", `;
      const uri = docUri();
      await server.open(uri, `${line}\n${PREFIX}😀 Shop.Cart.Gone`);

      const hover = await server.at('hover', uri, at(`${PREFIX}Shop.Order.Li|nes`));
      assert.match(hoverText(hover), /relm of Shop\.Line/);
      const lines = units(`${PREFIX}Shop.Order.`, encoding);
      assert.deepEqual(hover.range, { start: { line: 0, character: lines }, end: { line: 0, character: lines + 5 } });
      const help = await server.at('signatureHelp', uri, at(line + '|'));
      assert.equal(help.activeParameter, 1);
      assert.ok((await server.labels(uri, at(`${PREFIX}Shop.Order.|`))).includes('AddLine'));

      const gone = units(`${PREFIX}😀 Shop.Cart.`, encoding);
      const [diagnostic] = await server.waitDiagnostics(uri, (d) => d.length === 1, 'the warning on Gone');
      assert.deepEqual(diagnostic.range, { start: { line: 1, character: gone }, end: { line: 1, character: gone + 4 } });

      // "Cart" becomes "Order"; a position inside a character means its start, and
      // one past the end of the line its end.
      const cart = units(`${PREFIX}😀 Shop.`, encoding);
      await server.change(uri, [
        { range: { start: { line: 1, character: cart }, end: { line: 1, character: cart + 4 } }, text: 'Order' },
        { range: { start: { line: 1, character: units('"é', encoding) - 1 }, end: { line: 1, character: units('"é', encoding) - 1 } }, text: 'x' },
        { range: { start: { line: 1, character: 999 }, end: { line: 1, character: 999 } }, text: '.' },
      ]);
      assert.deepEqual(await server.labels(uri, { line: 1, character: 999 }), []);
      assert.ok((await server.labels(uri, { line: 1, character: gone + 2 })).includes('AddLine'), 'completion after Shop.Order.');
      await server.waitDiagnostics(uri, (d) => d.length === 1 && d[0].range.start.character === gone + 2, 'the warning moved by the edits');
    });
  });
}
