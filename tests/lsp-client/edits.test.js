'use strict';
// Incremental document sync in UTF-16: ranges across surrogate pairs, every kind
// of line ending, several changes of one notification applied in order, changes
// without a range, and positions past the end of a line.

const { it } = require('node:test');
const { withServer, docUri, assert } = require('./lib/harness');

const range = (sl, sc, el, ec) => ({ start: { line: sl, character: sc }, end: { line: el, character: ec } });
const insert = (line, character, text) => ({ range: range(line, character, line, character), text });

// The class whose members completion offers at a position, told by a member only it has.
async function membersAt(server, uri, line, character) {
  const labels = await server.labels(uri, { line, character });
  const owner = { Checkout: 'Shop.Cart', Reserve: 'Shop.Product', AddLine: 'Shop.Order', Write: 'Util.Log' };
  return owner[Object.keys(owner).find((member) => labels.includes(member))] || 'nothing';
}

it('applies each change where the client meant it', async () => {
  await withServer({}, async (server) => {
    // [the text opened, the changes of one notification, then where members of which class are offered]
    for (const [text, changes, expected] of [
      ['😀😀 Shop.Product.', [range(0, 0, 0, 2)].map((r) => ({ range: r, text: '' })), [[0, 16, 'Shop.Product']]],
      ['😀😀 Shop.', [insert(0, 2, 'é'), insert(0, 11, 'Cart.')], [[0, 16, 'Shop.Cart']]],
      ['x😀 Shop.Order😀.Lines.', [{ range: range(0, 14, 0, 16), text: '' }], [[0, 15, 'Shop.Order'], [0, 21, 'nothing']]],
      ['a\rShop.Order.\nb\r\nShop.Cart.\r\n😀\rShop.Product.', [], [[1, 11, 'Shop.Order'], [3, 10, 'Shop.Cart'], [5, 13, 'Shop.Product']]],
      ['Shop.Order.\r\nShop.Cart.\r\nUtil.Log.\r\n', [{ range: range(0, 5, 1, 5), text: '' }, insert(0, 0, 'Shop.Product.\r\n')],
        [[0, 13, 'Shop.Product'], [1, 10, 'Shop.Cart'], [2, 9, 'Util.Log']]],
      ['Shop.Order\r\n.\r\nUtil.Log', [{ range: range(0, 10, 1, 0), text: '' }, insert(0, 999, '\r\nShop.Cart.')], [[0, 11, 'Shop.Order'], [1, 10, 'Shop.Cart']]],
      ['', [insert(0, 0, 'Shop.'), insert(0, 5, 'Orde'), insert(0, 9, 'r.'), { range: range(0, 5, 0, 10), text: 'Cart' }], [[0, 10, 'Shop.Cart']]],
      ['Shop.Order.', [{ text: 'first line\nUtil.Log.' }, insert(1, 0, 'x = ')], [[1, 13, 'Util.Log']]],
      ['Shop.Order\nUtil.Log', [insert(0, 999, '.'), insert(7, 0, '.')], [[0, 11, 'Shop.Order'], [1, 9, 'Util.Log']]],
    ]) {
      const uri = docUri();
      await server.open(uri, text);
      if (changes.length) await server.change(uri, changes);
      for (const [line, character, owner] of expected) {
        assert.equal(await membersAt(server, uri, line, character), owner, `${JSON.stringify(text)} at ${line}:${character}`);
      }
    }
  });
});

it('ignores changes to documents it does not have, and takes the text of a reopened one', async () => {
  await withServer({}, async (server) => {
    const uri = docUri();
    await server.change(uri, [insert(0, 0, 'Util.Log.')]);
    await server.open(uri, 'Shop.Order.');
    await server.notify('textDocument/didClose', { textDocument: { uri } });
    await server.change(uri, [insert(0, 0, 'Util.Log.')]);
    assert.equal(await server.at('completion', uri, { line: 0, character: 9 }), null);
    await server.open(uri, 'Shop.Cart.');
    assert.equal(await membersAt(server, uri, 0, 10), 'Shop.Cart');
  });
});
