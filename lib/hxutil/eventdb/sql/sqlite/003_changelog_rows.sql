-- Version 3: the change log also names the origin behind a change of an
-- origin or moment tensor (a reader refreshes the events that prefer it,
-- whichever event the row belongs to), every detection added, changed or
-- deleted, and changes of stations, so that a reader following the
-- detections of a time window reads only the detections that changed.
ALTER TABLE hx_changelog ADD COLUMN orid INTEGER;
ALTER TABLE hx_changelog ADD COLUMN arid INTEGER;

DROP TRIGGER origin_insert;
DROP TRIGGER origin_update;
DROP TRIGGER origin_delete;
CREATE TRIGGER origin_insert AFTER INSERT ON origin BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'origin';
    INSERT INTO hx_changelog (tbl, evid, orid) VALUES ('origin', NEW.evid, NEW.orid);
END;
CREATE TRIGGER origin_update AFTER UPDATE ON origin BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'origin';
    INSERT INTO hx_changelog (tbl, evid, orid) VALUES ('origin', OLD.evid, OLD.orid);
    INSERT INTO hx_changelog (tbl, evid, orid) SELECT 'origin', NEW.evid, NEW.orid
        WHERE NEW.evid IS NOT OLD.evid OR NEW.orid IS NOT OLD.orid;
END;
CREATE TRIGGER origin_delete AFTER DELETE ON origin BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'origin';
    INSERT INTO hx_changelog (tbl, evid, orid) VALUES ('origin', OLD.evid, OLD.orid);
END;

DROP TRIGGER mt_insert;
DROP TRIGGER mt_update;
DROP TRIGGER mt_delete;
CREATE TRIGGER mt_insert AFTER INSERT ON mt BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'mt';
    INSERT INTO hx_changelog (tbl, evid, orid) VALUES ('mt', NEW.evid, NEW.orid);
END;
CREATE TRIGGER mt_update AFTER UPDATE ON mt BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'mt';
    INSERT INTO hx_changelog (tbl, evid, orid) VALUES ('mt', OLD.evid, OLD.orid);
    INSERT INTO hx_changelog (tbl, evid, orid) SELECT 'mt', NEW.evid, NEW.orid
        WHERE NEW.evid IS NOT OLD.evid OR NEW.orid IS NOT OLD.orid;
END;
CREATE TRIGGER mt_delete AFTER DELETE ON mt BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'mt';
    INSERT INTO hx_changelog (tbl, evid, orid) VALUES ('mt', OLD.evid, OLD.orid);
END;

DROP TRIGGER detection_insert;
DROP TRIGGER detection_update;
DROP TRIGGER detection_delete;
CREATE TRIGGER detection_insert AFTER INSERT ON detection BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'detection';
    INSERT INTO hx_changelog (tbl, arid) VALUES ('detection', NEW.arid);
END;
CREATE TRIGGER detection_update AFTER UPDATE ON detection BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'detection';
    INSERT INTO hx_changelog (tbl, arid) VALUES ('detection', OLD.arid);
    INSERT INTO hx_changelog (tbl, arid) SELECT 'detection', NEW.arid
        WHERE NEW.arid IS NOT OLD.arid;
END;
CREATE TRIGGER detection_delete AFTER DELETE ON detection BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'detection';
    INSERT INTO hx_changelog (tbl, arid) VALUES ('detection', OLD.arid);
END;

DROP TRIGGER site_insert;
DROP TRIGGER site_update;
DROP TRIGGER site_delete;
CREATE TRIGGER site_insert AFTER INSERT ON site BEGIN
    UPDATE hx_counter SET inserts = inserts + 1 WHERE tbl = 'site';
    INSERT INTO hx_changelog (tbl) VALUES ('site');
END;
CREATE TRIGGER site_update AFTER UPDATE ON site BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'site';
    INSERT INTO hx_changelog (tbl) VALUES ('site');
END;
CREATE TRIGGER site_delete AFTER DELETE ON site BEGIN
    UPDATE hx_counter SET changes = changes + 1 WHERE tbl = 'site';
    INSERT INTO hx_changelog (tbl) VALUES ('site');
END;

UPDATE hx_schema SET version = 3;
