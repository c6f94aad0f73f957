-- Event database, version 1 (SQLite).
-- Times are epoch seconds (UTC), angles degrees, depths and elevations km.
-- Every row that comes from a catalogue carries its public identifier so
-- that importing the same catalogue twice finds the rows it already has.
CREATE TABLE hx_schema (version INTEGER NOT NULL);
INSERT INTO hx_schema (version) VALUES (1);

CREATE TABLE event (
    evid INTEGER PRIMARY KEY,
    publicid TEXT UNIQUE,
    evname TEXT NOT NULL DEFAULT '',
    prefor INTEGER,
    auth TEXT NOT NULL DEFAULT ''
);

CREATE TABLE origin (
    orid INTEGER PRIMARY KEY,
    publicid TEXT UNIQUE,
    evid INTEGER,
    time REAL NOT NULL,
    lat REAL NOT NULL,
    lon REAL NOT NULL,
    depth REAL NOT NULL DEFAULT 0,
    ndef INTEGER NOT NULL DEFAULT -1,
    nass INTEGER NOT NULL DEFAULT -1,
    ml REAL NOT NULL DEFAULT -999,
    mb REAL NOT NULL DEFAULT -999,
    ms REAL NOT NULL DEFAULT -999,
    mw REAL NOT NULL DEFAULT -999,
    auth TEXT NOT NULL DEFAULT ''
);

CREATE TABLE netmag (
    magid INTEGER PRIMARY KEY,
    publicid TEXT UNIQUE,
    orid INTEGER,
    evid INTEGER,
    magtype TEXT NOT NULL,
    magnitude REAL NOT NULL,
    nsta INTEGER NOT NULL DEFAULT -1,
    uncertainty REAL NOT NULL DEFAULT -1,
    auth TEXT NOT NULL DEFAULT ''
);

CREATE TABLE detection (
    arid INTEGER PRIMARY KEY,
    publicid TEXT UNIQUE,
    net TEXT NOT NULL DEFAULT '',
    sta TEXT NOT NULL,
    chan TEXT NOT NULL DEFAULT '',
    time REAL NOT NULL,
    phase TEXT NOT NULL DEFAULT '',
    state TEXT NOT NULL DEFAULT '',
    auth TEXT NOT NULL DEFAULT ''
);

CREATE TABLE assoc (
    arid INTEGER NOT NULL,
    orid INTEGER NOT NULL,
    sta TEXT NOT NULL,
    phase TEXT NOT NULL DEFAULT '',
    delta REAL NOT NULL DEFAULT -1,
    timeres REAL NOT NULL DEFAULT -999,
    timedef INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (arid, orid)
);

CREATE TABLE site (
    sta TEXT PRIMARY KEY,
    net TEXT NOT NULL DEFAULT '',
    lat REAL NOT NULL,
    lon REAL NOT NULL,
    elev REAL NOT NULL DEFAULT 0
);

CREATE TABLE mt (
    mtid INTEGER PRIMARY KEY,
    publicid TEXT UNIQUE,
    orid INTEGER,
    evid INTEGER,
    tmrr REAL NOT NULL,
    tmtt REAL NOT NULL,
    tmpp REAL NOT NULL,
    tmrt REAL NOT NULL,
    tmrp REAL NOT NULL,
    tmtp REAL NOT NULL,
    scm REAL NOT NULL DEFAULT -1,
    auth TEXT NOT NULL DEFAULT ''
);

CREATE INDEX origin_evid ON origin (evid);
CREATE INDEX origin_time ON origin (time);
CREATE INDEX netmag_orid ON netmag (orid);
CREATE INDEX detection_time ON detection (time);
CREATE INDEX assoc_orid ON assoc (orid);
CREATE INDEX mt_orid ON mt (orid);

-- Change tracking. hx_counter holds one row per table whose counters the
-- triggers bump: a reader that polls compares them with what it saw last.
-- hx_changelog lists the events touched (through their own row, an origin, a
-- network magnitude or a moment tensor), so that a reader refreshes only
-- those; writers may prune it, and a reader that finds its last entry gone
-- reads everything again.
CREATE TABLE hx_counter (
    tbl TEXT PRIMARY KEY,
    inserts INTEGER NOT NULL DEFAULT 0,
    changes INTEGER NOT NULL DEFAULT 0
);
INSERT INTO hx_counter (tbl) VALUES ('event'), ('origin'), ('netmag'), ('detection'),
    ('assoc'), ('site'), ('mt');

CREATE TABLE hx_changelog (
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    tbl TEXT NOT NULL,
    evid INTEGER
);

CREATE TRIGGER event_insert AFTER INSERT ON event BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'event';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('event', NEW.evid);
END;
CREATE TRIGGER event_update AFTER UPDATE ON event BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'event';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('event', OLD.evid);
    INSERT INTO hx_changelog (tbl, evid) VALUES ('event', NEW.evid);
END;
CREATE TRIGGER event_delete AFTER DELETE ON event BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'event';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('event', OLD.evid);
END;
CREATE TRIGGER origin_insert AFTER INSERT ON origin BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'origin';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('origin', NEW.evid);
END;
CREATE TRIGGER origin_update AFTER UPDATE ON origin BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'origin';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('origin', OLD.evid);
    INSERT INTO hx_changelog (tbl, evid) VALUES ('origin', NEW.evid);
END;
CREATE TRIGGER origin_delete AFTER DELETE ON origin BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'origin';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('origin', OLD.evid);
END;
CREATE TRIGGER netmag_insert AFTER INSERT ON netmag BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'netmag';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('netmag', NEW.evid);
END;
CREATE TRIGGER netmag_update AFTER UPDATE ON netmag BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'netmag';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('netmag', OLD.evid);
    INSERT INTO hx_changelog (tbl, evid) VALUES ('netmag', NEW.evid);
END;
CREATE TRIGGER netmag_delete AFTER DELETE ON netmag BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'netmag';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('netmag', OLD.evid);
END;
CREATE TRIGGER detection_insert AFTER INSERT ON detection BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'detection';
END;
CREATE TRIGGER detection_update AFTER UPDATE ON detection BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'detection';
END;
CREATE TRIGGER detection_delete AFTER DELETE ON detection BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'detection';
END;
CREATE TRIGGER assoc_insert AFTER INSERT ON assoc BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'assoc';
END;
CREATE TRIGGER assoc_update AFTER UPDATE ON assoc BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'assoc';
END;
CREATE TRIGGER assoc_delete AFTER DELETE ON assoc BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'assoc';
END;
CREATE TRIGGER site_insert AFTER INSERT ON site BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'site';
END;
CREATE TRIGGER site_update AFTER UPDATE ON site BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'site';
END;
CREATE TRIGGER site_delete AFTER DELETE ON site BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'site';
END;
CREATE TRIGGER mt_insert AFTER INSERT ON mt BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'mt';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('mt', NEW.evid);
END;
CREATE TRIGGER mt_update AFTER UPDATE ON mt BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'mt';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('mt', OLD.evid);
    INSERT INTO hx_changelog (tbl, evid) VALUES ('mt', NEW.evid);
END;
CREATE TRIGGER mt_delete AFTER DELETE ON mt BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'mt';
    INSERT INTO hx_changelog (tbl, evid) VALUES ('mt', OLD.evid);
END;
