-- Schema version 2, both databases: the shot rule as index probes, and the
-- schema version itself.
--
-- A row applies to a shot when its range holds the shot (first_shot <= shot,
-- and shot <= last_shot when that is set). Of the rows of one key that apply,
-- a row of the sub-shot itself wins over every row without a sub-shot, and
-- within each of these two classes the latest first_shot wins. Every lookup
-- finds its row the same way: per class, in order of preference, one descent
-- of an index on (key, sub_class(sub_shot), first_shot DESC) to the newest
-- row not after the shot, passing over rows whose last_shot lies before it;
-- the first class that yields a row decides. The cost grows with the log of
-- the history, not with its length.

SET client_min_messages = warning;

-- Version 1's lookups sorted every version of every key: gone.
DROP FUNCTION IF EXISTS dts_table_at(bigint, integer), dts_parameters_at(bigint, integer),
  dts_output_at(bigint, integer), dmod_channel_at(bigint, integer),
  dts_link_for(integer, bigint, integer, integer, integer),
  holds(bigint, bigint, integer, bigint, integer), dmod_use_at(bigint, integer);
DROP INDEX IF EXISTS dts_link_preference, dts_output_preference, dmod_channel_preference,
  dmod_use_preference;

-- The class of a row for the index: its sub-shot, or, for a row of every
-- sub-shot, a number no 32-bit sub-shot takes.
CREATE FUNCTION sub_class(sub_shot integer) RETURNS bigint
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  RETURN coalesce(sub_shot, 4294967296);

-- The classes of rows that may apply to a sub-shot, most preferred first.
CREATE FUNCTION shot_classes(sub integer)
  RETURNS TABLE (preference integer, class bigint)
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT 1, sub::bigint
    UNION ALL
    SELECT 2, sub_class(NULL);
  END;

-- True when a row's range holds the shot. Inlined into the probes, so that
-- first_shot <= shot bounds their index scans.
CREATE FUNCTION holds(first_shot bigint, last_shot bigint, shot bigint)
  RETURNS boolean
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  RETURN first_shot <= shot AND (last_shot IS NULL OR shot <= last_shot);

-- The version of the schema, one row. Version 1 had no such table.
CREATE TABLE schema_version (version integer NOT NULL);
CREATE UNIQUE INDEX schema_version_one_row ON schema_version ((true));
INSERT INTO schema_version VALUES (2);
GRANT SELECT ON schema_version TO tovak_reader;
