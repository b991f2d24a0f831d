-- Index database: sites and their diagnostics, the DTS link of every
-- digitizer channel, the timing units (DTS) with the settings of their
-- output channels, host names, and the channel settings of digitizer modules.
--
-- Settings are valid from a shot until they change: a row holds from
-- first_shot on, up to and including last_shot when that is set. Of the rows
-- whose range holds a shot, the one with the latest first_shot applies. A row
-- with a sub_shot applies to that sub-shot only and wins over a row without
-- one (sub_shot null), which applies to every sub-shot. The functions
-- dts_link_for and *_at below apply this rule; the library reads only
-- through them.
--
-- Run as the cluster's superuser in the database "index".

SET client_min_messages = warning;

CREATE TABLE site (
  site_id integer PRIMARY KEY CHECK (site_id > 0),
  name    text NOT NULL UNIQUE
);

CREATE TABLE diag (
  diag_id integer PRIMARY KEY CHECK (diag_id >= 0),
  site_id integer NOT NULL REFERENCES site,
  name    text NOT NULL,
  UNIQUE (site_id, name)
);

-- The link of one digitizer channel (channel keys: the module's position in
-- the diagnostic's module list of the setup database, and the channel on that
-- module) to the timing system. Kept as entered: every link field is text.
CREATE TABLE dts_link (
  diag_id        integer NOT NULL REFERENCES diag,
  first_shot     bigint  NOT NULL CHECK (first_shot >= 0),
  last_shot      bigint  CHECK (last_shot >= first_shot),
  sub_shot       integer,
  ch_key1        integer NOT NULL,
  ch_key2        integer NOT NULL,
  dts_kind       text,  -- 0: kind of the unit giving the trigger
  trigger_unit   text,  -- 1: registered name of that unit
  trigger_module text,  -- 2: module text of the trigger (and default clock) module
  clock_output   text,  -- 3: clock output: number, or "CLK_OUT" for the base clock
  trigger_output text,  -- 4: trigger output number
  ext_clock      text,  -- 5: external clock: clock cycles per sample
  clock_source   text,  -- 6: "Internal" or "External"
  int_clock      text,  -- 7: internal clock: sampling frequency in hertz, 0 = see SampInterval
  record_length  text,  -- 8: samples per record
  options        text,  -- 9: PreSample n, SampInterval ns, ClkDTS kind name module, notSupportedNow
  UNIQUE NULLS NOT DISTINCT (diag_id, ch_key1, ch_key2, first_shot, sub_shot)
);

CREATE TABLE host (
  host_number integer PRIMARY KEY,
  name        text NOT NULL
);

-- Timing units. The identifier is what get_DTS_HostID (FPGA and VME units)
-- and get_DTS_CAMACID (CAMAC units) answer. A unit's host number need not be
-- registered in host: such a host has no name.
CREATE TABLE dts_unit (
  dts_id      integer PRIMARY KEY CHECK (dts_id >= 0),
  name        text NOT NULL UNIQUE,
  kind        text NOT NULL CHECK (kind IN ('FPGA-DTS', 'VME-DTS', 'CAMAC-DTS')),
  host_number integer NOT NULL
);

-- Settings of one output channel of a module of a timing unit. Counts are
-- ticks of the base clock (base_rate ticks per second), counted from the
-- DTS origin, which lies 120 s before the timing system's time zero.
CREATE TABLE dts_output (
  dts_id                integer NOT NULL REFERENCES dts_unit,
  module                text    NOT NULL,  -- "DMOD0", "DMODSS0", ...
  channel               integer NOT NULL CHECK (channel > 0),  -- within the module
  first_shot            bigint  NOT NULL CHECK (first_shot >= 0),
  last_shot             bigint  CHECK (last_shot >= first_shot),
  sub_shot              integer,
  collected             timestamptz NOT NULL,  -- when the settings were read out
  unit_channel          integer NOT NULL,      -- channel number across the unit
  output_name           text    NOT NULL,      -- "TRG1", "DIV1", "CLK1", ...
  purpose               text,
  base_rate             integer NOT NULL CHECK (base_rate > 0),  -- hertz
  delay_preset          integer NOT NULL DEFAULT 0,  -- ticks, always added
  internal_delay        integer NOT NULL DEFAULT 0,  -- ticks, DMODSS modules only
  dvd_range             integer,  -- divider range, ns (divider channels)
  dvd_magnification     integer,  -- divider magnification (divider channels)
  delay                 bigint  NOT NULL,  -- programmed delay, ticks from the DTS origin
  pulse_width           bigint  NOT NULL,  -- ticks
  repetition_time       bigint  NOT NULL,  -- ticks
  repetition_count      integer NOT NULL,
  trigger_select        integer NOT NULL,
  output_enabled        boolean,
  event_out             boolean,
  vme_interrupt         boolean,
  external_trigger      boolean,
  clock_internal        boolean,
  polarity_positive     boolean,
  inhibit               boolean,
  bus_input             boolean,
  move_mode             integer NOT NULL DEFAULT 0,
  timer_trigger_channel integer NOT NULL DEFAULT 0,
  UNIQUE NULLS NOT DISTINCT (dts_id, module, channel, first_shot, sub_shot)
);

-- Channel settings of a digitizer module named by its two keys (those of the
-- setup database's module list).
CREATE TABLE dmod_channel (
  key1        text    NOT NULL,  -- digitizer module name
  key2        text    NOT NULL,  -- card type
  first_shot  bigint  NOT NULL CHECK (first_shot >= 0),
  last_shot   bigint  CHECK (last_shot >= first_shot),
  sub_shot    integer,
  channel     integer NOT NULL,           -- 0
  range_volts double precision NOT NULL,  -- 1: full-scale input range
  offset_volts double precision NOT NULL, -- 2: input offset
  clock_hz    double precision NOT NULL,  -- 3: sampling clock
  pre_samples integer NOT NULL,           -- 4: samples before the trigger
  samples     integer NOT NULL,           -- 5: samples per record
  clock_count integer NOT NULL,           -- 6: clock periods to the first sample
  mode_flag   integer NOT NULL,           -- 7: acquisition mode flag
  UNIQUE NULLS NOT DISTINCT (key1, key2, channel, first_shot, sub_shot)
);

-- Rows in the order of preference of the shot rule, so that picking the
-- applying row needs no sort.
CREATE INDEX dts_link_preference
  ON dts_link (diag_id, ch_key1, ch_key2, (sub_shot IS NULL), first_shot DESC);
CREATE INDEX dts_output_preference
  ON dts_output (dts_id, module, channel, (sub_shot IS NULL), first_shot DESC);
CREATE INDEX dmod_channel_preference
  ON dmod_channel (key1, key2, channel, (sub_shot IS NULL), first_shot DESC);

-- True when a row's shot range and sub-shot hold the shot and sub-shot.
CREATE FUNCTION holds(first_shot bigint, last_shot bigint, row_sub integer,
                      shot bigint, sub integer) RETURNS boolean
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  RETURN first_shot <= shot AND (last_shot IS NULL OR shot <= last_shot)
         AND (row_sub IS NULL OR row_sub = sub);

-- The link of one channel: a single row, found in the index order below
-- without sorting.
CREATE FUNCTION dts_link_for(diag integer, shot bigint, sub integer,
                             key1 integer, key2 integer) RETURNS SETOF dts_link
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT l.*
      FROM dts_link l
     WHERE l.diag_id = diag AND l.ch_key1 = key1 AND l.ch_key2 = key2
       AND holds(l.first_shot, l.last_shot, l.sub_shot, shot, sub)
     ORDER BY l.sub_shot IS NULL, l.first_shot DESC
     LIMIT 1;
  END;

CREATE FUNCTION dts_output_at(shot bigint, sub integer) RETURNS SETOF dts_output
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT DISTINCT ON (o.dts_id, o.module, o.channel) o.*
      FROM dts_output o
     WHERE holds(o.first_shot, o.last_shot, o.sub_shot, shot, sub)
     ORDER BY o.dts_id, o.module, o.channel, o.sub_shot IS NULL, o.first_shot DESC;
  END;

CREATE FUNCTION dmod_channel_at(shot bigint, sub integer) RETURNS SETOF dmod_channel
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT DISTINCT ON (c.key1, c.key2, c.channel) c.*
      FROM dmod_channel c
     WHERE holds(c.first_shot, c.last_shot, c.sub_shot, shot, sub)
     ORDER BY c.key1, c.key2, c.channel, c.sub_shot IS NULL, c.first_shot DESC;
  END;

-- Ticks from the DTS origin at which an output fires: the programmed delay
-- plus the delay-line preset, plus the internal delay on DMODSS modules.
CREATE FUNCTION output_count(o dts_output) RETURNS bigint
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  RETURN o.delay + o.delay_preset
         + CASE WHEN left(o.module, 6) = 'DMODSS' THEN o.internal_delay ELSE 0 END;

-- A tick count as seconds, written without trailing zeros.
CREATE FUNCTION tick_seconds(ticks bigint, rate integer) RETURNS text
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  RETURN trim_scale(round(ticks::numeric / rate, 12))::text;

-- The DTS parameter rows of a module: one row per output, in output order.
CREATE FUNCTION dts_parameters_at(shot bigint, sub integer)
  RETURNS TABLE (dts_id integer, module text, channel integer,
                 delay bigint, dvd_range integer, dvd_magnification integer,
                 pulse_width bigint, repetition_count integer, base_rate integer,
                 delay_preset integer, internal_delay integer)
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT o.dts_id, o.module, o.channel,
           o.delay, coalesce(o.dvd_range, 0), coalesce(o.dvd_magnification, 0),
           o.pulse_width, o.repetition_count, o.base_rate,
           o.delay_preset, o.internal_delay
      FROM dts_output_at(shot, sub) o;
  END;

-- The DTS table: 34 columns per output channel. Column numbers are the
-- positions the library reads.
CREATE FUNCTION dts_table_at(shot bigint, sub integer)
  RETURNS TABLE (
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
    timer_trigger_channel integer)  -- 33
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
      FROM dts_output_at(shot, sub) o
      JOIN dts_unit u USING (dts_id);
  END;

-- Changes to the catalog tables (site, diag, dts_unit, host), counted: the
-- library keeps their answers between lookups for as long as the count
-- stands.
CREATE TABLE catalog_change (version bigint NOT NULL);
INSERT INTO catalog_change VALUES (1);

CREATE FUNCTION count_catalog_change() RETURNS trigger
  LANGUAGE plpgsql SECURITY DEFINER SET search_path = public
  AS $$ BEGIN UPDATE catalog_change SET version = version + 1; RETURN NULL; END $$;

CREATE TRIGGER site_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON site
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();
CREATE TRIGGER diag_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON diag
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();
CREATE TRIGGER dts_unit_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON dts_unit
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();
CREATE TRIGGER host_change AFTER INSERT OR UPDATE OR DELETE OR TRUNCATE ON host
  FOR EACH STATEMENT EXECUTE FUNCTION count_catalog_change();

-- Readers: one login role per site (see roles.sql), all members of
-- tovak_reader, which may only read.
GRANT USAGE ON SCHEMA public TO tovak_reader;
GRANT SELECT ON ALL TABLES IN SCHEMA public TO tovak_reader;
