---- Values of channels

-- Why not all of these values can be set; nil when they can.
local function refusal(keys, ids, changes, rows)
  local byte = string.byte
  for i = 1, #ids do
    local id, row = ids[i], rows[i]
    if not row then
      return {'unknown', id}
    end
    if byte(row) + 1 ~= byte(changes[i], 22) then
      local _, _, name = info_of(keys, id)
      return {'type', id, byte(row), name}
    end
  end
end

-- Each with its row; the same channel may come several times.
local function apply(write, ids, changes, rows)
  local sub, byte, pack = string.sub, string.byte, struct.pack
  local latest, fields, list = {}, {}, write.changes
  for i = 1, #ids do
    local id, change = ids[i], changes[i]
    local row = latest[id] or rows[i]
    local is_watched = byte(row, 2) == 1
    local size = is_watched and WATCHED or PLAIN
    local written_and_value, value = sub(change, 10), sub(change, 22)
    local written, head, seq = sub(change, 10, 17), sub(row, 1, size), write.seq + 1
    write.seq = seq
    list[#list + 1] = change
    if is_watched and not is_quiet(row, value) then
      write.time = written
      head = evaluate(write, id, byte(row), value)
    end
    local changed = same(sub(row, size + 29), value) and sub(row, size + 1, size + 8) or written
    row = head .. changed .. pack('<I8', seq) .. written_and_value
    latest[id] = row
    fields[2 * i - 1], fields[2 * i] = id, row
  end
  set_fields(write.keys[VALUES], fields)
end

-- Channel and change, as often as one likes: all or none. Gives the number of the last change. A writer's calls are
-- done in their order, each once; when some before this one are missing, it is told the last that was done, except
-- with '1' for AGAIN: it does not have them any more.
local function set_values(keys, args)
  local write, gone = begin(keys, args)
  if gone then
    return gone
  end
  if write.number <= write.done then
    return write.seq
  elseif write.number > write.done + 1 and args[AGAIN] ~= '1' then
    return {'behind', whole(write.done)}
  end
  local ids, changes, count = {}, {}, 0
  for i = OWN, #args, 2 do
    count = count + 1
    ids[count], changes[count] = args[i], args[i + 1]
  end
  local rows = fields_of(keys[VALUES], ids)
  local refused = refusal(keys, ids, changes, rows)
  if refused then
    return refused
  end
  apply(write, ids, changes, rows)
  commit(write)
  return write.seq
end

-- Channel, packed triggers.
local function set_alarms(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  local channel = args[OWN]
  local row = redis.call('HGET', keys[VALUES], channel)
  if not row then
    return write.seq
  end
  local value = value_of(row)
  local before, after = unpack_triggers(redis.call('HGET', keys[ALARMS], channel)), unpack_triggers(args[OWN + 1])
  activate(after, value)
  if #after > 0 then
    redis.call('HSET', keys[ALARMS], channel, pack_triggers(after))
  else
    redis.call('HDEL', keys[ALARMS], channel)
  end
  redis.call('HSET', keys[VALUES], channel, head_of(string.byte(row), after, value) .. string.sub(row, head_size(row) + 1))
  if note_alarms(write, channel, value, before, after) then
    announce_alarms(write, (info_of(keys, channel)))
  end
  commit(write)
  return write.seq
end

local function put_states(keys, channel, states)
  if states ~= '' then
    redis.call('HSET', keys[STATES], channel, states)
  else
    redis.call('HDEL', keys[STATES], channel)
  end
end

-- Channel, packed states.
local function set_states(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  if redis.call('HEXISTS', keys[VALUES], args[OWN]) == 1 then
    put_states(keys, args[OWN], args[OWN + 1])
  end
  commit(write)
  return write.seq
end

---- Channels

-- Changed, seq, written, size of no value.
local NEVER = '\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0'

local function insert_channel(keys, id, device, name, kind, description)
  redis.call('HSET', keys[NAMES], device .. ':' .. name, id)
  redis.call('HSET', keys[CHANNELS], id,
    struct.pack('<I8I4c0', tonumber(device), #description, description) .. name)
  redis.call('ZADD', keys[MEMBERS], device, id)
  if redis.call('HSET', keys[VALUES], id, string.char(kind, 0) .. NEVER) == 1 and tonumber(id) == FIRST_FREE then
    spread(keys[VALUES])
  end
end

-- Device, then for each channel: name, type, description, packed states. Gives channel and type of each by turns;
-- nothing for an unknown device.
local function emplace_channels(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  local device, found = args[OWN], {}
  if redis.call('HEXISTS', keys[DEVICES], device) == 0 then
    return found
  end
  for i = OWN + 1, #args, 4 do
    local id, kind = redis.call('HGET', keys[NAMES], device .. ':' .. args[i]), tonumber(args[i + 1])
    if id then
      kind = string.byte(redis.call('HGET', keys[VALUES], id), 1)
    else
      id = whole(redis.call('HINCRBY', keys[SITE], 'chan', 1))
      insert_channel(keys, id, device, args[i], kind, args[i + 2])
      put_states(keys, id, args[i + 3])
    end
    found[#found + 1] = id
    found[#found + 1] = kind
  end
  commit(write)
  return found
end

-- Alarms of a channel that is about to go are cleared; gives whether there were some.
local function clear_alarms(write, channel)
  local text = redis.call('HGET', write.keys[ALARMS], channel)
  if not text then
    return false
  end
  local value = value_of(redis.call('HGET', write.keys[VALUES], channel))
  return note_alarms(write, channel, value, unpack_triggers(text), {})
end

local function remove_channel(write, id)
  local keys = write.keys
  local device, _, name = info_of(keys, id)
  redis.call('HDEL', keys[NAMES], device .. ':' .. name)
  for _, key in ipairs({keys[CHANNELS], keys[VALUES], keys[STATES], keys[ALARMS]}) do
    redis.call('HDEL', key, id)
  end
  redis.call('ZREM', keys[MEMBERS], id)
  write.removed[#write.removed + 1] = id
end

local function set_of(args, first)
  local set = {}
  for i = first, #args do
    set[args[i]] = true
  end
  return set
end

-- Device, then the channels that are kept. Gives those that are gone.
local function remove_channels(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  local kept = set_of(args, OWN + 1)
  local alarms_changed = false
  for _, id in ipairs(members_of(keys, args[OWN])) do
    if not kept[id] then
      alarms_changed = clear_alarms(write, id) or alarms_changed
      remove_channel(write, id)
    end
  end
  if alarms_changed then
    announce_alarms(write, args[OWN])
  end
  commit(write)
  return write.removed
end

-- Catalogue, then for each channel: id, type, description, packed states. A channel of another type loses its
-- value.
local function retype(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  for i = OWN + 1, #args, 4 do
    local id, kind = args[i], tonumber(args[i + 1])
    local row = redis.call('HGET', keys[VALUES], id)
    if row then
      local device, _, name = info_of(keys, id)
      redis.call('HSET', keys[CHANNELS], id,
        struct.pack('<I8I4c0', tonumber(device), #args[i + 2], args[i + 2]) .. name)
      if string.byte(row, 1) ~= kind then
        put_states(keys, id, args[i + 3])
        local size = head_size(row)
        local head = size == WATCHED and evaluate(write, id, kind, '') or string.char(kind, 0)
        redis.call('HSET', keys[VALUES], id, head .. string.rep('\0', 8) ..
          string.sub(row, size + 9, size + 16) .. string.rep('\0', 12))
      end
    end
  end
  redis.call('HSET', keys[SITE], 'catalogue', args[OWN])
  commit(write)
  return write.seq
end

