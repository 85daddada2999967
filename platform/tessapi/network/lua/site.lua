---- The whole

-- By which two servers, or two runs of one, tell apart what they have: it is another one after a start, and when a
-- replica takes over.
local function history_of_server()
  return string.match(redis.call('INFO', 'replication'), 'master_replid:(%x+)')
end

-- Of too many writers those that wrote last stay.
local function forget_writers(keys)
  local fields, writers = redis.call('HGETALL', keys[SITE]), {}
  for i = 1, #fields, 2 do
    if #fields[i] == 9 and string.byte(fields[i]) == 119 then -- 'w'
      writers[#writers + 1] = {field = fields[i], seq = struct.unpack('<I8', fields[i + 1], 9)}
    end
  end
  if #writers > WRITERS_MOST then
    table.sort(writers, function(a, b) return a.seq > b.seq end)
    for i = WRITERS_KEPT + 1, #writers do
      redis.call('HDEL', keys[SITE], writers[i].field)
    end
  end
end

-- Writer and the number of its last call by turns.
local function writers_of(keys)
  local fields, writers = redis.call('HGETALL', keys[SITE]), {}
  for i = 1, #fields, 2 do
    if #fields[i] == 9 and string.byte(fields[i]) == 119 then
      writers[#writers + 1] = string.sub(fields[i], 2)
      writers[#writers + 1] = (struct.unpack('<I8', fields[i + 1]))
    end
  end
  return writers
end

-- Whoever has given a call up does not want it to be read late.
local function close(keys, writer, number, seq)
  local held = redis.call('HGET', keys[SITE], 'w' .. writer)
  if number > (held and (struct.unpack('<I8', held)) or 0) then
    redis.call('HSET', keys[SITE], 'w' .. writer, struct.pack('<I8I8', number, seq))
  end
end

-- Site's identity or '', last change known, '1' to make what is not there, identity of a new one (random anyway),
-- root's Uuid, catalogue of a new one, the writer of values, the writer of all else and the last call of that which
-- it has given up. Gives a word; after 'ok' the identity, the number of the last change, the catalogue that types
-- are of, where the history begins, and the last call of the writer of values.
local function hello(keys, args)
  if redis.call('EXISTS', keys[SITE]) == 0 then
    if args[1] ~= '' then
      return {'gone'}
    elseif args[3] ~= '1' then
      return {'missing'}
    end
    redis.call('HSET', keys[SITE], 'id', args[4], 'format', FORMAT, 'seq', 0, 'dev', 999, 'chan', 999, 'ev', 0,
      'rec', 0, 'catalogue', args[6], 'history', history_of_server(), 'base', 0, 'before', 0)
    insert_device(keys, ROOT, args[5], '0')
  end
  local id, found, seq, catalogue, history, base, done = unpack(redis.call('HMGET', keys[SITE], 'id', 'format',
    'seq', 'catalogue', 'history', 'base', 'w' .. args[7]))
  if not id or not found then
    return {'foreign'}
  elseif found ~= FORMAT then
    return {'format', found}
  elseif args[1] ~= '' and args[1] ~= id then
    return {'gone'}
  end
  for _, key in ipairs({keys[SITE], keys[VALUES]}) do
    if redis.call('EXISTS', key) == 1 then
      spread(key) -- a server that was started anew has forgotten it
    end
  end
  local present, seen = history_of_server(), tonumber(args[2])
  seq, base = tonumber(seq), tonumber(base or 0)
  if history ~= present or seen > seq then
    base = begin_history(keys, seq, seen, 1 + tonumber(string.sub(args[4], 1, 2), 16))
    seq = base
    redis.call('HSET', keys[SITE], 'history', present)
  end
  forget_writers(keys)
  close(keys, args[8], tonumber(args[9]), seq)
  return {'ok', id, seq, catalogue or '', base, done and (struct.unpack('<I8', done)) or 0}
end

-- '1' for events and records too.
local function image(keys, args)
  local all = {}
  for i, key in ipairs({DEVICES, ATTRIBUTES, CHANNELS, VALUES, STATES, ALARMS}) do
    all[i] = redis.call('HGETALL', keys[key])
  end
  if args[1] == '1' then
    all[7] = redis.call('HMGET', keys[SITE], 'dev', 'chan')
    all[8] = redis.call('XRANGE', keys[EVENTS], '-', '+')
    all[9] = redis.call('XRANGE', keys[RECORDS], '-', '+')
  end
  return all
end

-- Last identifiers given to devices and channels; how many devices, attributes, channels, events and records;
-- then these.
local function fill(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  if write.is_repeated then
    return {'ok'}
  end
  if redis.call('HLEN', keys[DEVICES]) ~= 1 or redis.call('HLEN', keys[CHANNELS]) ~= 0 then
    return {'occupied'}
  end
  local place = OWN + 7
  local function take(count)
    place = place + count
    return unpack(args, place - count, place - 1)
  end
  for _ = 1, tonumber(args[OWN + 2]) do
    local id, uuid, parent = take(3)
    insert_device(keys, id, uuid, parent)
  end
  for _ = 1, tonumber(args[OWN + 3]) do
    redis.call('HSET', keys[ATTRIBUTES], take(2))
  end
  for _ = 1, tonumber(args[OWN + 4]) do
    local id, device, name, kind, description, times_and_value, states, triggers = take(8)
    insert_channel(keys, id, device, name, tonumber(kind), description)
    local list, value = unpack_triggers(triggers), string.sub(times_and_value, 29)
    activate(list, value)
    redis.call('HSET', keys[VALUES], id, head_of(tonumber(kind), list, value) .. times_and_value)
    put_states(keys, id, states)
    if #list > 0 then
      redis.call('HSET', keys[ALARMS], id, pack_triggers(list))
    end
  end
  if redis.call('EXISTS', keys[VALUES]) == 1 then
    spread(keys[VALUES])
  end
  local function take_stream(key, field, counter, count)
    for _ = 1, count do
      local number, content = take(2)
      local last = tonumber(redis.call('HGET', keys[SITE], counter))
      number = math.max(tonumber(number), last + 1)
      redis.call('XADD', keys[key], whole(number) .. '-0', field, content)
      redis.call('HSET', keys[SITE], counter, whole(number))
    end
  end
  take_stream(EVENTS, 'e', 'ev', tonumber(args[OWN + 5]))
  take_stream(RECORDS, 'r', 'rec', tonumber(args[OWN + 6]))
  local dev, chan = unpack(redis.call('HMGET', keys[SITE], 'dev', 'chan'))
  redis.call('HSET', keys[SITE], 'dev', whole(math.max(tonumber(dev), tonumber(args[OWN]))), 'chan',
    whole(math.max(tonumber(chan), tonumber(args[OWN + 1]))))
  commit(write)
  return {'ok'}
end

---- Reading

-- The device with its attributes; nothing for an unknown one.
local function device(keys, args)
  local found = redis.call('HGET', keys[DEVICES], args[1])
  if not found then
    return {}
  end
  local fields = {}
  for number = 0, 15 do
    fields[number + 1] = args[1] .. ':' .. number
  end
  return {found, redis.call('HMGET', keys[ATTRIBUTES], unpack(fields))}
end

local function worst_of(keys, args)
  local worst, channel = most_critical(keys, args[1])
  return worst and {worst.level, worst.priority, worst.code, channel} or {}
end

-- The number of the last change, the rows of the channels asked for, and who has written what.
local function start(keys, args)
  return {tonumber(redis.call('HGET', keys[SITE], 'seq') or 0), fields_of(keys[VALUES], args), writers_of(keys)}
end

-- Where the history begins, the last number before it, and the oldest entry of the news.
local function reach(keys, args)
  local base, before = unpack(redis.call('HMGET', keys[SITE], 'base', 'before'))
  return {tonumber(base or 0), tonumber(before or 0), redis.call('XRANGE', keys[NEWS], '-', '+', 'COUNT', 1)}
end

-- What a listener may have been told otherwise: all channels and all devices.
local function look(keys)
  return {redis.call('HKEYS', keys[VALUES]), redis.call('HKEYS', keys[DEVICES])}
end

-- What has changed since: the last change of each channel and device instead of all changes; and who has written
-- what.
local function summary(keys, args)
  local since, rows = tonumber(args[1]), {}
  local all = redis.call('HGETALL', keys[VALUES])
  for i = 1, #all, 2 do
    if struct.unpack('<I8', all[i + 1], head_size(all[i + 1]) + 9) > since then
      rows[#rows + 1] = all[i]
      rows[#rows + 1] = all[i + 1]
    end
  end
  return {tonumber(redis.call('HGET', keys[SITE], 'seq') or 0), rows,
    redis.call('ZRANGE', keys[MARKS], '(' .. args[1], '+inf', 'BYSCORE', 'WITHSCORES'), writers_of(keys)}
end

local function register(name, callback, flags)
  redis.register_function{function_name = 'tess4_' .. name, callback = callback, flags = flags}
end

-- Who only reads may begin also while the server has no memory for writes.
register('hello', hello, {'allow-oom'})
register('set', set_values)
register('set_alarms', set_alarms)
register('set_states', set_states)
register('set_attribute', set_attribute)
register('emplace_channels', emplace_channels)
register('remove_channels', remove_channels)
register('retype', retype)
register('emplace_device', emplace_device)
register('remove_sub_devices', remove_sub_devices)
register('record_write', record_write)
register('fill', fill)
register('image', image, {'no-writes'})
register('device', device, {'no-writes'})
register('worst_of', worst_of, {'no-writes'})
register('start', start, {'no-writes'})
register('reach', reach, {'no-writes'})
register('look', look, {'no-writes'})
register('summary', summary, {'no-writes'})

