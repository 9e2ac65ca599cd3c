'use strict';
// Every feature on the bundled dictionary, with the component's own answers
// (through vantle-assist) as the reference where the server passes them on.

const { describe, it, before, after } = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const h = require('./lib/harness');

const { Server, cursor, applyCompletion, markdown, locations, textAt, assistMembers, assistSignature, assistClasses, assertSameNames, SOURCE_DIR } = h;

const Kind = { Method: 2, Function: 3, Field: 5, Class: 7, Module: 9, Property: 10, Folder: 19 };
const SymbolKind = { Class: 5 };
const Warning = 2;

let server;
let counter = 0;
const docUri = () => h.uriOf(path.join(os.tmpdir(), `vantle-features-${process.pid}-${++counter}.txt`));

// Opens a fresh document with `marked` (one `|` for the cursor) on the shared server.
async function doc(marked) {
  const { text, position } = cursor(marked);
  const uri = docUri();
  await server.open(uri, text);
  return { uri, text, position };
}

async function completeAt(marked) {
  const d = await doc(marked);
  return { ...d, items: await server.completionItems(d.uri, d.position) };
}

const sortKey = (item) => (item.sortText !== undefined && item.sortText !== null ? item.sortText : item.label);
const labelDetailsText = (item) => JSON.stringify(item.labelDetails || {});
const signatureLabel = (answer) => (answer.before || '') + (answer.current || '') + (answer.after || '');

before(async () => {
  server = new Server();
  await server.initialize();
  await server.ready();
});

after(async () => {
  await server.finish();
});

describe('member completion after a dot', () => {
  it('lists exactly the members the component lists, once each', async () => {
    const { items } = await completeAt('Shop.Order.|');
    const labels = items.map((item) => item.label);
    // The default flags are 7: methods of both kinds and properties.
    assertSameNames([...labels].sort(), [...assistMembers('Shop.Order', '--flags', '7')].sort(), 'members of Shop.Order by default');
    assert.equal(new Set(labels).size, labels.length, `a label twice: ${labels}`);
    for (const internal of ['Archive', '%Validate', '%OnBeforeSave', 'Notes', 'Trail', '%Version']) {
      assert.ok(!labels.includes(internal), `internal member ${internal} listed without flag 8`);
    }
  });

  it('gives methods and properties their kinds', async () => {
    const { items } = await completeAt('Shop.Order.|');
    const byLabel = new Map(items.map((item) => [item.label, item]));
    for (const method of ['AddLine', 'Find', 'Count', '%Save', '%New', 'Touch', 'NextNumber']) {
      assert.ok([Kind.Method, Kind.Function].includes(byLabel.get(method).kind), `${method}: kind ${byLabel.get(method).kind}`);
    }
    for (const property of ['Lines', 'Customer', 'Total', 'Number', 'ChangedBy']) {
      assert.ok([Kind.Property, Kind.Field].includes(byLabel.get(property).kind), `${property}: kind ${byLabel.get(property).kind}`);
    }
  });

  it('marks private members in labelDetails and sorts them after the public ones', async () => {
    const { items } = await completeAt('Shop.Order.|');
    const privateNames = ['%Reload', 'Recalculate', 'Stamp', 'Margin'];
    const privates = items.filter((item) => privateNames.includes(item.label));
    const publics = items.filter((item) => !privateNames.includes(item.label));
    assert.equal(privates.length, privateNames.length);
    for (const item of privates) assert.match(labelDetailsText(item), /private/i, `${item.label} is marked private`);
    for (const item of publics) assert.doesNotMatch(labelDetailsText(item), /private/i, `${item.label} is not private`);
    const lastPublic = publics.map(sortKey).sort().pop();
    const firstPrivate = privates.map(sortKey).sort()[0];
    assert.ok(lastPublic < firstPrivate, `public ${lastPublic} sorts before private ${firstPrivate}`);
  });

  it('includes what a class inherits over two levels, an override once', async () => {
    const { items } = await completeAt('Shop.ExpressOrder.|');
    const labels = items.map((item) => item.label);
    assert.equal(new Set(labels).size, labels.length, `a label twice: ${labels}`);
    for (const name of ['Cost', 'Slot', 'Escalate', 'Deadline', 'AddLine', 'Number', '%Save']) assert.ok(labels.includes(name), name);
    assert.equal(labels.filter((label) => label === 'Submit').length, 1);
  });

  it('completes a member being typed in the middle of a line', async () => {
    const { items, text, position } = await completeAt('  x = Shop.Order.Li| + 1');
    const lines = items.find((item) => item.label === 'Lines');
    assert.ok(lines, `Lines offered: ${items.map((item) => item.label)}`);
    assert.equal(applyCompletion(text, position.character, lines), '  x = Shop.Order.Lines + 1');
  });

  it('answers the trigger character the way a client sends it', async () => {
    const d = await doc('Util.Log.|');
    const items = await server.completionItems(d.uri, d.position, { triggerKind: 2, triggerCharacter: '.' });
    assert.deepEqual(items.map((item) => item.label).sort(), ['Flush', 'Write']);
  });

  it('offers nothing after the dot of something that is not a class', async () => {
    const { items } = await completeAt('Nope.Thing.|');
    assert.deepEqual(items, []);
  });
});

describe('reading the document', () => {
  it('ends an identifier at a character that is not a letter, digit or _', async () => {
    for (const prefix of ['😀', '€', '→', '«', '\u00a0', '\u3000']) {
      const { items } = await completeAt(`${prefix}Shop.Order.|`);
      assert.ok(items.some((item) => item.label === 'AddLine'), `members after ${JSON.stringify(prefix)}Shop.Order.: ${items.map((item) => item.label)}`);
      const d = await doc(`x = ${prefix}Shop.Order.Li|nes`);
      const text = markdown(await server.hover(d.uri, d.position));
      assert.ok(text && text.includes('relm of Shop.Line'), `hover after ${JSON.stringify(prefix)}: ${text}`);
    }
  });
});

describe('class-name completion', () => {
  const applied = (text, position, items) => items.map((item) => applyCompletion(text, position.character, item));

  it('completes a class name by its prefix', async () => {
    const { items, text, position } = await completeAt('Shop.Ord|');
    const results = applied(text, position, items);
    assert.ok(results.includes('Shop.Order'), `Shop.Order among ${results}`);
    assert.ok(!results.includes('Shop.Product'), `Shop.Product does not start with Shop.Ord: ${results}`);
    const order = items[results.indexOf('Shop.Order')];
    assert.equal(order.kind, Kind.Class);
  });

  it('lists the classes of a package after its dot', async () => {
    for (const pkg of ['Shop.', '%Library.', 'Util.']) {
      const { items, text, position } = await completeAt(`${pkg}|`);
      assert.deepEqual(applied(text, position, items).sort(), assistClasses(pkg).sort(), pkg);
    }
  });

  it('offers a package, not every class in it, for the first part of a name', async () => {
    for (const [marked, pkg] of [['Sh|', 'Shop'], ['%Lib|', '%Library'], ['x = Ut|', 'x = Util']]) {
      const { items, text, position } = await completeAt(marked);
      const results = applied(text, position, items);
      assert.ok(results.some((r) => r === pkg || r === `${pkg}.`), `${marked}: ${pkg} among ${results}`);
      assert.ok(!results.some((r) => r.startsWith(`${pkg}.`) && r.length > pkg.length + 1), `${marked}: whole class names ${results}`);
    }
  });

  it('completes a class name in the middle of a line', async () => {
    const { items, text, position } = await completeAt('set x = Util.Fo|(1)');
    assert.ok(applied(text, position, items).includes('set x = Util.Format(1)'), JSON.stringify(items));
  });
});

describe('completionItem/resolve', () => {
  async function resolved(className, label) {
    const { items } = await completeAt(`${className}.|`);
    const item = items.find((i) => i.label === label);
    assert.ok(item, `${label} offered for ${className}`);
    const result = await server.request('completionItem/resolve', item);
    assert.equal(result.label, item.label);
    assert.equal(result.kind, item.kind);
    return `${result.detail || ''}\n${markdown({ contents: result.documentation || '' }) || ''}`;
  }

  it('adds the type, the origin and the signature of a method', async () => {
    const text = await resolved('Shop.Order', 'AddLine');
    assert.ok(text.includes(signatureLabel(assistSignature('Shop.Order', 'AddLine'))), text);
    assert.ok(text.includes('Shop.Order'), `origin in ${text}`);
  });

  it('names the class a member is inherited from', async () => {
    const save = await resolved('Shop.Order', '%Save');
    assert.ok(save.includes('%Library.Persistent'), save);
    assert.ok(save.includes('%Save(pDeep As %Boolean = 1) As %Result'), save);
    const submit = await resolved('Shop.ExpressOrder', 'Submit');
    assert.ok(submit.includes('Shop.RushOrder'), submit);
    assert.ok(submit.includes(signatureLabel(assistSignature('Shop.ExpressOrder', 'Submit'))), submit);
  });

  it('gives the type of a property, resolved for collections and relationships', async () => {
    const number = await resolved('Shop.ExpressOrder', 'Number');
    assert.ok(number.includes('%Text') && number.includes('Shop.Document'), number);
    const lines = await resolved('Shop.Order', 'Lines');
    assert.ok(lines.includes('relm of Shop.Line'), lines);
    const coupons = await resolved('Shop.Order', 'Coupons');
    assert.ok(coupons.includes('list of %Library.Text'), coupons);
  });
});

describe('snippets', () => {
  const effectiveText = (item) => (item.textEdit ? item.textEdit.newText : item.textEditText ?? item.insertText ?? item.label);

  it('inserts Name($1) for methods when the client supports snippets', async () => {
    const snippets = new Server();
    try {
      // As a current editor asks: snippets, and the edit range once for the list.
      await snippets.initialize({ capabilities: { textDocument: { completion: { completionItem: { snippetSupport: true, labelDetailsSupport: true }, completionList: { itemDefaults: ['editRange', 'insertTextFormat', 'data'] } } } } });
      await snippets.ready();
      const uri = docUri();
      await snippets.open(uri, 'Shop.Order.');
      const items = await snippets.completionItems(uri, { line: 0, character: 11 });
      const addLine = items.find((item) => item.label === 'AddLine');
      assert.equal(addLine.insertTextFormat, 2, 'a snippet');
      assert.equal(effectiveText(addLine), 'AddLine($1)');
      const save = items.find((item) => item.label === '%Save');
      assert.equal(effectiveText(save), '%Save($1)');
      const lines = items.find((item) => item.label === 'Lines');
      assert.ok(!effectiveText(lines).includes('$'), `a property is inserted as is: ${JSON.stringify(lines)}`);
    } finally {
      await snippets.finish();
    }
  });

  it('inserts no snippet syntax for a client without snippet support', async () => {
    const { items } = await completeAt('Shop.Order.|');
    for (const item of items) {
      assert.notEqual(item.insertTextFormat, 2, `${item.label} is a snippet`);
      assert.ok(!effectiveText(item).includes('$1'), `${item.label}: ${effectiveText(item)}`);
    }
  });
});

describe('signature help', () => {
  async function help(marked, context) {
    const d = await doc(marked);
    return server.signatureHelp(d.uri, d.position, context);
  }

  function active(result) {
    const signature = result.signatures[result.activeSignature || 0];
    return signature.activeParameter !== undefined && signature.activeParameter !== null ? signature.activeParameter : result.activeParameter;
  }

  // The signature's parameters, as the texts their label offsets select.
  function parameterTexts(signature) {
    return signature.parameters.map((p) => {
      assert.ok(Array.isArray(p.label) && p.label.length === 2, `parameter label as [start, end]: ${JSON.stringify(p.label)}`);
      return signature.label.slice(p.label[0], p.label[1]);
    });
  }

  function expectedParameters(className, method, count) {
    return Array.from({ length: count }, (_, i) => assistSignature(className, method, i + 1).current);
  }

  it('shows the signature with its parameters and the second one active', async () => {
    const result = await help('Shop.Order.AddLine(1, |', { triggerKind: 2, triggerCharacter: ',', isRetrigger: false });
    assert.equal(result.signatures.length, 1);
    const [signature] = result.signatures;
    assert.equal(signature.label, signatureLabel(assistSignature('Shop.Order', 'AddLine', 2)));
    assert.deepEqual(parameterTexts(signature), expectedParameters('Shop.Order', 'AddLine', 3));
    assert.equal(active(result), 1);
  });

  it('counts arguments by commas outside quotes and nested parentheses', async () => {
    for (const [marked, expected] of [
      ['Shop.Order.AddLine(|', 0],
      ['Shop.Order.AddLine(1|, 2, 3)', 0],
      ['Shop.Order.AddLine(1, 2, |', 2],
      ['Shop.Order.AddLine("a,b", |', 1],
      ['Shop.Order.AddLine("a(b", 2, |', 2],
      ['Shop.Order.AddLine(Util.Format.Pad(x, 2, 3), |', 1],
      ['x = Shop.Order.AddLine((1, 2), "", |', 2],
    ]) {
      const result = await help(marked);
      assert.ok(result && result.signatures.length === 1, `${marked}: ${JSON.stringify(result)}`);
      assert.ok(result.signatures[0].label.startsWith('AddLine('), `${marked}: ${result.signatures[0].label}`);
      assert.equal(active(result), expected, marked);
    }
  });

  it('shows the innermost unclosed call', async () => {
    const result = await help('Shop.Order.AddLine(Shop.Product.Lookup(|');
    assert.equal(result.signatures[0].label, signatureLabel(assistSignature('Shop.Product', 'Lookup')));
    assert.equal(active(result), 0);
    const outer = await help('Shop.Order.AddLine(Shop.Product.Lookup("x"), |');
    assert.ok(outer.signatures[0].label.startsWith('AddLine('), outer.signatures[0].label);
  });

  it('shows nothing once the list is closed or outside a call', async () => {
    for (const marked of ['Shop.Order.AddLine(1, 2)|', 'Shop.Order.Lines|', 'Nope.Thing.Do(|', 'plain text (|']) {
      const result = await help(marked);
      assert.ok(result === null || result.signatures.length === 0, `${marked}: ${JSON.stringify(result)}`);
    }
  });

  it('splits labels whose types and defaults hold commas and parentheses', async () => {
    for (const [className, method, count] of [['Shop.Cart', 'Checkout', 3], ['Shop.Report', 'Export', 3], ['Shop.Report', 'Trend', 5], ['Shop.Customer', 'FindByEmail', 2]]) {
      const result = await help(`${className}.${method}(|`);
      const [signature] = result.signatures;
      assert.equal(signature.label, signatureLabel(assistSignature(className, method)), method);
      assert.deepEqual(parameterTexts(signature), expectedParameters(className, method, count), method);
    }
  });

  it('shows a method without arguments with no parameters', async () => {
    const result = await help('Shop.Order.Count(|');
    assert.equal(result.signatures[0].label, 'Count() As %Count');
    assert.deepEqual(result.signatures[0].parameters || [], []);
  });

  it('shows the override a subclass inherits', async () => {
    const result = await help('Shop.ExpressOrder.Submit(r, 1, |');
    const [signature] = result.signatures;
    assert.equal(signature.label, signatureLabel(assistSignature('Shop.ExpressOrder', 'Submit', 3)));
    assert.equal(parameterTexts(signature)[2], 'pCourier As Shop.Courier = ""');
    assert.equal(active(result), 2);
  });
});

describe('hover', () => {
  async function hoverText(marked) {
    const d = await doc(marked);
    const result = await server.hover(d.uri, d.position);
    if (result) assert.equal(typeof result.contents === 'object' && result.contents.kind, 'markdown', `Markdown content: ${JSON.stringify(result)}`);
    return { result, text: markdown(result) };
  }

  it('shows a property type and where it is defined', async () => {
    const { result, text } = await hoverText('Shop.Order.Li|nes');
    assert.ok(text.includes('relm of Shop.Line'), text);
    assert.ok(text.includes('Shop.Order'), text);
    if (result.range) {
      assert.deepEqual(result.range.end, { line: 0, character: 16 });
      assert.ok([0, 11].includes(result.range.start.character), JSON.stringify(result.range));
    }
  });

  it('shows where an inherited member is defined', async () => {
    const number = (await hoverText('Shop.ExpressOrder.Num|ber')).text;
    assert.ok(number.includes('%Text') && number.includes('Shop.Document'), number);
    const describe = (await hoverText('Shop.Order.|Describe')).text;
    assert.ok(describe.includes('Shop.Order') && !describe.includes('Shop.Document') && !describe.includes('Util.Auditable'), describe);
  });

  it('shows a method signature and return type', async () => {
    const { text } = await hoverText('x = Shop.Order.AddLin|e(1, 2)');
    assert.ok(text.includes(signatureLabel(assistSignature('Shop.Order', 'AddLine'))), text);
    const submit = (await hoverText('Shop.ExpressOrder.Submi|t')).text;
    assert.ok(submit.includes('pCourier') && submit.includes('Shop.RushOrder'), submit);
  });

  it('shows a class with its super classes and description', async () => {
    const order = (await hoverText('Shop.Or|der')).text;
    assert.ok(order.includes('Shop.Order') && order.includes('An order of a customer.'), order);
    assert.ok(order.includes('Document') && order.includes('Util.Auditable'), order);
    const express = (await hoverText('x = Shop.Express|Order.Slot')).text;
    assert.ok(express.includes('A rush order delivered the same day.') && express.includes('RushOrder'), express);
    const text = (await hoverText('%Library.T|ext')).text;
    assert.ok(text.includes('A text value.'), text);
  });

  it('shows nothing where there is nothing to show', async () => {
    for (const marked of ['Shop.Order.Lines   | ', 'Shop.Order.No|pe', 'Nope.Thi|ng', '|', 'Shop.Order.Lines + |']) {
      const { result } = await hoverText(marked);
      assert.equal(result, null, `${marked}: ${JSON.stringify(result)}`);
    }
  });
});

describe('definition', () => {
  // Line ranges of each class's block in the dictionary file.
  function classBlocks(uri) {
    const lines = fs.readFileSync(h.fileURLToPath(uri), 'utf8').split('\n');
    const starts = [];
    lines.forEach((line, index) => {
      const match = /^    \{ "name": "([^"]+)"/.exec(line);
      if (match) starts.push({ name: match[1], start: index });
    });
    return starts.map((s, i) => ({ ...s, end: i + 1 < starts.length ? starts[i + 1].start : lines.length }));
  }

  async function definitionOf(marked) {
    const d = await doc(marked);
    return locations(await server.definition(d.uri, d.position));
  }

  async function assertMemberIn(marked, member, className) {
    const found = await definitionOf(marked);
    assert.equal(found.length, 1, `${marked}: ${JSON.stringify(found)}`);
    const [location] = found;
    assert.ok(location.uri.endsWith('/shop.json'), location.uri);
    assert.equal(textAt(location.uri, location.range).replace(/^"|"$/g, ''), member, `${marked}: the range selects the name`);
    const block = classBlocks(location.uri).find((b) => location.range.start.line >= b.start && location.range.start.line < b.end);
    assert.equal(block && block.name, className, `${marked}: defined in ${className}, found at line ${location.range.start.line}`);
  }

  it('points at the bundled dictionary', async () => {
    const [location] = await definitionOf('Shop.Order.Li|nes');
    const file = h.fileURLToPath(location.uri);
    assert.equal(fs.readFileSync(file, 'utf8'), fs.readFileSync(path.join(SOURCE_DIR, 'dictionaries', 'shop.json'), 'utf8'));
  });

  it('finds a member in the class that defines it', async () => {
    await assertMemberIn('Shop.Order.Li|nes', 'Lines', 'Shop.Order');
    await assertMemberIn('Shop.ExpressOrder.Numb|er', 'Number', 'Shop.Document');
    await assertMemberIn('Shop.ExpressOrder.Submit|(1)', 'Submit', 'Shop.RushOrder');
    await assertMemberIn('Shop.Order.Desc|ribe', 'Describe', 'Shop.Order');
    await assertMemberIn('Shop.Order.%Sa|ve', '%Save', '%Library.Persistent');
    await assertMemberIn('Shop.Order.PRE|FIX', 'PREFIX', 'Shop.Order');
    await assertMemberIn('Shop.Order.Chan|gedBy', 'ChangedBy', 'Util.Auditable');
  });

  it('finds a class by its name', async () => {
    const [location] = await definitionOf('Shop.Or|der.Lines');
    assert.equal(textAt(location.uri, location.range).replace(/^"|"$/g, ''), 'Shop.Order');
    const block = classBlocks(location.uri).find((b) => b.name === 'Shop.Order');
    assert.equal(location.range.start.line, block.start);
  });

  it('finds nothing for what is not in the dictionary', async () => {
    for (const marked of ['Shop.Order.No|pe', 'Nope.Thi|ng', 'Shop.Order.Lines  |  ']) {
      assert.deepEqual(await definitionOf(marked), [], marked);
    }
  });
});

describe('workspace symbols', () => {
  const fullName = (s) => (s.name.includes('.') || !s.containerName ? s.name : `${s.containerName}.${s.name}`);

  it('finds classes by name, with their place in the dictionary', async () => {
    const symbols = await server.request('workspace/symbol', { query: 'Order' });
    const classes = symbols.filter((s) => s.kind === SymbolKind.Class).map((s) => [fullName(s), s]);
    const names = classes.map(([name]) => name);
    for (const name of ['Shop.Order', 'Shop.RushOrder', 'Shop.ExpressOrder']) assert.ok(names.includes(name), `${name} among ${names}`);
    assert.ok(!names.includes('Shop.Product'), names);
    for (const [name, symbol] of classes) {
      assert.ok(symbol.location.uri.endsWith('/shop.json'), symbol.location.uri);
      if (symbol.location.range) assert.equal(textAt(symbol.location.uri, symbol.location.range).replace(/^"|"$/g, ''), name);
    }
  });

  it('finds nothing for a query that matches nothing', async () => {
    const symbols = await server.request('workspace/symbol', { query: 'zzqqxx' });
    assert.ok(symbols === null || symbols.length === 0, JSON.stringify(symbols));
  });
});

describe('diagnostics on documents', () => {
  it('warns about an unknown member at its place, counting UTF-16 units', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.Lines\r\n"😀é" Shop.Order.Nope + Shop.Order.Total\n');
    const [diagnostic, ...rest] = await server.waitDiagnostics(uri, (d) => d.length > 0);
    assert.deepEqual(rest, []);
    assert.equal(diagnostic.severity, Warning);
    assert.deepEqual(diagnostic.range, { start: { line: 1, character: 17 }, end: { line: 1, character: 21 } });
    assert.match(diagnostic.message, /Nope/);
  });

  it('clears the warning once the document is fixed', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.Nope');
    await server.waitDiagnostics(uri, (d) => d.length === 1);
    await server.change(uri, [{ range: { start: { line: 0, character: 11 }, end: { line: 0, character: 15 } }, text: 'Lines' }]);
    await server.waitDiagnostics(uri, (d) => d.length === 0, 'empty diagnostics after the fix');
  });

  it('warns about each unknown member', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.Nope(1), Shop.Cart.Missing\nShop.Order.AddLine(1)');
    const found = await server.waitDiagnostics(uri, (d) => d.length > 0);
    const ranges = found.map((d) => d.range).sort((a, b) => a.start.character - b.start.character);
    assert.deepEqual(ranges, [
      { start: { line: 0, character: 11 }, end: { line: 0, character: 15 } },
      { start: { line: 0, character: 30 }, end: { line: 0, character: 37 } },
    ]);
  });

  it('publishes no warning for a document whose references all exist', async () => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.Lines\nx = Shop.Order.AddLine(1, Util.Format.Pad("a,b", 2))\n%Library.Text\nShop.Ord\nUtil.Log.Write');
    await server.hover(uri, { line: 0, character: 12 }); // everything before it is handled
    const latest = server.latestDiagnostics(uri);
    assert.ok(latest === undefined || latest.length === 0, JSON.stringify(latest));
  });
});

describe('documents the server does not know, positions that do not exist', () => {
  it('answers without failing for a document never opened', async () => {
    const uri = docUri();
    const position = { line: 0, character: 3 };
    for (const method of ['textDocument/completion', 'textDocument/hover', 'textDocument/signatureHelp', 'textDocument/definition']) {
      try {
        const result = await server.request(method, { textDocument: { uri }, position });
        assert.ok(result === null || (Array.isArray(result) ? result.length === 0 : (result.items || result.signatures || []).length === 0), `${method}: ${JSON.stringify(result)}`);
      } catch (error) {
        assert.ok(typeof error.code === 'number', `${method}: ${error}`);
      }
    }
  });

  it('answers without failing for positions past the end', async () => {
    const d = await doc('Shop.Order.|\n😀x');
    for (const position of [{ line: 0, character: 500 }, { line: 1, character: 1 }, { line: 7, character: 0 }, { line: 1, character: 99 }]) {
      for (const method of ['textDocument/completion', 'textDocument/hover', 'textDocument/signatureHelp', 'textDocument/definition']) {
        try {
          await server.request(method, { textDocument: { uri: d.uri }, position });
        } catch (error) {
          assert.ok(typeof error.code === 'number', `${method} at ${JSON.stringify(position)}: ${error}`);
        }
      }
    }
    const items = await server.completionItems(d.uri, d.position);
    assert.ok(items.some((item) => item.label === 'AddLine'));
  });
});
