-- Schema version 2, index database (after common.sql): the lookups by key,
-- and the catalog version.

SET client_min_messages = warning;

-- The probes' indexes (see common.sql).
CREATE INDEX dts_link_shots
  ON dts_link (diag_id, ch_key1, ch_key2, sub_class(sub_shot), first_shot DESC);
CREATE INDEX dts_output_shots
  ON dts_output (dts_id, module, channel, sub_class(sub_shot), first_shot DESC);
CREATE INDEX dmod_channel_shots
  ON dmod_channel (key1, key2, channel, sub_class(sub_shot), first_shot DESC);

-- The link of one digitizer channel.
CREATE FUNCTION dts_link_for(diag integer, shot bigint, sub integer,
                             key1 integer, key2 integer) RETURNS SETOF dts_link
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT r.*
      FROM shot_classes(sub) c
     CROSS JOIN LATERAL (
       SELECT l.* FROM dts_link l
        WHERE l.diag_id = diag AND l.ch_key1 = key1 AND l.ch_key2 = key2
          AND sub_class(l.sub_shot) = c.class AND holds(l.first_shot, l.last_shot, shot)
        ORDER BY l.first_shot DESC LIMIT 1) r
     ORDER BY c.preference LIMIT 1;
  END;

-- The settings of one output channel.
CREATE FUNCTION dts_output_for(unit integer, mod text, ch integer, shot bigint, sub integer)
  RETURNS SETOF dts_output
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT r.*
      FROM shot_classes(sub) c
     CROSS JOIN LATERAL (
       SELECT o.* FROM dts_output o
        WHERE o.dts_id = unit AND o.module = mod AND o.channel = ch
          AND sub_class(o.sub_shot) = c.class AND holds(o.first_shot, o.last_shot, shot)
        ORDER BY o.first_shot DESC LIMIT 1) r
     ORDER BY c.preference LIMIT 1;
  END;

-- The settings of one channel of a digitizer module.
CREATE FUNCTION dmod_channel_for(k1 text, k2 text, ch integer, shot bigint, sub integer)
  RETURNS SETOF dmod_channel
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT r.*
      FROM shot_classes(sub) c
     CROSS JOIN LATERAL (
       SELECT d.* FROM dmod_channel d
        WHERE d.key1 = k1 AND d.key2 = k2 AND d.channel = ch
          AND sub_class(d.sub_shot) = c.class AND holds(d.first_shot, d.last_shot, shot)
        ORDER BY d.first_shot DESC LIMIT 1) r
     ORDER BY c.preference LIMIT 1;
  END;

-- The distinct keys below are found by skipping through the probes' index:
-- each step is one descent to the next key, so a key costs the same however
-- many versions it has, and the writers keep no list of keys.

-- The modules of a unit that have output rows.
CREATE FUNCTION dts_unit_modules(unit integer) RETURNS TABLE (module text)
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    WITH RECURSIVE m(module) AS (
      SELECT min(o.module) FROM dts_output o WHERE o.dts_id = unit
      UNION ALL
      SELECT (SELECT min(o.module) FROM dts_output o
               WHERE o.dts_id = unit AND o.module > m.module)
        FROM m WHERE m.module IS NOT NULL)
    SELECT m.module FROM m WHERE m.module IS NOT NULL;
  END;

-- The output channels of a module that have rows.
CREATE FUNCTION dts_module_channels(unit integer, mod text) RETURNS TABLE (channel integer)
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    WITH RECURSIVE c(channel) AS (
      SELECT min(o.channel) FROM dts_output o WHERE o.dts_id = unit AND o.module = mod
      UNION ALL
      SELECT (SELECT min(o.channel) FROM dts_output o
               WHERE o.dts_id = unit AND o.module = mod AND o.channel > c.channel)
        FROM c WHERE c.channel IS NOT NULL)
    SELECT c.channel FROM c WHERE c.channel IS NOT NULL;
  END;

-- The channels of a digitizer module that have rows.
CREATE FUNCTION dmod_channels(k1 text, k2 text) RETURNS TABLE (channel integer)
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    WITH RECURSIVE c(channel) AS (
      SELECT min(d.channel) FROM dmod_channel d WHERE d.key1 = k1 AND d.key2 = k2
      UNION ALL
      SELECT (SELECT min(d.channel) FROM dmod_channel d
               WHERE d.key1 = k1 AND d.key2 = k2 AND d.channel > c.channel)
        FROM c WHERE c.channel IS NOT NULL)
    SELECT c.channel FROM c WHERE c.channel IS NOT NULL;
  END;

-- The outputs of a module, one row per channel.
CREATE FUNCTION dts_outputs_of(unit integer, mod text, shot bigint, sub integer)
  RETURNS SETOF dts_output
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT o.*
      FROM dts_module_channels(unit, mod) c,
           LATERAL dts_output_for(unit, mod, c.channel, shot, sub) o;
  END;

-- The channel settings of a digitizer module, one row per channel.
CREATE FUNCTION dmod_channel_of(k1 text, k2 text, shot bigint, sub integer)
  RETURNS SETOF dmod_channel
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT d.*
      FROM dmod_channels(k1, k2) c,
           LATERAL dmod_channel_for(k1, k2, c.channel, shot, sub) d;
  END;

-- Ticks from the DTS origin at which an output fires: the programmed delay
-- plus the delay-line preset, plus the internal delay on DMODSS modules.
CREATE OR REPLACE FUNCTION output_count(o dts_output) RETURNS bigint
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  RETURN o.delay + o.delay_preset
         + CASE WHEN left(o.module, 6) = 'DMODSS' THEN o.internal_delay ELSE 0 END;

-- A tick count as seconds, written without trailing zeros.
CREATE OR REPLACE FUNCTION tick_seconds(ticks bigint, rate integer) RETURNS text
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  RETURN trim_scale(round(ticks::numeric / rate, 12))::text;

-- The DTS parameter rows of a module: one row per output.
CREATE FUNCTION dts_parameters_of(unit integer, mod text, shot bigint, sub integer)
  RETURNS TABLE (channel integer, delay bigint, dvd_range integer,
                 dvd_magnification integer, pulse_width bigint, repetition_count integer,
                 base_rate integer, delay_preset integer, internal_delay integer)
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT o.channel, o.delay, coalesce(o.dvd_range, 0), coalesce(o.dvd_magnification, 0),
           o.pulse_width, o.repetition_count, o.base_rate, o.delay_preset, o.internal_delay
      FROM dts_outputs_of(unit, mod, shot, sub) o;
  END;

-- A row of the DTS table: 34 columns per output channel. Column numbers
-- are the positions the library reads.
CREATE TYPE dts_table_row AS (
  dts_id integer,                 -- 0
  first_shot bigint,              -- 1
  collected text,                 -- 2  "YYYY-MM-DD HH:MM:SS+09"
  sub_shot integer,               -- 3
  host_number integer,            -- 4
  unit_name text,                 -- 5
  module text,                    -- 6
  unit_channel integer,           -- 7
  channel integer,                -- 8
  base_rate integer,              -- 9
  delay_preset integer,           -- 10
  internal_delay integer,         -- 11
  dvd_range integer,              -- 12
  dvd_magnification integer,      -- 13
  output_name text,               -- 14
  purpose text,                   -- 15
  delay_s text,                   -- 16 seconds from the time zero
  pulse_width_s text,             -- 17
  repetition_time_s text,         -- 18
  delay bigint,                   -- 19
  pulse_width bigint,             -- 20
  repetition_time bigint,         -- 21
  repetition_count integer,       -- 22
  trigger_select integer,         -- 23
  output_enabled boolean,         -- 24
  event_out boolean,              -- 25
  vme_interrupt boolean,          -- 26
  external_trigger boolean,       -- 27
  clock_internal boolean,         -- 28
  polarity_positive boolean,      -- 29
  inhibit boolean,                -- 30
  bus_input boolean,              -- 31
  move_mode integer,              -- 32
  timer_trigger_channel integer); -- 33

-- The DTS table of a module.
CREATE FUNCTION dts_table_of(unit integer, mod text, shot bigint, sub integer)
  RETURNS SETOF dts_table_row
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT o.dts_id, o.first_shot,
           to_char(o.collected AT TIME ZONE 'Asia/Tokyo', 'YYYY-MM-DD HH24:MI:SS') || '+09',
           o.sub_shot, u.host_number, u.name, o.module, o.unit_channel, o.channel,
           o.base_rate, o.delay_preset, o.internal_delay,
           o.dvd_range, o.dvd_magnification, o.output_name, o.purpose,
           tick_seconds(output_count(o) - 120::bigint * o.base_rate, o.base_rate),
           tick_seconds(o.pulse_width, o.base_rate),
           tick_seconds(o.repetition_time, o.base_rate),
           o.delay, o.pulse_width, o.repetition_time, o.repetition_count,
           o.trigger_select, o.output_enabled, o.event_out, o.vme_interrupt,
           o.external_trigger, o.clock_internal, o.polarity_positive, o.inhibit,
           o.bus_input, o.move_mode, o.timer_trigger_channel
      FROM dts_outputs_of(unit, mod, shot, sub) o
      JOIN dts_unit u ON u.dts_id = o.dts_id;
  END;

-- The DTS table of every module of a unit.
CREATE FUNCTION dts_unit_table_of(unit integer, shot bigint, sub integer)
  RETURNS SETOF dts_table_row
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT t.* FROM dts_unit_modules(unit) m, LATERAL dts_table_of(unit, m.module, shot, sub) t;
  END;

-- The catalog version: one row, counted up by every statement that writes
-- site, diag, dts_unit or host, in the writer's transaction, so that a
-- reader that kept those tables knows when to read them again.
CREATE TABLE catalog_change (version bigint NOT NULL);
CREATE UNIQUE INDEX catalog_change_one_row ON catalog_change ((true));
INSERT INTO catalog_change VALUES (1);
GRANT SELECT ON catalog_change TO tovak_reader;

-- Runs as the owner, so any writer of those tables counts the change.
CREATE FUNCTION count_catalog_change() RETURNS trigger
  LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
  AS $$
BEGIN
  UPDATE public.catalog_change SET version = version + 1;
  RETURN NULL;
END
$$;
REVOKE ALL ON FUNCTION count_catalog_change() FROM PUBLIC;

CREATE TRIGGER catalog_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON site
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();
CREATE TRIGGER catalog_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON diag
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();
CREATE TRIGGER catalog_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON dts_unit
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();
CREATE TRIGGER catalog_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON host
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();
