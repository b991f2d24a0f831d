-- Index database: sites and their diagnostics, the DTS link of every
-- digitizer channel, the timing units (DTS) with the settings of their
-- output channels, host names, and the channel settings of digitizer modules.
--
-- Settings are valid from a shot until they change: a row holds from
-- first_shot on, up to and including last_shot when that is set. Of the rows
-- whose range holds a shot, the one with the latest first_shot applies. A row
-- with a sub_shot applies to that sub-shot only and wins over a row without
-- one (sub_shot null), which applies to every sub-shot.
--
-- These are the tables as they were first laid out (schema version 1). The
-- numbered steps in upgrade/ build the rest on them (the lookups that apply
-- the rule above, the catalog and schema versions); scripts/dbctl runs them
-- in order, on a new cluster and on one of an older version alike.
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

-- Readers: one login role per site (see roles.sql), all members of
-- tovak_reader, which may only read.
GRANT USAGE ON SCHEMA public TO tovak_reader;
GRANT SELECT ON ALL TABLES IN SCHEMA public TO tovak_reader;
