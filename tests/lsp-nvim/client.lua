-- Starts vantle-lsp through Neovim's built-in LSP client (Neovim 0.7 and later),
-- as an editor does: the client negotiates, syncs a real buffer as it is typed
-- into, and turns the answers into what a user sees (completion items, signature
-- highlight, hover lines, a jump to the definition, diagnostics).
--
-- Run by run.sh as: nvim --headless --clean -u NONE -i NONE -c "luafile client.lua"
-- Environment: VANTLE_LSP (the server), VANTLE_ASSIST (vantle-assist, for the
-- component's own answers), VANTLE_NVIM_STDERR (a file for the server's stderr),
-- VANTLE_LSP_TIMEOUT_MS (optional).
-- Exits 0 when every check passed; otherwise prints what differed and exits 1.

local server = os.getenv('VANTLE_LSP')
local assist = os.getenv('VANTLE_ASSIST')
local stderr_file = os.getenv('VANTLE_NVIM_STDERR')
local timeout = tonumber(os.getenv('VANTLE_LSP_TIMEOUT_MS') or '') or 20000

local failures = {}
local passed = 0

local function say(text)
  io.stdout:write(text .. '\n')
end

-- Records a failed check; `what` names it, expected and actual are shown as Lua
-- values.
local function check(ok, what, expected, actual)
  if ok then
    passed = passed + 1
  else
    table.insert(failures, string.format('%s\n    expected: %s\n    actual:   %s', what, vim.inspect(expected), vim.inspect(actual)))
  end
  return ok
end

local function equal(actual, expected, what)
  return check(vim.deep_equal(actual, expected), what, expected, actual)
end

local function contains(text, part, what)
  return check(type(text) == 'string' and text:find(part, 1, true) ~= nil, what, 'text containing ' .. vim.inspect(part), text)
end

-- The component's answer through vantle-assist --json: exit 0 (found) or 1 (not found).
local function assist_json(args)
  local command = { assist }
  vim.list_extend(command, args)
  table.insert(command, '--json')
  local out = vim.fn.system(command)
  assert(vim.v.shell_error == 0 or vim.v.shell_error == 1,
         'vantle-assist failed: ' .. table.concat(command, ' ') .. ': ' .. out)
  return vim.fn.json_decode(out)
end

local function assist_members(class)
  local names = {}
  local answer = assist_json({ 'members', class })
  for _, member in ipairs(answer.members ~= vim.NIL and answer.members or {}) do
    table.insert(names, member.name)
  end
  table.sort(names)
  return names
end

local function assist_signature(class, method, argument)
  local args = { 'signature', class, method }
  if argument then table.insert(args, tostring(argument)) end
  local answer = assist_json(args)
  local function text(part) return part ~= vim.NIL and part or '' end
  return text(answer.before) .. text(answer.current) .. text(answer.after), answer
end

local function main()
  assert(server and server ~= '', 'VANTLE_LSP is not set')
  assert(vim.fn.executable(server) == 1, 'VANTLE_LSP is not an executable: ' .. server)
  assert(assist and vim.fn.executable(assist) == 1, 'VANTLE_ASSIST is not an executable: ' .. tostring(assist))

  local dir = vim.fn.tempname()
  vim.fn.mkdir(dir, 'p')
  local path = dir .. '/order.txt'

  local exit_status
  local cmd = { server }
  if stderr_file and stderr_file ~= '' then
    -- exec: the client's process is the server itself, its exit code the server's.
    cmd = { 'sh', '-c', 'exec "$0" 2>>"$1"', server, stderr_file }
  end
  local client_id = vim.lsp.start_client({
    name = 'vantle',
    cmd = cmd,
    root_dir = dir,
    on_exit = function(code, signal) exit_status = { code = code, signal = signal } end,
  })
  assert(client_id, 'vim.lsp.start_client did not start the server')
  local client = vim.lsp.get_client_by_id(client_id)

  vim.cmd('edit ' .. vim.fn.fnameescape(path))
  local buf = vim.api.nvim_get_current_buf()
  vim.bo[buf].filetype = 'vantle'
  vim.lsp.buf_attach_client(buf, client_id)
  local ready = vim.wait(timeout, function() return client.initialized end, 20)
  assert(ready, 'the server did not finish initialize within ' .. timeout .. ' ms')
  equal(client.resolved_capabilities.text_document_did_change, vim.lsp.protocol.TextDocumentSyncKind.Incremental,
    'initialize: the client syncs incrementally')

  local uri = vim.uri_from_bufnr(buf)

  -- The dictionary loads in the background: wait until a workspace symbol query
  -- finds a class, as a user would wait for the first answers.
  local loaded = vim.wait(timeout, function()
    local response = client.request_sync('workspace/symbol', { query = 'Order' }, timeout, buf)
    return response and response.result and #response.result > 0
  end, 50)
  assert(loaded, 'the dictionary did not load within ' .. timeout .. ' ms')

  -- Types text as a user does (insert mode, so the client sends incremental
  -- changes) and leaves the cursor after it.
  local function type_text(text)
    vim.cmd('normal! A' .. text)
  end
  local function set_text(lines)
    vim.api.nvim_buf_set_lines(buf, 0, -1, false, lines)
  end
  -- An LSP position (UTF-16) for a byte column of a line of the buffer.
  local function position(line, byte_col)
    local text = vim.api.nvim_buf_get_lines(buf, line, line + 1, false)[1]
    local _, utf16 = vim.str_utfindex(text, byte_col)
    return { line = line, character = utf16 }
  end
  local function at_end(line)
    local text = vim.api.nvim_buf_get_lines(buf, line, line + 1, false)[1]
    return position(line, #text)
  end
  local function request(method, pos, extra)
    local params = vim.tbl_extend('force', { textDocument = { uri = uri }, position = pos }, extra or {})
    local response, err = client.request_sync(method, params, timeout, buf)
    assert(response, method .. ': no answer: ' .. tostring(err))
    assert(response.err == nil, method .. ': error ' .. vim.inspect(response.err))
    return response.result
  end

  -- Completion after a dot, typed into a line that already holds non-ASCII text.
  set_text({ '"é😀" x = ' })
  type_text('Shop.Order.')
  local line = vim.api.nvim_buf_get_lines(buf, 0, 1, false)[1]
  equal(line, '"é😀" x = Shop.Order.', 'the buffer after typing')
  local result = request('textDocument/completion', at_end(0), { context = { triggerKind = 2, triggerCharacter = '.' } })
  local matches = vim.lsp.util.text_document_completion_list_to_complete_items(result, '')
  local words, kinds = {}, {}
  for _, match in ipairs(matches) do
    table.insert(words, match.word)
    kinds[match.word] = match.kind
  end
  table.sort(words)
  local labels = vim.tbl_map(function(item) return item.label end, result.items or result)
  table.sort(labels)
  equal(words, labels, 'completion after "Shop.Order.": Neovim inserts each item as its label')
  for _, name in ipairs(assist_members('Shop.Order')) do
    check(kinds[name] ~= nil, 'completion after "Shop.Order.": ' .. name .. ' (listed by vantle-assist) offered', name, words)
  end
  check(kinds.Archive == nil, 'completion after "Shop.Order.": the internal Archive not offered', nil, kinds.Archive)
  check(kinds.AddLine == 'Method' or kinds.AddLine == 'Function', 'completion: kind of AddLine', 'Method', kinds.AddLine)
  check(kinds.Lines == 'Property' or kinds.Lines == 'Field', 'completion: kind of Lines', 'Property', kinds.Lines)

  -- Completion of a member being typed: Neovim's omnifunc replaces the keyword
  -- before the cursor with the word.
  type_text('Li')
  result = request('textDocument/completion', at_end(0))
  matches = vim.lsp.util.text_document_completion_list_to_complete_items(result, 'Li')
  local offered = vim.tbl_map(function(m) return m.word end, matches)
  check(vim.tbl_contains(offered, 'Lines'), 'completion after "Shop.Order.Li": Lines offered', 'Lines among the words', offered)

  -- Signature help while typing the arguments.
  set_text({ '"é😀" x = Shop.Order.' })
  type_text('AddLine(1, ')
  result = request('textDocument/signatureHelp', at_end(0), { context = { triggerKind = 2, triggerCharacter = ',', isRetrigger = false } })
  local expected_label, parts = assist_signature('Shop.Order', 'AddLine', 2)
  check(result and result.signatures and #result.signatures == 1, 'signature help: one signature', 1, result)
  if result and result.signatures and result.signatures[1] then
    equal(result.signatures[1].label, expected_label, 'signature help: the label')
    local lines, hl = vim.lsp.util.convert_signature_help_to_markdown_lines(result, 'text', { '(', ',' })
    contains(table.concat(lines or {}, '\n'), expected_label, 'signature help: the lines Neovim shows')
    check(type(hl) == 'table', 'signature help: Neovim finds the active parameter to highlight', 'a range', hl)
    if type(hl) == 'table' then
      equal(expected_label:sub(hl[1] + 1, hl[2]), parts.current, 'signature help: the highlighted parameter')
    end
  end

  -- Hover on a member.
  set_text({ '"é😀" x = Shop.Order.Lines' })
  result = request('textDocument/hover', position(0, #'"é😀" x = Shop.Order.Li'))
  check(result and result.contents and result.contents.kind == 'markdown', 'hover: Markdown content', 'markdown', result and result.contents)
  if result and result.contents then
    local shown = table.concat(vim.lsp.util.convert_input_to_markdown_lines(result.contents), '\n')
    contains(shown, 'relm of Shop.Line', 'hover on Lines: the type Neovim shows')
    contains(shown, 'Shop.Order', 'hover on Lines: the class that defines it')
  end

  -- Definition, followed the way the editor jumps.
  set_text({ '"é😀" x = Shop.ExpressOrder.Number' })
  result = request('textDocument/definition', position(0, #'"é😀" x = Shop.ExpressOrder.Num'))
  local location = result and (result.uri and result or result[1])
  check(location ~= nil, 'definition of Shop.ExpressOrder.Number: a location', 'a location', result)
  if location then
    vim.lsp.util.jump_to_location(location, client.offset_encoding)
    local target = vim.api.nvim_buf_get_name(0)
    check(target:sub(-#'/shop.json') == '/shop.json', 'definition: the buffer jumped to', '.../shop.json', target)
    equal(vim.fn.expand('<cword>'), 'Number', 'definition: the word under the cursor after the jump')
    local class_line = vim.fn.search([[^    { "name": "]], 'bnW')
    local class_text = class_line > 0 and vim.fn.getline(class_line) or ''
    contains(class_text, '"Shop.Document"', 'definition: the class the jump lands in')
    vim.cmd('buffer ' .. buf)
  end

  -- A warning on an unknown member, placed by Neovim in its own byte columns.
  set_text({ '"é😀" x = Shop.Order.Nope' })
  local got = vim.wait(timeout, function() return #vim.diagnostic.get(buf) > 0 end, 20)
  local diagnostics = vim.diagnostic.get(buf)
  check(got and #diagnostics == 1, 'diagnostics: one for "Nope"', 1, diagnostics)
  if diagnostics[1] then
    local start_col = #'"é😀" x = Shop.Order.'
    equal({ diagnostics[1].lnum, diagnostics[1].col, diagnostics[1].end_col, diagnostics[1].severity },
      { 0, start_col, start_col + 4, vim.diagnostic.severity.WARN },
      'diagnostics: line, byte columns and severity of the warning on Nope')
  end
  set_text({ '"é😀" x = Shop.Order.Lines' })
  got = vim.wait(timeout, function() return #vim.diagnostic.get(buf) == 0 end, 20)
  check(got, 'diagnostics: withdrawn once the member exists', {}, vim.diagnostic.get(buf))

  -- Shutdown and exit as the editor does when it quits.
  vim.lsp.stop_client(client_id)
  local ended = vim.wait(timeout, function() return exit_status ~= nil end, 20)
  check(ended, 'shutdown: the server exits after shutdown and exit', 'an exit', exit_status)
  if ended then equal(exit_status, { code = 0, signal = 0 }, 'shutdown: the exit status') end

  if stderr_file and stderr_file ~= '' and vim.fn.filereadable(stderr_file) == 1 then
    local log = table.concat(vim.fn.readfile(stderr_file), '\n')
    check(not log:find('Sanitizer', 1, true) and not log:find('runtime error:', 1, true),
      'the server\'s stderr holds no sanitizer report', 'none', log:sub(-4000))
  end
end

local ok, err = xpcall(main, debug.traceback)
if not ok then
  table.insert(failures, 'the script stopped: ' .. tostring(err))
end
for _, failure in ipairs(failures) do
  say('FAIL: ' .. failure)
end
say(string.format('lsp-nvim: %d passed, %d failed', passed, #failures))
io.stdout:flush()
if #failures > 0 then
  vim.cmd('cquit 1')
else
  vim.cmd('qall!')
end
