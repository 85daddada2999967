#!lua name=tess4

-- The rules of the store where its data is. One call is one transaction: nothing comes between its reads and
-- its writes, and whatever can be refused is refused before the first write.
--
-- All keys of a site have one hash tag, and every call declares all that it may touch, in this order:
local SITE, VALUES, NEWS, CHANNELS, ALARMS, STATES, ATTRIBUTES, MARKS, EVENTS, MEMBERS = 1, 2, 3, 4, 5, 6, 7, 8, 9, 10
local DEVICES, UUIDS, TREE, NAMES, RECORDS = 11, 12, 13, 14, 15
-- site        hash    id, format, seq (last change), dev, chan, ev, rec (last numbers given), catalogue; history
--                     (the server's name of what it has), base (changes since have greater numbers), before (the
--                     last number of the history before it); 'w' and a writer -> its last call 8, seq then 8
-- values      hash    channel -> type 1, triggers 1; with triggers quiet 16, see quiet_of; then changed 8, seq 8,
--                     written 8, size 4, value
-- news        stream  SEQ-0 of the last of some changes -> c: the changes, m: writer 8, number of its call 8
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

local FORMAT = '2'
local KIND_VALUE, KIND_ATTRIBUTE, KIND_ALARMS = 0, 1, 2
local TRIGGER = '<I4i1i4I4BI4c0I4c0I4c0I4c0' -- level, type, priority, word, active, thresholds, code, extra
local EVENT = '<BI8I8I4i4i1I4c0I4c0I4c0I4c0I4c0I4c0I4c0'
local AT_ONCE = 1000 -- as many arguments as the stack of Lua takes with ease
local FIRST_FREE, ROOT = 1000, '1'
-- Numbers of changes that a new history leaves out, times 1 to 256; and of devices and channels.
local HISTORY_STEP, IDENTIFIER_STEP = 2 ^ 28, 1000
local WRITERS_KEPT, WRITERS_MOST = 128, 256
-- What every writing call begins with: which site is meant, the last change that the caller knows of, the writer,
-- the number of its call, '1' when it comes again (see the functions), changes kept, events kept, the time.
local TOKEN, SEEN, WRITER, NUMBER, AGAIN, KEPT, EVENTS_KEPT, TIME, OWN = 1, 2, 3, 4, 5, 6, 7, 8, 9

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

local PLAIN, WATCHED = 2, 18 -- sizes of what precedes the times of a row without and with triggers

local function head_size(row)
  return string.byte(row, 2) == 1 and WATCHED or PLAIN
end

local function value_of(row)
  return string.sub(row, head_size(row) + 29)
end

---- Changes

-- What comes from now on may differ from what others have been told before: a replica that lacked the last writes
-- has taken over, or older data came back. No number of a change is given twice, whatever the other history went
-- on to, and neither is an identifier that this one does not know of.
local function begin_history(keys, seq, seen, steps)
  local base = whole(math.max(seq, seen) + HISTORY_STEP * steps)
  if seq ~= tonumber(redis.call('HGET', keys[SITE], 'base') or 0) then -- else nothing was written since
    redis.call('HSET', keys[SITE], 'before', whole(seq))
  end
  redis.call('HSET', keys[SITE], 'seq', base, 'base', base)
  redis.call('HINCRBY', keys[SITE], 'dev', IDENTIFIER_STEP)
  redis.call('HINCRBY', keys[SITE], 'chan', IDENTIFIER_STEP)
  return tonumber(base)
end

-- A writing call on the site that its caller means.
local function begin(keys, args)
  local held = redis.call('HMGET', keys[SITE], 'id', 'seq', 'base', 'w' .. args[WRITER])
  if held[1] ~= args[TOKEN] then
    return nil, redis.error_reply('TESSGONE the store was emptied or replaced')
  end
  local seq, base, seen = tonumber(held[2]), tonumber(held[3] or 0), tonumber(args[SEEN])
  if seen > seq then
    base = begin_history(keys, seq, seen, 1)
    seq = base
  end
  return {keys = keys, args = args, time = args[TIME], seq = seq, base = base, number = tonumber(args[NUMBER]),
    done = held[4] and (struct.unpack('<I8', held[4])) or 0, changes = {}, removed = {}}
end

-- Likewise for all but values. The writer has one such call at a time: one that comes again is the last one that was
-- done or the next one; any other was given up long ago by its writer, and read late by a server that hung.
local function begin_next(keys, args)
  local write, gone = begin(keys, args)
  if gone then
    return nil, gone
  end
  write.is_repeated = write.number == write.done and args[AGAIN] == '1'
  if write.number <= write.done and not write.is_repeated then
    return nil, redis.error_reply('TESSLATE the call was given up')
  end
  return write
end

local function add(write, change)
  write.seq = write.seq + 1
  write.changes[#write.changes + 1] = change
  return write.seq
end

local function commit(write)
  local keys, args, last = write.keys, write.args, whole(write.seq)
  if #write.changes > 0 then
    -- Before a history has as many changes, its numbers say nothing about how many are kept.
    local bound, least = 'MAXLEN', args[KEPT]
    if write.seq - tonumber(least) >= write.base then
      bound, least = 'MINID', whole(write.seq - tonumber(least))
    end
    redis.call('XADD', keys[NEWS], bound, '~', least, last .. '-0', 'c', table.concat(write.changes), 'm',
      args[WRITER] .. struct.pack('<I8', write.number))
  end
  redis.call('HSET', keys[SITE], 'seq', last, 'w' .. args[WRITER], struct.pack('<I8I8', write.number, write.seq))
end

-- Keeps a hash from being searched from its beginning, as the server does with short ones: one long content
-- is enough, and it may go again.
local function spread(key)
  redis.call('HSET', key, '', string.rep(' ', 1024))
  redis.call('HDEL', key, '')
end

