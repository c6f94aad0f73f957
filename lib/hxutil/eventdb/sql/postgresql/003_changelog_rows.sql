-- Version 3: the change log also names the origin behind a change of an
-- origin or moment tensor (a reader refreshes the events that prefer it,
-- whichever event the row belongs to), every detection added, changed or
-- deleted, and changes of stations, so that a reader following the
-- detections of a time window reads only the detections that changed.
ALTER TABLE hx_changelog ADD COLUMN orid BIGINT, ADD COLUMN arid BIGINT;

CREATE OR REPLACE FUNCTION hx_track() RETURNS trigger AS $$
BEGIN
    IF TG_TABLE_NAME IN ('event', 'netmag') THEN
        IF TG_OP <> 'INSERT' THEN
            INSERT INTO hx_changelog (tbl, evid) VALUES (TG_TABLE_NAME, OLD.evid);
        END IF;
        IF TG_OP <> 'DELETE' THEN
            INSERT INTO hx_changelog (tbl, evid) VALUES (TG_TABLE_NAME, NEW.evid);
        END IF;
    ELSIF TG_TABLE_NAME IN ('origin', 'mt') THEN
        IF TG_OP <> 'INSERT' THEN
            INSERT INTO hx_changelog (tbl, evid, orid) VALUES (TG_TABLE_NAME, OLD.evid, OLD.orid);
        END IF;
        IF TG_OP = 'INSERT' THEN
            INSERT INTO hx_changelog (tbl, evid, orid) VALUES (TG_TABLE_NAME, NEW.evid, NEW.orid);
        ELSIF TG_OP = 'UPDATE' THEN
            IF NEW.evid IS DISTINCT FROM OLD.evid OR NEW.orid IS DISTINCT FROM OLD.orid THEN
                INSERT INTO hx_changelog (tbl, evid, orid)
                    VALUES (TG_TABLE_NAME, NEW.evid, NEW.orid);
            END IF;
        END IF;
    ELSIF TG_TABLE_NAME = 'detection' THEN
        IF TG_OP <> 'INSERT' THEN
            INSERT INTO hx_changelog (tbl, arid) VALUES (TG_TABLE_NAME, OLD.arid);
        END IF;
        IF TG_OP = 'INSERT' THEN
            INSERT INTO hx_changelog (tbl, arid) VALUES (TG_TABLE_NAME, NEW.arid);
        ELSIF TG_OP = 'UPDATE' THEN
            IF NEW.arid IS DISTINCT FROM OLD.arid THEN
                INSERT INTO hx_changelog (tbl, arid) VALUES (TG_TABLE_NAME, NEW.arid);
            END IF;
        END IF;
    ELSIF TG_TABLE_NAME = 'site' THEN
        INSERT INTO hx_changelog (tbl) VALUES (TG_TABLE_NAME);
    END IF;
    PERFORM pg_notify('hx_change',
        TG_TABLE_NAME || CASE WHEN TG_OP = 'INSERT' THEN ':i' ELSE ':c' END);
    RETURN NULL;
END;
$$ LANGUAGE plpgsql;

UPDATE hx_schema SET version = 3;
