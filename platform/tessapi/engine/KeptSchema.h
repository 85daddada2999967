#pragma once

namespace tessapi {

/// What a store that is worked on in memory and copied to a disk has beyond the tables of every store.
namespace KeptSchema {

/// Channels whose values are kept like what people have set: few are written, and seldom. What is added goes
/// to the end, after another bracket: programs of an earlier release ask with what is inside, and find their
/// way by the index of these.
#define VELK_SOON_KEPT_NAMES                                                                                 \
    "((name GLOB 'PowerDistribution.Setting.*' OR name GLOB 'PowerDistribution.Specification.*'"             \
    " OR name GLOB 'System.*' OR (name GLOB 'PowerDistribution.Attribute.*'"                                 \
    " AND name <> 'PowerDistribution.Attribute.CurrentDate'))"                                               \
    " OR name IN ('Daemon.Communication', 'Daemon.DeviceLog'))"

/// Of the working database.
inline constexpr const char* SOON_INDEX =
    "CREATE INDEX channel_soon ON channel(id) WHERE " VELK_SOON_KEPT_NAMES;

/// Of the copy. Values have a table of their own: it is what is written most, and so it is small. The columns
/// for them in the table of the channels stay empty.
inline constexpr const char* COPY_TABLES = R"sql(
CREATE TABLE kept_value(
    channel INTEGER PRIMARY KEY REFERENCES channel(id) ON DELETE CASCADE,
    value BLOB NOT NULL,
    written_ms INTEGER NOT NULL,
    unchanged_ms INTEGER NOT NULL); -- from the last change to the last write

-- One row: which folder the store is worked on in, and how the two belong together. `copies` counts the
-- commits; the working database knows it too, so that a copy which somebody has replaced is noticed.
CREATE TABLE kept(
    working TEXT NOT NULL,
    identity INTEGER NOT NULL,
    copies INTEGER NOT NULL,
    values_every_sec INTEGER NOT NULL);
)sql";

/// Of the working database. `mark` says what has changed of the structure since the last copy: kind 0 a
/// device, 1 its attributes, 2 a channel, 3 its states, 4 its alarms. Numbers rise, so that what is marked
/// while a copy is made stays marked after it. States and alarms are written from place 0 on.
inline constexpr const char* WORKING_TABLES = R"sql(
CREATE TABLE mark(number INTEGER PRIMARY KEY, kind INTEGER NOT NULL, object INTEGER NOT NULL,
    UNIQUE(kind, object) ON CONFLICT REPLACE);

-- One row, from the moment on when all is filled in: up to where the tables are copied, and how it goes.
CREATE TABLE keeping(
    identity INTEGER NOT NULL,
    copies INTEGER NOT NULL,
    boot TEXT NOT NULL DEFAULT '',
    setting_seq INTEGER NOT NULL DEFAULT 0,
    value_seq INTEGER NOT NULL DEFAULT 0,
    event INTEGER NOT NULL DEFAULT 0,
    record INTEGER NOT NULL DEFAULT 0,
    last_ms INTEGER NOT NULL DEFAULT 0,
    last_values_ms INTEGER NOT NULL DEFAULT 0,
    values_at INTEGER NOT NULL, -- milliseconds of the clock that nobody sets
    last_by INTEGER NOT NULL DEFAULT 0,
    runs INTEGER NOT NULL DEFAULT 0,
    bytes INTEGER NOT NULL DEFAULT 0,
    failure TEXT NOT NULL DEFAULT '',
    failing_since_ms INTEGER NOT NULL DEFAULT 0);

CREATE TRIGGER mark_new_device AFTER INSERT ON device
    BEGIN INSERT INTO mark(kind, object) VALUES(0, new.id); END;
CREATE TRIGGER mark_gone_device AFTER DELETE ON device
    BEGIN INSERT INTO mark(kind, object) VALUES(0, old.id); END;
CREATE TRIGGER mark_new_attribute AFTER INSERT ON attribute
    BEGIN INSERT INTO mark(kind, object) VALUES(1, new.device); END;
CREATE TRIGGER mark_changed_attribute AFTER UPDATE ON attribute
    BEGIN INSERT INTO mark(kind, object) VALUES(1, new.device); END;
CREATE TRIGGER mark_gone_attribute AFTER DELETE ON attribute
    BEGIN INSERT INTO mark(kind, object) VALUES(1, old.device); END;
CREATE TRIGGER mark_new_channel AFTER INSERT ON channel
    BEGIN INSERT INTO mark(kind, object) VALUES(2, new.id); END;
CREATE TRIGGER mark_changed_channel AFTER UPDATE OF type, triggers ON channel
    BEGIN INSERT INTO mark(kind, object) VALUES(2, new.id); END;
CREATE TRIGGER mark_gone_channel AFTER DELETE ON channel
    BEGIN INSERT INTO mark(kind, object) VALUES(2, old.id); END;
CREATE TRIGGER mark_new_state AFTER INSERT ON state WHEN new.place = 0
    BEGIN INSERT INTO mark(kind, object) VALUES(3, new.channel); END;
CREATE TRIGGER mark_gone_state AFTER DELETE ON state WHEN old.place = 0
    BEGIN INSERT INTO mark(kind, object) VALUES(3, old.channel); END;
CREATE TRIGGER mark_new_alarm AFTER INSERT ON alarm WHEN new.place = 0
    BEGIN INSERT INTO mark(kind, object) VALUES(4, new.channel); END;
CREATE TRIGGER mark_changed_alarm AFTER UPDATE ON alarm
    BEGIN INSERT INTO mark(kind, object) VALUES(4, new.channel); END;
CREATE TRIGGER mark_gone_alarm AFTER DELETE ON alarm WHEN old.place = 0
    BEGIN INSERT INTO mark(kind, object) VALUES(4, old.channel); END;
)sql";

} // namespace KeptSchema

} // namespace tessapi
