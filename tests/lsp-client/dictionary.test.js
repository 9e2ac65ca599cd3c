'use strict';
// The dictionary the server answers from: chosen on the command line or by the
// `dictionary` setting, reported at the place of its fault when malformed (and the
// server goes on answering), and read again when the file changes.

const { describe, it } = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { spawnSync } = require('node:child_process');
const h = require('./lib/harness');

const { withServer, locations, textAt, eventually, SOURCE_DIR } = h;

const ErrorSeverity = 1;
const FileChangeType = { Created: 1, Changed: 2, Deleted: 3 };
const FORMAT = 'vantle-class-dictionary/1';

let counter = 0;
const docUri = () => h.uriOf(path.join(os.tmpdir(), `vantle-dictionary-${process.pid}-${++counter}.txt`));

// A small dictionary, one class per line so that lines are easy to predict.
function smallDictionary(extraMethod) {
  const methods = [{ name: 'Run', returnType: '%Text', formalSpec: 'pTimes:%Integer=1' }];
  if (extraMethod) methods.push({ name: extraMethod, returnType: '%Text' });
  return [
    '{ "format": "vantle-class-dictionary/1",',
    '  "classes": [',
    `    { "name": "Lab.Robot", "description": "A test robot.", "methods": ${JSON.stringify(methods)},`,
    '      "properties": [ {"name": "Serial", "type": "%Text"} ] } ] }',
    '',
  ].join('\n');
}

function writeDictionary(text, name = 'lab.json') {
  const dir = h.tempDir('vantle dict ');
  const file = path.join(dir, name);
  fs.writeFileSync(file, text);
  return file;
}

// Where vantle-assist places the fault of a malformed dictionary (FILE:LINE:COLUMN,
// from 1), as an LSP position.
function componentErrorAt(file) {
  const run = spawnSync(h.ASSIST, ['classes', '--dictionary', file], { encoding: 'utf8' });
  const match = /:(\d+):(\d+): /.exec(run.stderr);
  assert.ok(match, `vantle-assist names the place: ${run.stderr}`);
  return { line: Number(match[1]) - 1, character: Number(match[2]) - 1 };
}

async function labels(server, text) {
  const uri = docUri();
  await server.open(uri, text);
  const items = await server.completionItems(uri, { line: 0, character: text.length });
  await server.close(uri);
  return items.map((item) => item.label).sort();
}

// Rewrites the file as an editor saving it does, and tells the server as a client
// watching the file does.
async function rewrite(server, file, text) {
  fs.writeFileSync(file, text);
  await server.notify('workspace/didChangeWatchedFiles', { changes: [{ uri: h.uriOf(file), type: FileChangeType.Changed }] });
}

const watching = { workspace: { didChangeWatchedFiles: { dynamicRegistration: true, relativePatternSupport: true }, configuration: false } };

describe('choosing the dictionary', () => {
  it('answers from --dictionary FILE', async () => {
    const file = writeDictionary(smallDictionary());
    await withServer({ args: ['--dictionary', file], ready: 'Robot' }, async (server) => {
      assert.deepEqual(await labels(server, 'Lab.Robot.'), ['Run', 'Serial']);
      assert.deepEqual(await labels(server, 'Shop.Order.'), []);
      const uri = docUri();
      await server.open(uri, 'Lab.Robot.Serial');
      const [location] = locations(await server.definition(uri, { line: 0, character: 12 }));
      assert.equal(h.fileURLToPath(location.uri), file);
      assert.equal(location.range.start.line, 3);
      assert.equal(textAt(location.uri, location.range).replace(/^"|"$/g, ''), 'Serial');
    });
  });

  it('answers from the dictionary setting, and switches when it changes', async () => {
    const file = writeDictionary(smallDictionary());
    await withServer({ initialize: { initializationOptions: { dictionary: file } }, ready: 'Robot' }, async (server) => {
      assert.deepEqual(await labels(server, 'Lab.Robot.'), ['Run', 'Serial']);
      await server.configure({ vantle: { dictionary: path.join(SOURCE_DIR, 'dictionaries', 'shop.json') } });
      await eventually(async () => (await labels(server, 'Shop.Order.')).includes('AddLine'), 'answers from the bundled dictionary');
      assert.deepEqual(await labels(server, 'Lab.Robot.'), []);
      await server.configure({ dictionary: file });
      await eventually(async () => (await labels(server, 'Lab.Robot.')).length > 0, 'answers from the small dictionary again');
      assert.deepEqual(await labels(server, 'Lab.Robot.'), ['Run', 'Serial']);
    });
  });
});

describe('while the dictionary loads', () => {
  // Large enough that the load is still running when the first requests arrive.
  function largeDictionary() {
    const classes = [];
    for (let i = 0; i < 20000; i++) {
      classes.push({
        name: `Big.C${i}`,
        methods: [1, 2, 3, 4, 5].map((j) => ({ name: `M${j}`, returnType: '%Text', formalSpec: 'pA:%Text,pB:%Count=1' })),
        properties: [{ name: 'P', type: '%Text' }],
      });
    }
    return writeDictionary(JSON.stringify({ format: FORMAT, classes }), 'large.json');
  }

  it('marks a completion list incomplete when the dictionary has not loaded yet', async () => {
    const file = largeDictionary();
    await withServer({ initialize: { initializationOptions: { dictionary: file } }, ready: null }, async (server) => {
      const uri = docUri();
      await server.open(uri, 'Big.C5.');
      const early = await server.completion(uri, { line: 0, character: 7 });
      const items = Array.isArray(early) ? early : early.items;
      assert.ok(items.length > 0 || (!Array.isArray(early) && early.isIncomplete === true),
        `a client keeps an empty complete list while the user types on: ${JSON.stringify(early)}`);
      await eventually(async () => (await labels(server, 'Big.C5.')).length === 6, 'the members once loaded');
    });
  });

  it('reports unknown members of documents opened before the dictionary loaded', async () => {
    const file = largeDictionary();
    await withServer({ initialize: { initializationOptions: { dictionary: file } }, ready: null }, async (server) => {
      const uri = docUri();
      await server.open(uri, 'Big.C5.M1\nBig.C5.Nope');
      const [diagnostic] = await server.waitDiagnostics(uri, (d) => d.length > 0, 'the warning once the dictionary has loaded');
      assert.deepEqual(diagnostic.range, { start: { line: 1, character: 7 }, end: { line: 1, character: 11 } });
    });
  });
});

describe('a malformed dictionary', () => {
  it('is reported at the place of a syntax error, and the server goes on answering', async () => {
    const text = [
      '{ "format": "vantle-class-dictionary/1",',
      '  "classes": [',
      '    { "name": "A.B", "methods": [ {"name": "X",, } ] } ] }',
      '',
    ].join('\n');
    const file = writeDictionary(text, 'broken.json');
    await withServer({ initialize: { initializationOptions: { dictionary: file } }, ready: null }, async (server) => {
      const uri = h.uriOf(file);
      const [diagnostic, ...rest] = await server.waitDiagnostics(uri, (d) => d.length > 0, 'a diagnostic on the malformed dictionary');
      assert.deepEqual(rest, []);
      assert.equal(diagnostic.severity, ErrorSeverity);
      // The second of the two commas.
      assert.deepEqual(diagnostic.range.start, { line: 2, character: text.split('\n')[2].indexOf(',,') + 1 });
      assert.deepEqual(diagnostic.range.start, componentErrorAt(file));
      assert.match(diagnostic.message, /syntax|unexpected|expected/i);
      assert.deepEqual(await labels(server, 'A.B.'), []);
      const doc = docUri();
      await server.open(doc, 'A.B.X');
      assert.equal(await server.hover(doc, { line: 0, character: 4 }), null);
      assert.deepEqual(locations(await server.definition(doc, { line: 0, character: 4 })), []);
      const symbols = await server.request('workspace/symbol', { query: 'A' });
      assert.ok(symbols === null || Array.isArray(symbols));
    });
  });

  it('is reported where the component places a fault in the structure', async () => {
    const text = [
      `{ "format": "${FORMAT}",`,
      '  "classes": [',
      '    { "nam": "A.B" } ] }',
      '',
    ].join('\n');
    const file = writeDictionary(text, 'unknown-key.json');
    await withServer({ initialize: { initializationOptions: { dictionary: file } }, ready: null }, async (server) => {
      const [diagnostic] = await server.waitDiagnostics(h.uriOf(file), (d) => d.length > 0);
      assert.equal(diagnostic.range.start.line, 2, 'on the line of the faulty class');
      assert.deepEqual(diagnostic.range.start, componentErrorAt(file));
      assert.match(diagnostic.message, /nam/);
    });
  });

  it('keeps the server answering when it is missing', async () => {
    const file = path.join(h.tempDir('vantle dict '), 'missing.json');
    await withServer({ initialize: { initializationOptions: { dictionary: file } }, ready: null }, async (server) => {
      const uri = docUri();
      await server.open(uri, 'Shop.Order.Nope');
      await server.completion(uri, { line: 0, character: 11 });
      await server.hover(uri, { line: 0, character: 2 });
      await server.request('workspace/symbol', { query: 'Order' });
    });
  });
});

describe('reload', () => {
  it('reads the dictionary again after the file is rewritten', async () => {
    const file = writeDictionary(smallDictionary());
    await withServer({ initialize: { initializationOptions: { dictionary: file }, capabilities: watching }, ready: 'Robot' }, async (server) => {
      assert.deepEqual(await labels(server, 'Lab.Robot.'), ['Run', 'Serial']);
      const uri = docUri();
      await server.open(uri, 'Lab.Robot.Wave');
      await server.waitDiagnostics(uri, (d) => d.length === 1, 'the warning on Wave before the reload');
      await rewrite(server, file, smallDictionary('Wave'));
      await eventually(async () => (await labels(server, 'Lab.Robot.')).includes('Wave'), 'Wave listed after the rewrite');
      await server.waitDiagnostics(uri, (d) => d.length === 0, 'the warning on Wave withdrawn after the reload');
      const [location] = locations(await server.definition(uri, { line: 0, character: 12 }));
      assert.equal(location.range.start.line, 2);
      assert.equal(textAt(location.uri, location.range).replace(/^"|"$/g, ''), 'Wave');
    });
  });

  it('reports a rewrite that breaks the file and withdraws the report when it is fixed', async () => {
    const file = writeDictionary(smallDictionary());
    const uri = h.uriOf(file);
    await withServer({ initialize: { initializationOptions: { dictionary: file }, capabilities: watching }, ready: 'Robot' }, async (server) => {
      assert.deepEqual(await labels(server, 'Lab.Robot.'), ['Run', 'Serial']);
      await rewrite(server, file, '{ "format": "vantle-class-dictionary/1",\n  "classes": [ {\n');
      const [diagnostic] = await server.waitDiagnostics(uri, (d) => d.length > 0, 'a diagnostic for the broken rewrite');
      assert.equal(diagnostic.severity, ErrorSeverity);
      assert.deepEqual(diagnostic.range.start, { line: 2, character: 0 }, 'at the end of the input');
      await server.request('workspace/symbol', { query: 'Robot' });
      await rewrite(server, file, smallDictionary('Wave'));
      await server.waitDiagnostics(uri, (d) => d.length === 0, 'the diagnostic withdrawn after the fix');
      await eventually(async () => (await labels(server, 'Lab.Robot.')).includes('Wave'), 'Wave listed after the fix');
    });
  });
});
