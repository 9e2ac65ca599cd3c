'use strict';
// The dictionary the server answers from: chosen on the command line or by the
// `dictionary` setting, reported at the place of its fault when malformed (while the
// server goes on answering), and read again when the file changes.

const { it } = require('node:test');
const fs = require('node:fs');
const path = require('node:path');
const { spawnSync } = require('node:child_process');
const h = require('./lib/harness');

const { withServer, eventually, tempDir, uriOf, docUri, textAt, assert } = h;
const FORMAT = 'vantle-class-dictionary/1';

// A small dictionary, one class over two lines, so that places are easy to predict.
const small = (extra) => [
  `{ "format": "${FORMAT}",`,
  '  "classes": [',
  `    { "name": "Lab.Robot", "methods": [{"name": "Run"}${extra ? `, {"name": "${extra}", "returnType": "%Text"}` : ''}],`,
  '      "properties": [ {"name": "Serial", "type": "%Text"} ] } ] }',
  '',
].join('\n');

function write(text, name = 'lab.json', dir = tempDir()) {
  fs.writeFileSync(path.join(dir, name), text);
  return path.join(dir, name);
}

// Where vantle-assist places the fault of a malformed dictionary, as an LSP position.
function componentErrorAt(file) {
  const match = /:(\d+):(\d+): /.exec(spawnSync(process.env.VANTLE_ASSIST, ['classes', '--dictionary', file], { encoding: 'utf8' }).stderr);
  return { line: Number(match[1]) - 1, character: Number(match[2]) - 1 };
}

const robot = (server) => server.labelsAfter('Lab.Robot.');

it('answers from --dictionary FILE unless the dictionary setting names another', async () => {
  const file = write(small());
  await withServer({ args: ['--dictionary', file], ready: 'Robot' }, async (server) => {
    assert.deepEqual(await robot(server), ['Run', 'Serial']);
    const uri = docUri();
    await server.open(uri, 'Lab.Robot.Serial');
    const location = await server.at('definition', uri, { line: 0, character: 12 });
    assert.deepEqual([h.fileURLToPath(location.uri), location.range.start.line, textAt(location)], [file, 3, 'Serial']);
    await server.configure({ vantle: { dictionary: path.join(h.SOURCE_DIR, 'dictionaries', 'shop.json') } });
    await eventually(async () => (await server.labelsAfter('Shop.Order.')).includes('AddLine'), 'answers from the bundled dictionary');
    assert.deepEqual(await robot(server), []);
    await server.configure({ dictionary: '' });
    await eventually(async () => (await robot(server)).length > 0, 'answers from --dictionary again');
  });
});

it('marks completion incomplete until the dictionary has loaded, then reports on documents opened before', async () => {
  const classes = Array.from({ length: 20000 }, (_, i) => ({ name: `Big.C${i}`, methods: [1, 2, 3, 4, 5].map((j) => ({ name: `M${j}`, formalSpec: 'pA:%Text' })) }));
  const file = write(JSON.stringify({ format: FORMAT, classes }), 'large.json');
  await withServer({ initializationOptions: { dictionary: file }, ready: null }, async (server) => {
    const uri = docUri();
    await server.open(uri, 'Big.C5.M1\nBig.C5.Nope');
    const early = await server.at('completion', uri, { line: 0, character: 7 });
    assert.ok(early.items.length > 0 || early.isIncomplete, `an empty list must be incomplete: ${JSON.stringify(early)}`);
    const [diagnostic] = await server.waitDiagnostics(uri, (d) => d.length > 0, 'the warning once the dictionary has loaded');
    assert.deepEqual(diagnostic.range, { start: { line: 1, character: 7 }, end: { line: 1, character: 11 } });
  });
});

it('reports a malformed dictionary at the place the component gives, and goes on answering', async () => {
  const dir = tempDir();
  const broken = [
    write(`{ "format": "${FORMAT}",\n  "classes": [\n    { "name": "A.B", "methods": [ {"name": "X",, } ] } ] }\n`, 'syntax.json', dir),
    write(`{ "format": "${FORMAT}",\n  "classes": [\n    { "nam": "A.B" } ] }\n`, 'structure.json', dir),
  ];
  await withServer({ initializationOptions: { dictionary: broken[0] }, ready: null }, async (server) => {
    for (const [index, file] of broken.entries()) {
      if (index > 0) await server.configure({ dictionary: file });
      const [diagnostic] = await server.waitDiagnostics(uriOf(file), (d) => d.length > 0, `a diagnostic on ${file}`);
      assert.deepEqual([diagnostic.severity, diagnostic.range.start], [1, componentErrorAt(file)], file);
    }
    await server.waitDiagnostics(uriOf(broken[0]), (d) => d.length === 0, 'the first report withdrawn once another file is used');
    const missing = path.join(dir, 'missing.json');
    await server.configure({ dictionary: missing });
    const [diagnostic] = await server.waitDiagnostics(uriOf(missing), (d) => d.length > 0, 'a diagnostic on the missing file');
    assert.deepEqual(diagnostic.range.start, { line: 0, character: 0 });
    assert.deepEqual(await server.labelsAfter('A.B.'), []);
    assert.deepEqual(await server.request('workspace/symbol', { query: 'A' }), []);
  });
});

it('reads the dictionary again when the file changes, keeping the last good one while it is broken', async () => {
  const file = write(small());
  const watching = { workspace: { didChangeWatchedFiles: { dynamicRegistration: true, relativePatternSupport: true } } };
  // Rewrites the file as an editor saving it does, and tells the server as a client watching it does.
  const rewrite = (server, text) => {
    fs.writeFileSync(file, text);
    return server.notify('workspace/didChangeWatchedFiles', { changes: [{ uri: uriOf(file), type: 2 }] });
  };
  await withServer({ initializationOptions: { dictionary: file }, capabilities: watching, ready: 'Robot' }, async (server) => {
    const uri = docUri();
    await server.open(uri, 'Lab.Robot.Wave');
    await server.waitDiagnostics(uri, (d) => d.length === 1, 'the warning on Wave');
    await rewrite(server, `{ "format": "${FORMAT}",\n  "classes": [ {\n`);
    const [diagnostic] = await server.waitDiagnostics(uriOf(file), (d) => d.length > 0, 'a diagnostic for the broken rewrite');
    assert.deepEqual([diagnostic.severity, diagnostic.range.start], [1, { line: 2, character: 0 }], 'at the end of the input');
    assert.deepEqual(await robot(server), ['Run', 'Serial'], 'the dictionary loaded before stays in use');
    await rewrite(server, small('Wave'));
    await server.waitDiagnostics(uriOf(file), (d) => d.length === 0, 'the report withdrawn after the fix');
    await server.waitDiagnostics(uri, (d) => d.length === 0, 'the warning on Wave withdrawn');
    assert.deepEqual(await robot(server), ['Run', 'Serial', 'Wave']);
    const location = await server.at('definition', uri, { line: 0, character: 12 });
    assert.deepEqual([location.range.start.line, textAt(location)], [2, 'Wave']);
  });
});
