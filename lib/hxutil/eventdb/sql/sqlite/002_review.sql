-- Version 2: the review state of an origin ("automatic", "manual" or empty),
-- kept from the catalogue's evaluation mode.
ALTER TABLE origin ADD COLUMN review TEXT NOT NULL DEFAULT '';
UPDATE hx_schema SET version = 2;
