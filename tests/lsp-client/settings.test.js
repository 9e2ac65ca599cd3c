'use strict';
// Settings from initializationOptions, workspace/didChangeConfiguration (at the top
// of `settings` or under `settings.vantle`) and workspace/configuration: which
// class a short name means (imports, sourceRoot), which members are listed
// (flags, includeInherited), and whether unknown members are reported.

const { it } = require('node:test');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { Server, withServer, using, eventually, assistList, tempDir, uriOf, docUri, hoverText, assert } = require('./lib/harness');

// The class a short name resolves to, told by its members (nothing: no class).
async function resolves(server, shortName, uri) {
  const members = await server.labelsAfter(`${shortName}.`, uri);
  for (const full of ['Shop.Order', 'Util.Log']) {
    if (members.join() === (await server.labelsAfter(`${full}.`, uri)).join()) return full;
  }
  return members.length ? `something else: ${members}` : 'nothing';
}

it('resolves short names in the imported packages, as the latest settings say', async () => {
  await withServer({ initializationOptions: { imports: 'Shop' } }, async (server) => {
    const uri = docUri();
    await server.open(uri, 'x = Order.Lines + Order.Nope(1, ');
    assert.match(hoverText(await server.at('hover', uri, { line: 0, character: 12 })), /relm of Shop\.Line/);
    const [warning] = await server.waitDiagnostics(uri, (d) => d.length === 1, 'the warning on Order.Nope');
    assert.deepEqual(warning.range, { start: { line: 0, character: 24 }, end: { line: 0, character: 28 } });
    for (const [settings, order, log] of [
      [null, 'Shop.Order', 'nothing'],
      [{ vantle: { imports: 'Util' } }, 'nothing', 'Util.Log'],
      [{ imports: 'Shop,Util' }, 'Shop.Order', 'Util.Log'],
      [{ imports: 'Shop', vantle: { imports: '' } }, 'nothing', 'nothing'],
    ]) {
      if (settings) await server.configure(settings);
      assert.deepEqual([await resolves(server, 'Order'), await resolves(server, 'Log')], [order, log], JSON.stringify(settings));
    }
  });
});

it('resolves short names in the package of the document\'s folder below sourceRoot', async () => {
  const root = tempDir();
  for (const dir of ['Shop/Sub', 'Util']) fs.mkdirSync(path.join(root, dir), { recursive: true });
  await withServer({}, async (server) => {
    const invoice = uriOf(path.join(root, 'Shop', 'Invoice.txt'));
    assert.equal(await resolves(server, 'Order', invoice), 'nothing');
    await server.configure({ vantle: { sourceRoot: root } });
    for (const [file, expected] of [
      [['Shop', 'Invoice.txt'], ['Shop.Order', 'nothing']],
      [['Util', 'Helper.src'], ['nothing', 'Util.Log']],
      [['Shop', 'Sub', 'Deep.txt'], ['nothing', 'nothing']],
      [['Top.txt'], ['nothing', 'nothing']],
    ]) {
      const uri = uriOf(path.join(root, ...file));
      assert.deepEqual([await resolves(server, 'Order', uri), await resolves(server, 'Log', uri)], expected, file.join('/'));
    }
    assert.equal(await resolves(server, 'Order', uriOf(path.join(os.tmpdir(), 'Shop', 'Outside.txt'))), 'nothing');
  });
});

it('lists the members that flags and includeInherited select, as the component does', async () => {
  await withServer({ initializationOptions: { flags: 4 } }, async (server) => {
    assert.deepEqual(await server.labelsAfter('Shop.Order.'), assistList('members', 'Shop.Order', '--flags', '4'));
    for (const [settings, className, options] of [
      [{ flags: 1 }, 'Shop.Order', ['--flags', '1']],
      [{ vantle: { flags: 2 } }, 'Shop.Order', ['--flags', '2']],
      [{ flags: 16 }, 'Shop.Order', ['--flags', '16']],
      [{ flags: 31 }, 'Shop.Order', ['--flags', '31']],
      [{ flags: 7 }, '%Library.Text', ['--flags', '7']],
      [{ flags: 39 }, '%Library.Text', ['--flags', '39']],
      [{ flags: 23, includeInherited: false }, 'Shop.Order', ['--flags', '23', '--no-inherited']],
      [{ flags: 23, includeInherited: true }, 'Shop.Order', ['--flags', '23']],
    ]) {
      await server.configure(settings);
      assert.deepEqual(await server.labelsAfter(`${className}.`), assistList('members', className, ...options), JSON.stringify(settings));
    }
  });
});

it('reports unknown members only while diagnostics are on, and withdraws the reports when switched off', async () => {
  await withServer({ initializationOptions: { diagnostics: false } }, async (server) => {
    const uri = docUri();
    await server.open(uri, 'Shop.Order.Nope');
    await server.waitDiagnostics(uri, (d) => d.length === 0, 'an empty list while off');
    await server.configure({ vantle: { diagnostics: true } });
    await server.waitDiagnostics(uri, (d) => d.length === 1, 'the warning once switched on');
    await server.configure({ diagnostics: false });
    await server.waitDiagnostics(uri, (d) => d.length === 0, 'the warning withdrawn once switched off');
  });
});

it('asks for section "vantle" with workspace/configuration, again on each change notification', async () => {
  let answer = { imports: 'Shop' };
  await using(new Server({ configuration: (item) => (item.section === 'vantle' ? answer : null) }), async (server) => {
    await server.initialize({ workspace: { configuration: true } });
    await eventually(async () => (await resolves(server, 'Order')) === 'Shop.Order', 'imports from workspace/configuration applied');
    answer = { imports: 'Util' };
    await server.configure(null);
    await eventually(async () => (await resolves(server, 'Log')) === 'Util.Log', 'the new answer applied');
    assert.equal(await resolves(server, 'Order'), 'nothing');
    assert.equal(server.configurationRequests.length, 2);
  });
});
