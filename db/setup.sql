-- Setup database: the digitizer modules each diagnostic used, per shot.
--
-- Rows follow the same shot rule as the index database: valid from
-- first_shot, up to and including last_shot when set; a row with a sub_shot
-- applies to that sub-shot only and wins over a row without one. A site sees
-- only its own rows: the site is the role it connects as.
--
-- The table as first laid out (schema version 1); the lookups come with the
-- numbered steps in upgrade/.
--
-- Run as the cluster's superuser in the database "setup".

SET client_min_messages = warning;

CREATE TABLE dmod_use (
  site       text    NOT NULL,
  diag       text    NOT NULL,
  first_shot bigint  NOT NULL CHECK (first_shot >= 0),
  last_shot  bigint  CHECK (last_shot >= first_shot),
  sub_shot   integer,
  position   integer NOT NULL CHECK (position > 0),  -- the link's first channel key
  key1       text    NOT NULL,  -- digitizer module name
  key2       text    NOT NULL,  -- card type
  UNIQUE NULLS NOT DISTINCT (site, diag, position, first_shot, sub_shot)
);

GRANT USAGE ON SCHEMA public TO tovak_reader;
GRANT SELECT ON ALL TABLES IN SCHEMA public TO tovak_reader;
