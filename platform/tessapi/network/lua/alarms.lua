---- Alarms

local function unpack_triggers(text)
  local triggers, place = {}, 1
  while text and place <= #text do
    local t = {}
    t.level, t.kind, t.priority, t.word, t.active, t.low, t.high, t.code, t.extra, place =
      struct.unpack(TRIGGER, text, place)
    triggers[#triggers + 1] = t
  end
  return triggers
end

local function pack_triggers(triggers)
  local parts = {}
  for i, t in ipairs(triggers) do
    parts[i] = struct.pack(TRIGGER, t.level, t.kind, t.priority, t.word, t.active, #t.low, t.low, #t.high, t.high,
      #t.code, t.code, #t.extra, t.extra)
  end
  return table.concat(parts)
end

local function holds(level, kind, low, high, value, number)
  if level == 0 then
    return false
  end
  low = number_of(low) or low
  if not number or type(low) == 'string' then
    return kind == 3 and string.byte(value, 1) == 9 and value == low
  end
  if kind == 1 then
    return number >= low
  elseif kind == 2 then
    return number <= low
  elseif kind == 3 then
    return number == low
  elseif kind == 4 then
    high = number_of(high)
    return high ~= nil and low <= number and number <= high
  end
  return false
end

-- Tells each trigger whether it is active at the value; gives whether one was told something new.
local function activate(triggers, value)
  local number, changed = number_of(value), false
  for _, t in ipairs(triggers) do
    local active = holds(t.level, t.kind, t.low, t.high, value, number) and 1 or 0
    changed = changed or active ~= t.active
    t.active = active
  end
  return changed
end

local function by_key(a, b)
  if a.level ~= b.level then
    return a.level < b.level
  elseif a.priority ~= b.priority then
    return a.priority < b.priority
  end
  return a.code < b.code
end

-- Two numbers between which, or at which when they are one, no trigger compares otherwise than it does with this
-- value: the thresholds next to it. Most values need nothing else to be looked at.
local function quiet_of(triggers, value)
  local number, low, high = number_of(value), -math.huge, math.huge
  if not number then
    return struct.pack('<dd', high, low) -- holds no number
  end
  for _, t in ipairs(triggers) do
    for _, threshold in ipairs({number_of(t.low) or low, number_of(t.high) or low}) do
      if threshold < number then
        low = math.max(low, threshold)
      elseif threshold > number then
        high = math.min(high, threshold)
      else
        return struct.pack('<dd', number, number)
      end
    end
  end
  return struct.pack('<dd', low, high)
end

local function is_quiet(row, value)
  local number, low, high = number_of(value), struct.unpack('<dd', row, 3)
  return number and ((low < number and number < high) or (low == number and number == high))
end

-- What a row begins with.
local function head_of(kind, triggers, value)
  if #triggers == 0 then
    return string.char(kind, 0)
  end
  return string.char(kind, 1) .. quiet_of(triggers, value)
end

-- The active ones by what tells them apart, and in order; of several with one key the first.
local function active_of(triggers)
  local known, list = {}, {}
  for _, t in ipairs(triggers) do
    local key = t.level .. ':' .. t.priority .. ':' .. t.code
    if t.active == 1 and not known[key] then
      known[key] = true
      list[#list + 1] = t
    end
  end
  table.sort(list, by_key)
  return known, list
end

local function info_of(keys, channel)
  local info = redis.call('HGET', keys[CHANNELS], channel)
  local device, description, place = struct.unpack('<I8I4c0', info)
  return whole(device), description, string.sub(info, place)
end

-- The name of the state that the value has, else what is said of the channel.
local function message_of(keys, channel, value, description)
  local states, place = redis.call('HGET', keys[STATES], channel), 1
  local number = number_of(value)
  while states and place <= #states do
    local key, name
    key, name, place = struct.unpack('<I4c0I4c0', states, place)
    local other = number_of(key)
    if (number and other and number == other) or (not (number and other) and key == value) then
      return name
    end
  end
  return description
end

local function note(write, channel, trigger, value, raised)
  local keys = write.keys
  local device, description, name = info_of(keys, channel)
  local place = redis.call('HGET', keys[ATTRIBUTES], device .. ':7') or ''
  local message = message_of(keys, channel, value, description)
  local event = struct.pack(EVENT, raised, tonumber(device), tonumber(channel), trigger.level, trigger.priority,
    trigger.kind, #place, place, #name, name, #trigger.code, trigger.code, #message, message, #value, value,
    #trigger.low, trigger.low, #trigger.high, trigger.high)
  local number = redis.call('HINCRBY', keys[SITE], 'ev', 1)
  redis.call('XADD', keys[EVENTS], 'MAXLEN', '~', write.args[EVENTS_KEPT], whole(number) .. '-0', 'e',
    write.time .. event)
end

-- Keeps an event for each alarm that is active in one of the two only; gives whether there was one.
local function note_alarms(write, channel, value, before, after)
  local was, cleared = active_of(before)
  local is, raised = active_of(after)
  local changed = false
  local function note_missing(list, known, direction)
    for _, t in ipairs(list) do
      if not known[t.level .. ':' .. t.priority .. ':' .. t.code] then
        note(write, channel, t, value, direction)
        changed = true
      end
    end
  end
  note_missing(cleared, is, 0)
  note_missing(raised, was, 1)
  return changed
end

local function members_of(keys, device)
  local ids = redis.call('ZRANGE', keys[MEMBERS], device, device, 'BYSCORE')
  table.sort(ids, function(a, b) return tonumber(a) < tonumber(b) end)
  return ids
end

local function in_parts(list, work)
  for first = 1, #list, AT_ONCE do
    work(first, math.min(first + AT_ONCE - 1, #list))
  end
end

local function fields_of(key, fields)
  if #fields > 0 and #fields <= AT_ONCE then
    return redis.call('HMGET', key, unpack(fields))
  end
  local all = {}
  in_parts(fields, function(first, last)
    for i, found in ipairs(redis.call('HMGET', key, unpack(fields, first, last))) do
      all[first + i - 1] = found
    end
  end)
  return all
end

local function set_fields(key, pairs_of)
  in_parts(pairs_of, function(first, last)
    redis.call('HSET', key, unpack(pairs_of, first, last))
  end)
end

local function is_worse(t, worst)
  if not worst or t.level ~= worst.level then
    return not worst or t.level > worst.level
  elseif (t.priority < 0) ~= (worst.priority < 0) then
    return worst.priority < 0
  end
  return t.priority < worst.priority
end

local function most_critical(keys, device)
  local ids = members_of(keys, device)
  local worst, where
  for i, text in ipairs(fields_of(keys[ALARMS], ids)) do
    for _, t in ipairs(unpack_triggers(text)) do
      if t.active == 1 and is_worse(t, worst) then
        worst, where = t, ids[i]
      end
    end
  end
  return worst, where
end

local function announce_alarms(write, device)
  local worst = most_critical(write.keys, device)
  local seq = add(write, struct.pack('<BI8', KIND_ALARMS, tonumber(device)) .. write.time ..
    struct.pack('<I4BI4', 5, 4, worst and worst.level or 4))
  redis.call('ZADD', write.keys[MARKS], whole(seq), KIND_ALARMS .. ':' .. device)
end

-- Gives what the channel's row begins with from now on.
local function evaluate(write, channel, kind, value)
  local keys = write.keys
  local text = redis.call('HGET', keys[ALARMS], channel)
  local triggers = unpack_triggers(text)
  if activate(triggers, value) then
    redis.call('HSET', keys[ALARMS], channel, pack_triggers(triggers))
    if note_alarms(write, channel, value, unpack_triggers(text), triggers) then
      announce_alarms(write, (info_of(keys, channel)))
    end
  end
  return head_of(kind, triggers, value)
end

