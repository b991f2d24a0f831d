-- Setup database: the digitizer modules each diagnostic used, per shot.
--
-- Rows follow the same shot rule as the index database: valid from
-- first_shot, up to and including last_shot when set; a row with a sub_shot
-- applies to that sub-shot only and wins over a row without one. A site sees
-- only its own rows: the site is the role it connects as.
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

CREATE INDEX dmod_use_preference
  ON dmod_use (site, diag, position, (sub_shot IS NULL), first_shot DESC);

CREATE FUNCTION dmod_use_at(shot bigint, sub integer) RETURNS SETOF dmod_use
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT DISTINCT ON (u.site, u.diag, u.position) u.*
      FROM dmod_use u
     WHERE u.first_shot <= shot AND (u.last_shot IS NULL OR shot <= u.last_shot)
       AND (u.sub_shot IS NULL OR u.sub_shot = sub)
     ORDER BY u.site, u.diag, u.position, u.sub_shot IS NULL, u.first_shot DESC;
  END;

GRANT USAGE ON SCHEMA public TO tovak_reader;
GRANT SELECT ON ALL TABLES IN SCHEMA public TO tovak_reader;
