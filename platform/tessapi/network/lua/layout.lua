#!lua name=tess

-- The rules of the store where its data is. One call is one transaction: nothing comes between its reads and
-- its writes, and whatever can be refused is refused before the first write.
--
-- All keys of a site have one hash tag, and every call declares all that it may touch, in this order:
local SITE, VALUES, NEWS, CHANNELS, ALARMS, STATES, ATTRIBUTES, MARKS, EVENTS, MEMBERS = 1, 2, 3, 4, 5, 6, 7, 8, 9, 10
local DEVICES, UUIDS, TREE, NAMES, RECORDS = 11, 12, 13, 14, 15
-- site        hash    id, format, seq (last change), dev, chan, ev, rec (last numbers given), catalogue
-- values      hash    channel -> type 1, triggers 1, changed 8, seq 8, then: written 8, size 4, value
-- news        stream  SEQ-0 of the last of some changes -> c: the changes, m: the writer's mark
--                     a change is kind 1, object 8, time 8, size 4, value
-- channels    hash    channel -> device 8, size 4, description, name
-- alarms      hash    channel -> its triggers, see TRIGGER
-- states      hash    channel -> size 4, value, size 4, name, and so on
-- attributes  hash    DEVICE:NUMBER -> text
-- marks       zset    KIND:DEVICE with the seq of its last change of that kind
-- events      stream  NUMBER-0 -> e: see EVENT
-- members     zset    channel with its device
-- devices     hash    device -> uuid 16, parent 8
-- uuids       hash    uuid -> device
-- tree        zset    device with its parent
-- names       hash    DEVICE:NAME -> channel
-- records     stream  NUMBER-0 -> r: as its writer made it
-- Numbers are little-endian, times milliseconds since 1970. A value begins with the number of its alternative.

local FORMAT = '1'
local KIND_VALUE, KIND_ATTRIBUTE, KIND_ALARMS = 0, 1, 2
local TRIGGER = '<I4i1i4I4BI4c0I4c0I4c0I4c0' -- level, type, priority, word, active, thresholds, code, extra
local EVENT = '<BI8I8I4i4i1I4c0I4c0I4c0I4c0I4c0I4c0I4c0'
local AT_ONCE = 1000 -- as many arguments as the stack of Lua takes with ease
local FIRST_FREE, ROOT = 1000, '1'
-- What every writing call begins with: which site is meant, the last change that the caller knows of, the
-- call's own mark, '1' when it was sent before and its answer was lost, changes kept, events kept, the time.
local TOKEN, SEEN, MARK, AGAIN, KEPT, EVENTS_KEPT, TIME, OWN = 1, 2, 3, 4, 5, 6, 7, 8

local function whole(number)
  return string.format('%.0f', number)
end

---- Values

local NUMBERS = {'B', '<i4', '<i8', '<I4', '<I8', '<f', '<d', '<i8'}

-- What triggers compare: numbers of all kinds, booleans and timestamps as double; nil for everything else.
local function number_of(value)
  local layout = NUMBERS[string.byte(value, 1) or 0]
  return layout and (struct.unpack(layout, value, 2))
end

-- Whether a write of one over the other leaves the value as it was.
local function same(old, new)
  if old == new then
    return true
  end
  local kind = string.byte(new, 1)
  if kind ~= string.byte(old, 1) then
    return false
  end
  if kind == 8 then
    return string.sub(old, 1, 9) == string.sub(new, 1, 9) -- the format of a timestamp is no part of it
  end
  return (kind == 6 or kind == 7) and number_of(old) == number_of(new)
end

local function value_of(row)
  return string.sub(row, 31)
end

---- Changes

-- A writing call on the site that its caller means. What the caller has seen of the numbers counts: after a
-- failover the counter may be behind, and listeners would take what comes next for what they know.
local function begin(keys, args)
  local held = redis.call('HMGET', keys[SITE], 'id', 'seq')
  if held[1] ~= args[TOKEN] then
    return nil, redis.error_reply('TESSGONE the store was emptied or replaced')
  end
  local seq, seen = tonumber(held[2]), tonumber(args[SEEN])
  if seen > seq then
    seq = seen
  end
  return {keys = keys, args = args, time = args[TIME], seq = seq, changes = {}, removed = {}}
end

local function add(write, change)
  write.seq = write.seq + 1
  write.changes[#write.changes + 1] = change
  return write.seq
end

local function commit(write)
  if #write.changes > 0 then
    local last = whole(write.seq)
    redis.call('XADD', write.keys[NEWS], 'MINID', '~', whole(math.max(write.seq - tonumber(write.args[KEPT]), 0)),
      last .. '-0', 'c', table.concat(write.changes), 'm', write.args[MARK])
    redis.call('HSET', write.keys[SITE], 'seq', last)
  end
end

-- Whether a call that comes again was done the first time, when its answer did not reach the caller.
local function is_done(write)
  if write.args[AGAIN] ~= '1' then
    return false
  end
  local after = '(' .. write.args[SEEN] .. '-0'
  for _, entry in ipairs(redis.call('XRANGE', write.keys[NEWS], after, '+')) do
    if entry[2][4] == write.args[MARK] then
      return true
    end
  end
  return false
end

-- Keeps a hash from being searched from its beginning, as the server does with short ones: one long content
-- is enough, and it may go again.
local function spread(key)
  redis.call('HSET', key, '', string.rep(' ', 1024))
  redis.call('HDEL', key, '')
end

