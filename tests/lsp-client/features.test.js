'use strict';
// Every feature on the bundled dictionary, with the component's own answers
// (through vantle-assist) as the reference where the server passes them on.

const { it, before, after } = require('node:test');
const fs = require('node:fs');
const path = require('node:path');
const h = require('./lib/harness');

const { Server, cursor, docUri, textAt, hoverText, assist, assistList, assert } = h;
const Kind = { Method: 2, Function: 3, Class: 7, Module: 9, Property: 10 };

let server;
before(async () => {
  server = new Server();
  await server.initialize();
  await server.ready();
});
after(() => server.finish());

// Opens `marked` (one `|` for the cursor) as a new document and asks `method` there.
async function ask(method, marked) {
  const { text, position } = cursor(marked);
  const uri = docUri();
  await server.open(uri, text);
  return server.at(method, uri, position);
}
const items = async (marked) => (await ask('completion', marked)).items;
const signature = (className, method, argument) => {
  const answer = argument ? assist('signature', className, method, String(argument)) : assist('signature', className, method);
  return argument ? answer.current : answer.before;
};

it('completes the members of a class after its dot, as the component lists them', async () => {
  for (const className of ['Shop.Order', 'Shop.ExpressOrder', 'Util.Log']) {
    const labels = (await items(`${className}.|`)).map((item) => item.label);
    // The default flags are 7: methods of both kinds and properties, inherited ones once.
    assert.deepEqual(labels.sort(), assistList('members', className, '--flags', '7'), className);
  }
  const order = new Map((await items('x = Shop.Order.| + 1')).map((item) => [item.label, item]));
  assert.deepEqual(['AddLine', 'Find', 'Lines', '%Save'].map((label) => order.get(label).kind), [Kind.Method, Kind.Function, Kind.Property, Kind.Method]);
  const privates = ['%Reload', 'Recalculate', 'Stamp', 'Margin'];
  for (const [label, item] of order) {
    assert.equal(JSON.stringify(item.labelDetails || {}).includes('private'), privates.includes(label), `${label} marked private or not`);
  }
  const sortTexts = (wanted) => [...order.values()].filter((item) => privates.includes(item.label) === wanted).map((item) => item.sortText).sort();
  assert.ok(sortTexts(false).pop() < sortTexts(true)[0], 'private members sort after the public ones');
  const typed = (await items('  x = Shop.Order.Li| + 1')).find((item) => item.label === 'Lines');
  assert.deepEqual(typed.textEdit, { range: { start: { line: 0, character: 17 }, end: { line: 0, character: 19 } }, newText: 'Lines' });
  assert.deepEqual(await items('Nope.Thing.|'), []);
});

it('completes class names package by package', async () => {
  for (const pkg of ['Shop.', '%Library.', 'Util.']) {
    const labels = (await items(`${pkg}|`)).map((item) => pkg + item.textEdit.newText);
    assert.deepEqual(labels.sort(), assistList('classes', pkg), pkg);
  }
  for (const [marked, label, kind] of [['Sh|', 'Shop', Kind.Module], ['%Lib|', '%Library', Kind.Module], ['Shop.Ord|', 'Order', Kind.Class]]) {
    assert.deepEqual((await items(marked)).map((item) => [item.label, item.kind]), [[label, kind]], marked);
  }
});

it('resolves a completion item with its signature or type and where it is defined', async () => {
  for (const [className, label, expected] of [
    ['Shop.Order', 'AddLine', [signature('Shop.Order', 'AddLine'), 'Shop.Order']],
    ['Shop.Order', '%Save', ['%Save(pDeep As %Boolean = 1) As %Result', '%Library.Persistent']],
    ['Shop.ExpressOrder', 'Submit', [signature('Shop.ExpressOrder', 'Submit'), 'Shop.RushOrder']],
    ['Shop.ExpressOrder', 'Number', ['%Text', 'Shop.Document']],
    ['Shop.Order', 'Lines', ['relm of Shop.Line']],
    ['Shop.Order', 'Coupons', ['list of %Library.Text']],
  ]) {
    const item = (await items(`${className}.|`)).find((i) => i.label === label);
    const resolved = await server.request('completionItem/resolve', item);
    const text = `${resolved.detail}\n${resolved.documentation.value}`;
    for (const part of expected) assert.ok(text.includes(part), `${label}: ${part} in ${text}`);
  }
});

it('shows the signature of the innermost call with the argument being typed', async () => {
  for (const [marked, className, method, active] of [
    ['Shop.Order.AddLine(|', 'Shop.Order', 'AddLine', 0],
    ['Shop.Order.AddLine(1|, 2, 3)', 'Shop.Order', 'AddLine', 0],
    ['Shop.Order.AddLine("a,b", |', 'Shop.Order', 'AddLine', 1],
    ['Shop.Order.AddLine("a(b", 2, |', 'Shop.Order', 'AddLine', 2],
    ['x = Shop.Order.AddLine(Util.Format.Pad(x, 2, 3), (1, 2), |', 'Shop.Order', 'AddLine', 2],
    ['Shop.Order.AddLine(Shop.Product.Lookup(|', 'Shop.Product', 'Lookup', 0],
    ['Shop.ExpressOrder.Submit(r, 1, |', 'Shop.ExpressOrder', 'Submit', 2],
    ['Shop.Cart.Checkout(|', 'Shop.Cart', 'Checkout', 0],
    ['Shop.Report.Export(|', 'Shop.Report', 'Export', 0],
    ['Shop.Report.Trend(|', 'Shop.Report', 'Trend', 0],
    ['Shop.Customer.FindByEmail(|', 'Shop.Customer', 'FindByEmail', 0],
    ['Shop.Order.Count(|', 'Shop.Order', 'Count', 0],
  ]) {
    const help = await ask('signatureHelp', marked);
    const [shown] = help.signatures;
    assert.equal(shown.label, signature(className, method), marked);
    assert.equal(help.activeParameter, active, marked);
    // Each parameter's [start, end] selects in the label what the component calls that argument.
    const parameters = shown.parameters.map(({ label: [start, end] }) => shown.label.slice(start, end));
    assert.deepEqual(parameters, parameters.map((_, i) => signature(className, method, i + 1)), marked);
  }
  for (const marked of ['Shop.Order.AddLine(1, 2)|', 'Shop.Order.Lines|', 'Nope.Thing.Do(|', 'plain text (|']) {
    assert.equal(await ask('signatureHelp', marked), null, marked);
  }
});

it('hovers over members and classes with what the dictionary says of them', async () => {
  for (const [marked, parts] of [
    ['Shop.Order.Li|nes', ['**Lines** (property of `Shop.Order`)', 'relm of Shop.Line', 'Defined in `Shop.Order`']],
    ['Shop.ExpressOrder.Num|ber', ['%Text', 'Defined in `Shop.Document`']],
    ['x = Shop.Order.AddLin|e(1, 2)', [signature('Shop.Order', 'AddLine')]],
    ['Shop.ExpressOrder.Submi|t', ['pCourier', 'Shop.RushOrder']],
    ['Shop.Or|der', ['**Shop.Order** (class)', 'An order of a customer.', 'Util.Auditable']],
    ['x = Shop.Express|Order.Slot', ['A rush order delivered the same day.', 'RushOrder']],
  ]) {
    const text = hoverText(await ask('hover', marked));
    for (const part of parts) assert.ok(text.includes(part), `${marked}: ${part} in ${text}`);
  }
  for (const marked of ['Shop.Order.Lines   | ', 'Shop.Order.No|pe', 'Nope.Thi|ng', '|', 'Shop.Order.Lines + |']) {
    assert.equal(await ask('hover', marked), null, marked);
  }
});

it('finds the definition of a class or a member in the bundled dictionary', async () => {
  const dictionary = path.join(h.SOURCE_DIR, 'dictionaries', 'shop.json');
  const lines = fs.readFileSync(dictionary, 'utf8').split('\n');
  // The class whose block in the dictionary holds a line.
  const classAt = (line) => lines.slice(0, line + 1).reverse().map((l) => /^ {4}\{ "name": "([^"]+)"/.exec(l)).find(Boolean)[1];
  for (const [marked, name, className] of [
    ['Shop.Or|der.Lines', 'Shop.Order', 'Shop.Order'],
    ['Shop.Order.Li|nes', 'Lines', 'Shop.Order'],
    ['Shop.ExpressOrder.Numb|er', 'Number', 'Shop.Document'],
    ['Shop.ExpressOrder.Submit|(1)', 'Submit', 'Shop.RushOrder'],
    ['Shop.Order.%Sa|ve', '%Save', '%Library.Persistent'],
    ['Shop.Order.PRE|FIX', 'PREFIX', 'Shop.Order'],
    ['Shop.Order.Chan|gedBy', 'ChangedBy', 'Util.Auditable'],
  ]) {
    const location = await ask('definition', marked);
    assert.equal(fs.readFileSync(h.fileURLToPath(location.uri), 'utf8'), lines.join('\n'), 'the bundled dictionary');
    assert.deepEqual([textAt(location), classAt(location.range.start.line)], [name, className], marked);
  }
  for (const marked of ['Shop.Order.No|pe', 'Nope.Thi|ng', 'Shop.Order.Lines  |  ']) assert.equal(await ask('definition', marked), null, marked);
});

it('finds classes and members as workspace symbols at their place in the dictionary', async () => {
  const symbols = await server.request('workspace/symbol', { query: 'rder' });
  const names = symbols.map((s) => s.name);
  for (const name of ['Shop.Order', 'Shop.RushOrder', 'Shop.ExpressOrder']) assert.ok(names.includes(name), `${name} among ${names}`);
  assert.ok(!names.includes('Shop.Product'));
  for (const symbol of symbols) assert.equal(textAt(symbol.location), symbol.name);
  const [lines] = await server.request('workspace/symbol', { query: 'Shop.Order.Lin' });
  assert.deepEqual([lines.name, lines.kind, lines.containerName, textAt(lines.location)], ['Lines', 7, 'Shop.Order', 'Lines']);
  assert.deepEqual(await server.request('workspace/symbol', { query: 'zzqqxx' }), []);
});

it('warns about unknown members at their place and withdraws the warning once fixed', async () => {
  const uri = docUri();
  await server.open(uri, 'Shop.Order.Lines, "Shop.Order.Quoted"\r\n"😀é" Shop.Order.Nope(1) + Shop.Cart.Missing\nShop.Order.AddLine(1)');
  const found = await server.waitDiagnostics(uri, (d) => d.length > 0, 'the warnings');
  assert.deepEqual(found.map((d) => [d.severity, d.range.start.character, d.range.end.character, d.range.start.line]), [[2, 17, 21, 1], [2, 37, 44, 1]]);
  assert.match(found[0].message, /Nope/);
  await server.change(uri, [{ range: { start: { line: 1, character: 17 }, end: { line: 1, character: 21 } }, text: 'Find' }]);
  await server.waitDiagnostics(uri, (d) => d.length === 1, 'one warning left after the fix');
  await server.notify('textDocument/didClose', { textDocument: { uri } });
  await server.waitDiagnostics(uri, (d) => d.length === 0, 'no warnings for a closed document');
});

it('answers null for documents it does not have and clamps positions past the end', async () => {
  const uri = docUri();
  await server.open(uri, 'Shop.Order.\n😀x');
  for (const method of ['completion', 'hover', 'signatureHelp', 'definition']) {
    assert.equal(await server.at(method, docUri(), { line: 0, character: 3 }), null, method);
    for (const position of [{ line: 1, character: 1 }, { line: 7, character: 0 }, { line: 1, character: 99 }]) await server.at(method, uri, position);
  }
  assert.ok((await server.labels(uri, { line: 0, character: 500 })).includes('AddLine'));
});
