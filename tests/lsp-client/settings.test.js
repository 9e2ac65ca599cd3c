'use strict';
// Settings, from initializationOptions, workspace/didChangeConfiguration (at the
// top of `settings` or under `settings.vantle`) and workspace/configuration: which
// class a short name means (imports, sourceRoot), which members are listed
// (flags, includeInherited), and whether unknown members are reported.

const { describe, it } = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const h = require('./lib/harness');

const { Server, withServer, markdown, assistMembers, assertSameNames, eventually } = h;

let counter = 0;
const docUri = () => h.uriOf(path.join(os.tmpdir(), `vantle-settings-${process.pid}-${++counter}.txt`));

async function labelsAfter(server, text, uri = docUri()) {
  await server.open(uri, text);
  const lines = text.split('\n');
  const position = { line: lines.length - 1, character: lines[lines.length - 1].length };
  const items = await server.completionItems(uri, position);
  await server.close(uri);
  return items.map((item) => item.label).sort();
}

const sorted = (list) => [...list].sort();

// What a short name resolves to is told by comparing its members with those of the
// full name on the same server (so that these tests do not depend on the flags).
async function assertResolvesTo(server, shortName, fullName, uri) {
  const short = await labelsAfter(server, `${shortName}.`, uri);
  const full = await labelsAfter(server, `${fullName}.`, uri);
  assert.ok(full.length > 0, `${fullName} has members`);
  assert.deepEqual(short, full, `${shortName} resolves to ${fullName}${uri ? ` in ${uri}` : ''}`);
}

async function assertUnresolved(server, shortName, uri) {
  assert.deepEqual(await labelsAfter(server, `${shortName}.`, uri), [], `${shortName} resolves to no class${uri ? ` in ${uri}` : ''}`);
}

describe('imports', () => {
  it('resolves a short class name in the imported packages', async () => {
    await withServer({ initialize: { initializationOptions: { imports: 'Shop' } } }, async (server) => {
      await assertResolvesTo(server, 'Order', 'Shop.Order');
      await assertUnresolved(server, 'Log');
      const uri = docUri();
      await server.open(uri, 'x = Order.Lines + Order.AddLine(1, ');
      assert.match(markdown(await server.hover(uri, { line: 0, character: 12 })), /relm of Shop\.Line/);
      const help = await server.signatureHelp(uri, { line: 0, character: 35 });
      assert.ok(help && help.signatures[0].label.startsWith('AddLine('), JSON.stringify(help));
    });
  });

  it('follows imports changed under settings.vantle and at the top of settings', async () => {
    await withServer({ initialize: { initializationOptions: { imports: 'Shop' } } }, async (server) => {
      await server.configure({ vantle: { imports: 'Util' } });
      await assertUnresolved(server, 'Order');
      await assertResolvesTo(server, 'Log', 'Util.Log');
      await server.configure({ imports: 'Shop,Util' });
      await assertResolvesTo(server, 'Order', 'Shop.Order');
      await assertResolvesTo(server, 'Log', 'Util.Log');
      await server.configure({ vantle: { imports: '' } });
      await assertUnresolved(server, 'Order');
    });
  });

  it('reports unknown members of a class named by its short name', async () => {
    await withServer({ initialize: { initializationOptions: { imports: 'Shop' } } }, async (server) => {
      const uri = docUri();
      await server.open(uri, 'Order.Nope');
      const [diagnostic] = await server.waitDiagnostics(uri, (d) => d.length > 0);
      assert.deepEqual(diagnostic.range, { start: { line: 0, character: 6 }, end: { line: 0, character: 10 } });
    });
  });
});

describe('sourceRoot', () => {
  function sourceTree() {
    const root = h.tempDir('vantle src ');
    for (const dir of ['Shop', 'Util', path.join('Shop', 'Sub')]) fs.mkdirSync(path.join(root, dir), { recursive: true });
    return root;
  }
  const at = (root, ...parts) => h.uriOf(path.join(root, ...parts));

  it('resolves short names in the package of the document\'s folder', async () => {
    const root = sourceTree();
    await withServer({ initialize: { initializationOptions: { sourceRoot: root } } }, async (server) => {
      await assertResolvesTo(server, 'Order', 'Shop.Order', at(root, 'Shop', 'Invoice.txt'));
      await assertUnresolved(server, 'Log', at(root, 'Shop', 'Invoice.txt'));
      await assertResolvesTo(server, 'Log', 'Util.Log', at(root, 'Util', 'Helper.src'));
      await assertUnresolved(server, 'Order', at(root, 'Util', 'Helper.src'));
      await assertUnresolved(server, 'Order', at(root, 'Shop', 'Sub', 'Deep.txt'));
      await assertUnresolved(server, 'Order', at(root, 'Top.txt'));
      await assertUnresolved(server, 'Order', h.uriOf(path.join(os.tmpdir(), 'Shop', 'Outside.txt')));
    });
  });

  it('follows a sourceRoot set after start', async () => {
    const root = sourceTree();
    await withServer({}, async (server) => {
      const uri = at(root, 'Shop', 'Cart.txt');
      await assertUnresolved(server, 'Order', uri);
      await server.configure({ vantle: { sourceRoot: root } });
      await assertResolvesTo(server, 'Order', 'Shop.Order', uri);
      const hoverDoc = at(root, 'Shop', 'Other.txt');
      await server.open(hoverDoc, 'Customer.Orders');
      assert.match(markdown(await server.hover(hoverDoc, { line: 0, character: 11 })), /Shop\.Order/);
    });
  });
});

describe('flags', () => {
  for (const flags of [1, 2, 4, 16, 15, 23, 31]) {
    it(`lists what flags ${flags} select`, async () => {
      await withServer({ initialize: { initializationOptions: { flags } } }, async (server) => {
        assertSameNames(await labelsAfter(server, 'Shop.Order.'), sorted(assistMembers('Shop.Order', '--flags', String(flags))), `members of Shop.Order with flags ${flags}`);
      });
    });
  }

  it('lists a data-type class only with flag 32', async () => {
    await withServer({}, async (server) => {
      assert.deepEqual(await labelsAfter(server, '%Library.Text.'), [], 'a data-type class without flag 32');
      await server.configure({ vantle: { flags: 39 } });
      const expected = sorted(assistMembers('%Library.Text', '--flags', '39'));
      assert.ok(expected.includes('IsValid'));
      assertSameNames(await labelsAfter(server, '%Library.Text.'), expected, 'members of %Library.Text with flags 39');
    });
  });

  it('follows flags changed after start', async () => {
    await withServer({}, async (server) => {
      await server.configure({ flags: 4 });
      const properties = await labelsAfter(server, 'Shop.Order.');
      assertSameNames(properties, sorted(assistMembers('Shop.Order', '--flags', '4')), 'members of Shop.Order with flags 4');
      await server.configure({ vantle: { flags: 7 } });
      assertSameNames(await labelsAfter(server, 'Shop.Order.'), sorted(assistMembers('Shop.Order', '--flags', '7')), 'members of Shop.Order with flags 7');
    });
  });
});

describe('includeInherited', () => {
  it('leaves inherited members out when false and brings them back when true', async () => {
    // Flags 23 (with class parameters), so that this does not depend on flag 16.
    await withServer({ initialize: { initializationOptions: { includeInherited: false, flags: 23 } } }, async (server) => {
      const own = await labelsAfter(server, 'Shop.Order.');
      assertSameNames(own, sorted(assistMembers('Shop.Order', '--no-inherited', '--flags', '23')), 'own members of Shop.Order');
      assert.ok(!own.includes('%Save') && !own.includes('Number') && !own.includes('STORAGE'));
      await server.configure({ vantle: { includeInherited: true, flags: 23 } });
      assertSameNames(await labelsAfter(server, 'Shop.Order.'), sorted(assistMembers('Shop.Order', '--flags', '23')), 'all members of Shop.Order');
    });
  });
});

describe('diagnostics setting', () => {
  it('reports nothing while false and updates open documents when it changes', async () => {
    await withServer({ initialize: { initializationOptions: { diagnostics: false } } }, async (server) => {
      const uri = docUri();
      await server.open(uri, 'Shop.Order.Nope');
      await server.hover(uri, { line: 0, character: 3 }); // the open has been handled
      const quiet = server.latestDiagnostics(uri);
      assert.ok(quiet === undefined || quiet.length === 0, JSON.stringify(quiet));
      await server.configure({ vantle: { diagnostics: true } });
      await server.waitDiagnostics(uri, (d) => d.length === 1, 'the warning once diagnostics are switched on');
      await server.configure({ diagnostics: false });
      await server.waitDiagnostics(uri, (d) => d.length === 0, 'the warning withdrawn once diagnostics are switched off');
      await server.change(uri, [{ text: 'Shop.Order.Gone' }]);
      await server.hover(uri, { line: 0, character: 3 });
      assert.deepEqual(server.latestDiagnostics(uri), []);
    });
  });
});

describe('workspace/configuration', () => {
  it('asks for section "vantle" and applies the answer, again on a change notification', async () => {
    let answer = { imports: 'Shop' };
    const server = new Server({ configuration: (items) => items.map((item) => (item.section === 'vantle' ? answer : null)) });
    try {
      await server.initialize({ capabilities: { workspace: { configuration: true, didChangeConfiguration: { dynamicRegistration: false } } } });
      await eventually(() => server.configurationRequests.length > 0, 'a workspace/configuration request after initialized');
      assert.ok(server.configurationRequests[0].items.some((item) => item.section === 'vantle'), JSON.stringify(server.configurationRequests));
      await eventually(async () => (await labelsAfter(server, 'Order.')).includes('AddLine'), 'imports from workspace/configuration applied');
      answer = { imports: 'Util' };
      const asked = server.configurationRequests.length;
      await server.configure(null);
      await eventually(() => server.configurationRequests.length > asked, 'a new workspace/configuration request after didChangeConfiguration');
      await eventually(async () => (await labelsAfter(server, 'Log.')).includes('Write'), 'the new answer applied');
      assert.deepEqual(await labelsAfter(server, 'Order.'), []);
    } finally {
      await server.finish();
    }
  });
});
