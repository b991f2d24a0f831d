-- Demo experiment, index database.
--
-- Two sites, "ubo" and "tsu". Three timing units: the FPGA unit fdts01 with
-- one DMODSS module, the VME unit vdts01 with two DMOD modules, and the CAMAC
-- unit cdts01 with one DMOD module, whose host number 77 has no name. Shots
-- 120000 to 120049 ran with the first settings; from shot 120050 the
-- Magnetics trigger and its sampling clock moved from -0.5 s to -1.0 s and
-- the Magnetics digitizers record longer. Bolometer sub-shot 2 is triggered
-- one second after the others. docs/database.md tells the story of shot
-- 120100.

SET client_min_messages = warning;

INSERT INTO site (site_id, name) VALUES (1, 'ubo'), (2, 'tsu');

-- Both sites took shots 120000 to 120100, each with sub-shots 1 and 2.
INSERT INTO recorded_shot (site_id, shot, sub_shot)
  SELECT site, shot, sub
    FROM generate_series(1, 2) AS site, generate_series(120000, 120100) AS shot,
         generate_series(1, 2) AS sub;

INSERT INTO diag (diag_id, site_id, name) VALUES
  (101, 1, 'Magnetics'),
  (102, 1, 'Bolometer'),
  (103, 1, 'ECE'),
  (104, 1, 'Interferometer'),
  (105, 1, 'Langmuir'),
  (106, 1, 'Spectroscopy'),
  (201, 2, 'Magnetics');

INSERT INTO host (host_number, name) VALUES
  (11, 'fdts01-ctl.ubo.example'),
  (12, 'vdts01-ctl.ubo.example');

INSERT INTO dts_unit (dts_id, name, kind, host_number) VALUES
  (11, 'fdts01', 'FPGA-DTS', 11),
  (21, 'vdts01', 'VME-DTS', 12),
  (31, 'cdts01', 'CAMAC-DTS', 77);

-- Outputs as planned: when each fires, in seconds from the time zero; the
-- counts stored in dts_output are derived from that below.
CREATE TEMP TABLE plan (
  unit       integer NOT NULL,
  module     text    NOT NULL,
  channel    integer NOT NULL,
  name       text    NOT NULL,
  purpose    text    NOT NULL,
  fires_at   numeric NOT NULL,
  from_shot  bigint  NOT NULL DEFAULT 120000,
  sub_shot   integer,
  collected  timestamptz NOT NULL DEFAULT '2024-11-12 09:30:00+09',
  rate       integer NOT NULL DEFAULT 10000000,
  preset     integer NOT NULL DEFAULT 0,
  internal   integer NOT NULL DEFAULT 0,
  dvd_ns     integer,
  dvd_mag    integer,
  width_s    numeric NOT NULL DEFAULT 0.00001,
  enabled    boolean NOT NULL DEFAULT true
);

-- fdts01: FPGA unit, 10 MHz base clock. Its cables are compensated by a
-- delay-line preset of 20 ticks and an internal delay of 30 ticks.
INSERT INTO plan (unit, module, channel, name, purpose, fires_at, preset, internal,
                  dvd_ns, dvd_mag, enabled) VALUES
  (11, 'DMODSS0', 1, 'TRG1', 'Magnetics trigger',             -0.5,      20, 30, NULL, NULL, true),
  (11, 'DMODSS0', 2, 'TRG2', 'Bolometer trigger',              0,        20, 30, NULL, NULL, true),
  (11, 'DMODSS0', 3, 'TRG3', 'Interferometer trigger',        -0.1,      20, 30, NULL, NULL, true),
  (11, 'DMODSS0', 4, 'TRG4', 'spare',                          0,        20, 30, NULL, NULL, false),
  (11, 'DMODSS0', 5, 'TRG5', 'spare',                          0,        20, 30, NULL, NULL, false),
  (11, 'DMODSS0', 6, 'TRG6', 'spare',                          0,        20, 30, NULL, NULL, false),
  (11, 'DMODSS0', 7, 'CLK1', 'Magnetics sampling clock',      -0.500005, 20, 30, 100,  10,   true),
  (11, 'DMODSS0', 8, 'CLK2', 'Interferometer sampling clock', -0.05,     20, 30, 1000, 4,    true);

-- From shot 120050 the Magnetics record starts half a second earlier.
INSERT INTO plan (unit, module, channel, name, purpose, fires_at, from_shot, collected,
                  preset, internal, dvd_ns, dvd_mag) VALUES
  (11, 'DMODSS0', 1, 'TRG1', 'Magnetics trigger',        -1.0,      120050,
   '2024-11-13 14:02:11+09', 20, 30, NULL, NULL),
  (11, 'DMODSS0', 7, 'CLK1', 'Magnetics sampling clock', -1.000005, 120050,
   '2024-11-13 14:02:11+09', 20, 30, 100, 10);

-- Sub-shot 2 of every shot: the Bolometer is triggered again at +1 s.
INSERT INTO plan (unit, module, channel, name, purpose, fires_at, sub_shot, preset, internal)
  VALUES (11, 'DMODSS0', 2, 'TRG2', 'Bolometer trigger', 1.0, 2, 20, 30);

-- vdts01: VME unit, 10 MHz base clock, delay-line preset of 25 ticks.
INSERT INTO plan (unit, module, channel, name, purpose, fires_at, preset, dvd_ns, dvd_mag,
                  width_s, enabled) VALUES
  (21, 'DMOD0', 1, 'DIV1', 'spare clock',                  0,     25, 1000,  1,  0.00001, false),
  (21, 'DMOD0', 2, 'DIV2', 'spare clock',                  0,     25, 10000, 1,  0.00001, false),
  (21, 'DMOD0', 3, 'TRG3', 'ECE trigger',                 -0.01,  25, NULL, NULL, 0.00001, true),
  (21, 'DMOD0', 4, 'TRG4', 'Langmuir trigger',             0.2,   25, NULL, NULL, 0.00001, true),
  (21, 'DMOD0', 5, 'TRG5', 'NBI gate',                     0.5,   25, NULL, NULL, 2.0,     true),
  (21, 'DMOD0', 6, 'TRG6', 'spare',                        0,     25, NULL, NULL, 0.00001, false),
  (21, 'DMOD0', 7, 'TRG7', 'spare',                        0,     25, NULL, NULL, 0.00001, false),
  (21, 'DMOD0', 8, 'TRG8', 'spare',                        0,     25, NULL, NULL, 0.00001, false),
  (21, 'DMOD1', 1, 'DIV1', 'spare clock',                  0,     25, 1000,  1,  0.00001, false),
  (21, 'DMOD1', 2, 'DIV2', 'spare clock',                  0,     25, 1000,  1,  0.00001, false),
  (21, 'DMOD1', 3, 'TRG3', 'Spectroscopy camera trigger',  0.3,   25, NULL, NULL, 0.001,   true),
  (21, 'DMOD1', 4, 'TRG4', 'spare',                        0,     25, NULL, NULL, 0.00001, false),
  (21, 'DMOD1', 5, 'TRG5', 'spare',                        0,     25, NULL, NULL, 0.00001, false),
  (21, 'DMOD1', 6, 'TRG6', 'spare',                        0,     25, NULL, NULL, 0.00001, false),
  (21, 'DMOD1', 7, 'TRG7', 'spare',                        0,     25, NULL, NULL, 0.00001, false),
  (21, 'DMOD1', 8, 'TRG8', 'spare',                        0,     25, NULL, NULL, 0.00001, false);

-- cdts01: CAMAC unit, 1 MHz base clock, delay-line preset of 3 ticks.
INSERT INTO plan (unit, module, channel, name, purpose, fires_at, rate, preset, dvd_ns,
                  dvd_mag, enabled) VALUES
  (31, 'DMOD0', 1, 'DIV1', 'ECE sampling clock',     -0.02, 1000000, 3, 1000, 2,    true),
  (31, 'DMOD0', 2, 'DIV2', 'spare clock',             0,    1000000, 3, 1000, 10,   false),
  (31, 'DMOD0', 3, 'TRG3', 'tsu Magnetics trigger',  -0.2,  1000000, 3, NULL, NULL, true),
  (31, 'DMOD0', 4, 'TRG4', 'spare',                   0,    1000000, 3, NULL, NULL, false),
  (31, 'DMOD0', 5, 'TRG5', 'spare',                   0,    1000000, 3, NULL, NULL, false),
  (31, 'DMOD0', 6, 'TRG6', 'spare',                   0,    1000000, 3, NULL, NULL, false),
  (31, 'DMOD0', 7, 'TRG7', 'spare',                   0,    1000000, 3, NULL, NULL, false),
  (31, 'DMOD0', 8, 'TRG8', 'spare',                   0,    1000000, 3, NULL, NULL, false);

-- Counts: an output fires when the tick count from the DTS origin (120 s
-- before the time zero) reaches delay + preset (+ internal delay on DMODSS).
-- A clock runs with a period of dvd_ns * dvd_mag nanoseconds, high for half
-- of it, until the unit stops (repetition count 0).
INSERT INTO dts_output (
  dts_id, module, channel, first_shot, sub_shot, collected, unit_channel, output_name,
  purpose, base_rate, delay_preset, internal_delay, dvd_range, dvd_magnification,
  delay, pulse_width, repetition_time, repetition_count, trigger_select,
  output_enabled, event_out, vme_interrupt, external_trigger, clock_internal,
  polarity_positive, inhibit, bus_input, move_mode, timer_trigger_channel)
SELECT p.unit, p.module, p.channel, p.from_shot, p.sub_shot, p.collected,
       substring(p.module FROM '[0-9]+$')::integer * 8 + p.channel,
       p.name, p.purpose, p.rate, p.preset,
       CASE WHEN dmodss THEN p.internal ELSE 0 END,
       p.dvd_ns, p.dvd_mag,
       round((p.fires_at + 120) * p.rate)::bigint - p.preset
         - CASE WHEN dmodss THEN p.internal ELSE 0 END,
       CASE WHEN clock THEN period_ticks / 2 ELSE round(p.width_s * p.rate)::bigint END,
       CASE WHEN clock THEN period_ticks ELSE 0 END,
       CASE WHEN clock THEN 0 ELSE 1 END,
       1,
       p.enabled,
       p.enabled AND NOT clock,
       CASE WHEN dmodss THEN NULL ELSE false END,
       false,
       true,
       true,
       CASE WHEN dmodss THEN false END,
       CASE WHEN dmodss THEN false END,
       CASE WHEN clock THEN 0 ELSE 3 END,
       0
  FROM plan p,
       LATERAL (SELECT left(p.module, 6) = 'DMODSS' AS dmodss,
                       p.dvd_ns IS NOT NULL AS clock,
                       (p.dvd_ns::bigint * p.dvd_mag * p.rate / 1000000000) AS period_ticks) d;

DROP TABLE plan;

-- DTS links of the digitizer channels. Channel keys: module position in the
-- diagnostic's module list (setup database), channel on that module.
INSERT INTO dts_link (diag_id, first_shot, sub_shot, ch_key1, ch_key2,
                      dts_kind, trigger_unit, trigger_module, clock_output,
                      trigger_output, ext_clock, clock_source, int_clock,
                      record_length, options)
SELECT l.diag_id, l.first_shot, l.sub_shot, m, c,
       l.dts_kind, l.trigger_unit, l.trigger_module, l.clock_output,
       l.trigger_output, l.ext_clock, l.clock_source, l.int_clock,
       l.record_length, l.options
  FROM (VALUES
    -- Magnetics: 2 modules x 8 channels, 1 MHz clock CLK1 of the trigger's module.
    (101, 120000, NULL::integer, 2, 8, 'FPGA-DTS', 'fdts01', 'DMODSS0', '7', '1', '1',
     'External', '0', '1500000', 'PreSample 500'),
    (101, 120050, NULL, 2, 8, 'FPGA-DTS', 'fdts01', 'DMODSS0', '7', '1', '1',
     'External', '0', '2000000', 'PreSample 1000'),
    -- Bolometer: internal 100 kHz clock; in sub-shot 2 the clock is set by its
    -- sampling interval (20 us) instead.
    (102, 120000, NULL, 1, 4, 'FPGA-DTS', 'fdts01', 'DMODSS0', '0', '2', '0',
     'Internal', '100000', '50000', 'PreSample 100 SampInterval 10000'),
    (102, 120000, 2, 1, 4, 'FPGA-DTS', 'fdts01', 'DMODSS0', '0', '2', '0',
     'Internal', '0', '25000', 'PreSample 100 SampInterval 20000'),
    -- ECE: triggered by the VME unit, clocked (2 us) by the CAMAC unit.
    (103, 120000, NULL, 1, 8, 'VME-DTS', 'vdts01', 'DMOD0', '1', '3', '1',
     'External', '0', '100000', 'PreSample 2000 ClkDTS CAMAC cdts01 DMOD0'),
    -- Interferometer: its 4 us clock starts 50 ms after its trigger.
    (104, 120000, NULL, 1, 4, 'FPGA-DTS', 'fdts01', 'DMODSS0', '8', '3', '1',
     'External', '0', '250000', 'PreSample 0'),
    -- Langmuir: the unit's 10 MHz base clock, one sample every 10 cycles.
    (105, 120000, NULL, 1, 2, 'VME-DTS', 'vdts01', 'DMOD0', 'CLK_OUT', '4', '10',
     'External', '0', '1000000', 'PreSample 100'),
    -- Spectroscopy: a camera whose frame timing the link cannot describe.
    (106, 120000, NULL, 1, 1, 'VME-DTS', 'vdts01', 'DMOD1', '0', '3', '0',
     'Internal', '0', '1', 'notSupportedNow'),
    -- tsu Magnetics: CAMAC trigger, internal 500 kHz clock.
    (201, 120000, NULL, 1, 4, 'CAMAC', 'cdts01', 'DMOD0', '0', '3', '0',
     'Internal', '500000', '250000', 'PreSample 50')
  ) AS l(diag_id, first_shot, sub_shot, modules, channels, dts_kind, trigger_unit,
         trigger_module, clock_output, trigger_output, ext_clock, clock_source,
         int_clock, record_length, options),
  LATERAL generate_series(1, l.modules) AS m,
  LATERAL generate_series(1, l.channels) AS c;

-- Channel settings of the digitizer modules, coherent with the links above.
INSERT INTO dmod_channel (key1, key2, first_shot, sub_shot, channel, range_volts,
                          offset_volts, clock_hz, pre_samples, samples, clock_count,
                          mode_flag)
SELECT d.key1, d.key2, d.first_shot, d.sub_shot, c, d.range_volts, d.offset_volts,
       d.clock_hz, d.pre_samples, d.samples, d.clock_count, d.mode_flag
  FROM (VALUES
    ('mag-pxi1',  'PXI6143',  120000, NULL::integer, 8, 10.0, 0.0,   1000000.0, 500,  1500000, 1, 0),
    ('mag-pxi1',  'PXI6143',  120050, NULL,          8, 10.0, 0.0,   1000000.0, 1000, 2000000, 1, 0),
    ('mag-pxi2',  'PXI6133',  120000, NULL,          8, 5.0,  0.0,   1000000.0, 500,  1500000, 1, 0),
    ('mag-pxi2',  'PXI6133',  120050, NULL,          8, 5.0,  0.0,   1000000.0, 1000, 2000000, 1, 0),
    ('bolo-we1',  'WE7275',   120000, NULL,          4, 1.0,  -0.5,  100000.0,  100,  50000,   0, 0),
    ('bolo-we1',  'WE7275',   120000, 2,             4, 1.0,  -0.5,  50000.0,   100,  25000,   0, 0),
    ('ece-pxie1', 'PXIe6368', 120000, NULL,          8, 2.0,  0.0,   500000.0,  2000, 100000,  2, 0),
    ('fir-we1',   'WE7272',   120000, NULL,          4, 10.0, 0.0,   250000.0,  0,    250000,  0, 1),
    ('lp-we1',    'WE7271',   120000, NULL,          2, 20.0, 0.0,   1000000.0, 100,  1000000, 0, 0),
    ('spec-cam1', 'CAM-4K',   120000, NULL,          1, 0.0,  0.0,   100.0,     0,    1,       0, 0),
    ('tsu-we1',   'WE7273',   120000, NULL,          4, 10.0, 0.0,   500000.0,  50,   250000,  0, 0)
  ) AS d(key1, key2, first_shot, sub_shot, channels, range_volts, offset_volts, clock_hz,
         pre_samples, samples, clock_count, mode_flag),
  LATERAL generate_series(1, d.channels) AS c;
