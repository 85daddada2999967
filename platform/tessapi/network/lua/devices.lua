---- Devices

local function children_of(keys, device)
  local ids = redis.call('ZRANGE', keys[TREE], device, device, 'BYSCORE')
  table.sort(ids, function(a, b) return tonumber(a) < tonumber(b) end)
  return ids
end

-- The device, when it is there, and all that is below it; the deepest last.
local function subtree_of(keys, device)
  if redis.call('HEXISTS', keys[DEVICES], device) == 0 then
    return {}
  end
  local ids, next_one = {device}, 1
  while next_one <= #ids do
    for _, child in ipairs(children_of(keys, ids[next_one])) do
      ids[#ids + 1] = child
    end
    next_one = next_one + 1
  end
  return ids
end

local function remove_device(write, id)
  local keys = write.keys
  for _, channel in ipairs(members_of(keys, id)) do
    clear_alarms(write, channel)
    remove_channel(write, channel)
  end
  redis.call('HDEL', keys[UUIDS], string.sub(redis.call('HGET', keys[DEVICES], id), 1, 16))
  redis.call('HDEL', keys[DEVICES], id)
  redis.call('ZREM', keys[TREE], id)
  redis.call('ZREM', keys[MARKS], KIND_ATTRIBUTE .. ':' .. id, KIND_ALARMS .. ':' .. id)
  for number = 0, 15 do
    redis.call('HDEL', keys[ATTRIBUTES], id .. ':' .. number)
  end
end

local function remove_devices(write, subtree)
  for i = #subtree, 1, -1 do
    remove_device(write, subtree[i])
  end
end

local function insert_device(keys, id, uuid, parent)
  redis.call('HSET', keys[DEVICES], id, uuid .. struct.pack('<I8', tonumber(parent)))
  redis.call('HSET', keys[UUIDS], uuid, id)
  if id ~= ROOT then
    redis.call('ZADD', keys[TREE], parent, id)
  end
end

local function contains(list, wanted)
  for _, entry in ipairs(list) do
    if entry == wanted then
      return true
    end
  end
  return false
end

-- Uuid, parent, wanted identifier. Gives the device, if there is one then, and the channels that are gone.
local function emplace_device(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  local uuid, parent, wanted = args[OWN], args[OWN + 1], args[OWN + 2]
  local known = redis.call('HGET', keys[UUIDS], uuid)
  if known then
    return {known, {}}
  end
  -- The root keeps its seat, and from FIRST_FREE up identifiers are given, not wished for.
  local is_wish = tonumber(wanted) > tonumber(ROOT) and tonumber(wanted) < FIRST_FREE
  local subtree = is_wish and subtree_of(keys, wanted) or {}
  if redis.call('HEXISTS', keys[DEVICES], parent) == 0 or contains(subtree, parent) then
    return {false, {}}
  end
  local had_alarms = is_wish and most_critical(keys, wanted) ~= nil
  remove_devices(write, subtree)
  local id = is_wish and wanted or whole(redis.call('HINCRBY', keys[SITE], 'dev', 1))
  insert_device(keys, id, uuid, parent)
  if had_alarms then
    announce_alarms(write, id)
  end
  commit(write)
  return {id, write.removed}
end

local function has_any(list, set)
  for _, entry in ipairs(list) do
    if set[entry] then
      return true
    end
  end
  return false
end

-- Device, limit, then the devices that are kept. Gives the channels that are gone.
local function remove_sub_devices(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  local limit, kept = tonumber(args[OWN + 1]), set_of(args, OWN + 2)
  local removed = 0
  for _, child in ipairs(children_of(keys, args[OWN])) do
    if removed == limit then
      break
    end
    local subtree = subtree_of(keys, child)
    if not has_any(subtree, kept) then
      remove_devices(write, subtree)
      removed = removed + 1
    end
  end
  commit(write)
  return write.removed
end

-- Device, number, text.
local function set_attribute(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  local device = args[OWN]
  if redis.call('HEXISTS', keys[DEVICES], device) == 0 or write.is_repeated then
    return write.seq
  end
  local seq = add(write, struct.pack('<BI8', KIND_ATTRIBUTE, tonumber(device)) .. write.time ..
    struct.pack('<I4', 0))
  redis.call('HSET', keys[ATTRIBUTES], device .. ':' .. args[OWN + 1], args[OWN + 2])
  redis.call('ZADD', keys[MARKS], whole(seq), KIND_ATTRIBUTE .. ':' .. device)
  commit(write)
  return write.seq
end

-- The record.
local function record_write(keys, args)
  local write, gone = begin_next(keys, args)
  if gone then
    return gone
  end
  if write.is_repeated then
    return write.seq
  end
  local number = redis.call('HINCRBY', keys[SITE], 'rec', 1)
  redis.call('XADD', keys[RECORDS], 'MAXLEN', '~', args[EVENTS_KEPT], whole(number) .. '-0', 'r', args[OWN])
  commit(write)
  return write.seq
end

