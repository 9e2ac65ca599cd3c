'use strict';
// Incremental document sync: ranges counted in UTF-16 across surrogate pairs,
// every kind of line ending, several changes in one notification, whole-text
// changes, edits typed one character at a time, and ranges past the end.

const { describe, it, before, after } = require('node:test');
const assert = require('node:assert/strict');
const os = require('node:os');
const path = require('node:path');
const h = require('./lib/harness');

const { Server, markdown } = h;

let server;
let counter = 0;
const docUri = () => h.uriOf(path.join(os.tmpdir(), `vantle-edits-${process.pid}-${++counter}.txt`));
const range = (sl, sc, el, ec) => ({ start: { line: sl, character: sc }, end: { line: el, character: ec } });
const insert = (line, character, text) => ({ range: range(line, character, line, character), text });

before(async () => {
  server = new Server();
  await server.initialize();
  await server.ready();
});

after(async () => {
  await server.finish();
});

async function labels(uri, line, character) {
  return (await server.completionItems(uri, { line, character })).map((item) => item.label);
}

// The class whose members completion offers at a position, told by a member only
// that class (or its subclasses) has.
async function membersAt(uri, line, character) {
  const list = await labels(uri, line, character);
  if (list.includes('Checkout')) return 'Shop.Cart';
  if (list.includes('Reserve')) return 'Shop.Product';
  if (list.includes('AddLine')) return 'Shop.Order';
  if (list.includes('Write')) return 'Util.Log';
  return list.length ? `something else: ${list}` : 'nothing';
}

async function hoverAt(uri, line, character) {
  return markdown(await server.hover(uri, { line, character })) || '';
}

describe('surrogate pairs', () => {
  it('deletes a character of two UTF-16 units by its two units', async () => {
    const uri = docUri();
    await server.open(uri, '😀😀 Shop.Product.');
    await server.change(uri, [{ range: range(0, 0, 0, 2), text: '' }]);
    assert.equal(await membersAt(uri, 0, 16), 'Shop.Product');
    await server.change(uri, [{ range: range(0, 0, 0, 2), text: '' }]);
    assert.equal(await membersAt(uri, 0, 14), 'Shop.Product');
  });

  it('inserts between two such characters and after them', async () => {
    const uri = docUri();
    await server.open(uri, '😀😀 Shop.');
    await server.change(uri, [insert(0, 2, 'é'), insert(0, 11, 'Cart.')]);
    // Now "😀é😀 Shop.Cart." : 😀=2, é=1, 😀=2, space, "Shop.Cart." = 16 units.
    assert.equal(await membersAt(uri, 0, 16), 'Shop.Cart');
  });

  it('replaces a range that starts and ends next to such characters', async () => {
    const uri = docUri();
    await server.open(uri, 'x😀 Shop.Order😀.Lines');
    await server.change(uri, [{ range: range(0, 14, 0, 16), text: '' }]);
    // Now "x😀 Shop.Order.Lines": Lines from unit 15.
    assert.match(await hoverAt(uri, 0, 17), /relm of Shop\.Line/);
    await server.change(uri, [{ range: range(0, 0, 0, 4), text: '' }]);
    assert.match(await hoverAt(uri, 0, 13), /relm of Shop\.Line/);
  });
});

describe('line endings', () => {
  it('counts lines ended by CRLF, LF and CR alike', async () => {
    const uri = docUri();
    await server.open(uri, 'a\rShop.Order.\nb\r\nShop.Cart.\r\n😀\rShop.Product.');
    assert.equal(await membersAt(uri, 1, 11), 'Shop.Order');
    assert.equal(await membersAt(uri, 3, 10), 'Shop.Cart');
    assert.equal(await membersAt(uri, 5, 13), 'Shop.Product');
  });

  it('edits a CRLF document without losing or doubling line ends', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.\r\nShop.Cart.\r\nUtil.Log.\r\n');
    // Remove "Order.\r\nShop." (from line 0 col 5 to line 1 col 5): "Shop.Cart.\r\nUtil.Log.\r\n".
    await server.change(uri, [{ range: range(0, 5, 1, 5), text: '' }]);
    assert.equal(await membersAt(uri, 0, 10), 'Shop.Cart');
    assert.equal(await membersAt(uri, 1, 9), 'Util.Log');
    // Insert a CRLF line at the top.
    await server.change(uri, [insert(0, 0, 'Shop.Product.\r\n')]);
    assert.equal(await membersAt(uri, 0, 13), 'Shop.Product');
    assert.equal(await membersAt(uri, 1, 10), 'Shop.Cart');
    assert.equal(await membersAt(uri, 2, 9), 'Util.Log');
  });

  it('joins two lines by deleting the CRLF between them', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order\r\n.Lines\r\n');
    await server.change(uri, [{ range: range(0, 10, 1, 0), text: '' }]);
    assert.match(await hoverAt(uri, 0, 13), /relm of Shop\.Line/);
  });

  it('splits a line with a CRLF typed at its end', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.Lines\r\nUtil.Log.');
    await server.change(uri, [insert(0, 16, '\r\n'), insert(1, 0, 'Shop.Cart.')]);
    assert.equal(await membersAt(uri, 1, 10), 'Shop.Cart');
    assert.equal(await membersAt(uri, 2, 9), 'Util.Log');
    assert.match(await hoverAt(uri, 0, 13), /relm of Shop\.Line/);
  });
});

describe('change notifications', () => {
  it('applies several changes of one notification in order', async () => {
    const uri = docUri();
    await server.open(uri, '');
    await server.change(uri, [insert(0, 0, 'Shop.'), insert(0, 5, 'Orde'), insert(0, 9, 'r.'), { range: range(0, 5, 0, 10), text: 'Cart' }]);
    assert.equal(await membersAt(uri, 0, 10), 'Shop.Cart');
  });

  it('replaces the whole text when a change has no range', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.');
    await server.change(uri, [{ text: 'first line\nUtil.Log.' }]);
    assert.equal(await membersAt(uri, 1, 9), 'Util.Log');
    await server.change(uri, [insert(1, 0, 'x = ')]);
    assert.equal(await membersAt(uri, 1, 13), 'Util.Log');
  });

  it('follows a document typed one character at a time', async () => {
    const uri = docUri();
    await server.open(uri, '');
    const typed = 'x = Shop.Order.AddLine(1, ';
    for (let i = 0; i < typed.length; i++) {
      await server.change(uri, [insert(0, i, typed[i])]);
      if (typed[i] === '.' && i === 14) assert.equal(await membersAt(uri, 0, i + 1), 'Shop.Order');
    }
    const help = await server.signatureHelp(uri, { line: 0, character: typed.length }, { triggerKind: 1, isRetrigger: false });
    assert.ok(help && help.signatures[0].label.startsWith('AddLine('), JSON.stringify(help));
    // Then deleted again one character at a time, from the end.
    for (let i = typed.length; i > 15; i--) await server.change(uri, [{ range: range(0, i - 1, 0, i), text: '' }]);
    assert.equal(await membersAt(uri, 0, 15), 'Shop.Order');
  });

  it('clamps a position past the end of a line to the line end', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order\nUtil.Log');
    await server.change(uri, [insert(0, 999, '.')]);
    assert.equal(await membersAt(uri, 0, 11), 'Shop.Order');
    assert.match(await hoverAt(uri, 1, 6), /Util\.Log|Writing to the application log/);
  });

  it('takes the text of a document reopened after closing', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.');
    await server.close(uri);
    await server.open(uri, 'Util.Log.');
    assert.equal(await membersAt(uri, 0, 9), 'Util.Log');
  });

  it('ignores changes to documents it does not have', async () => {
    const uri = docUri();
    await server.change(uri, [insert(0, 0, 'Shop.Order.')]);
    await server.close(uri);
    await server.close(uri);
    const other = docUri();
    await server.open(other, 'Shop.Order.');
    assert.equal(await membersAt(other, 0, 11), 'Shop.Order');
  });
});
