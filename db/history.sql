-- A generated experiment for measuring and testing the lookups on long
-- histories (scripts/dbctl history). The psql variables shots, every,
-- diagnostics, channels, units and modules size it; the names do not depend
-- on them, and the rows up to a shot depend on the shot alone, so the same
-- lookup can be asked of a short and a long history. Replaces an earlier one.
--
--   site "gen" (id 50), shots 1 to :shots, each with sub-shots 1 and 2 in the
--     shot log;
--   unit gshot (id 5000, FPGA-DTS, host 5000): the 8 outputs of DMODSS0 stored
--     for every shot; output 2 has a sub-shot 2 row from shot 1 on, which wins
--     over all of them; DMOD1 changes every :every shots;
--   units gdts01, gdts02, ... (ids 5001, ..., VME-DTS): modules DMOD0, DMOD1,
--     ..., changing every :every shots;
--   diagnostic PerShot (id 5000): the links of channels (1, 1..:channels)
--     stored for every shot, triggered by gshot DMODSS0; (1, 1) has a
--     sub-shot 2 row from shot 1 on; module gen-PerShot-1 (PXI6143);
--   diagnostics D001, D002, ... (ids 5001, ...): links of channels
--     (1..2, 1..:channels) changing every :every shots, triggered by the gdts
--     units; modules gen-Dnnn-1 and gen-Dnnn-2, whose card type alternates
--     between PXI6143 and PXI6133 with each change.
--
-- Changing rows: version v starts at shot 1 + v * :every. Some versions end
-- (last_shot) halfway, so that the version before applies again; some keys
-- have sub-shot 1 rows every few versions.
--
-- Run as the cluster's superuser in the database "index".

SET client_min_messages = warning;
\set ON_ERROR_STOP 1
BEGIN;

DELETE FROM dts_link WHERE diag_id BETWEEN 5000 AND 5999;
DELETE FROM diag WHERE diag_id BETWEEN 5000 AND 5999;
DELETE FROM dts_output WHERE dts_id BETWEEN 5000 AND 5999;
DELETE FROM dts_unit WHERE dts_id BETWEEN 5000 AND 5999;
DELETE FROM host WHERE host_number BETWEEN 5000 AND 5999;
DELETE FROM dmod_channel WHERE key1 LIKE 'gen-%';
DELETE FROM site WHERE site_id = 50;

-- The versions of the changing rows: number and first shot.
CREATE TEMP TABLE version ON COMMIT DROP AS
  SELECT v, 1 + v * :every::bigint AS first
    FROM generate_series(0, (:shots - 1) / :every) AS v;

INSERT INTO site (site_id, name) VALUES (50, 'gen');
INSERT INTO recorded_shot (site_id, shot, sub_shot)
  SELECT 50, s, sub FROM generate_series(1, :shots) AS s, generate_series(1, 2) AS sub;
INSERT INTO diag (diag_id, site_id, name)
  SELECT 5000, 50, 'PerShot'
  UNION ALL
  SELECT 5000 + d, 50, 'D' || lpad(d::text, 3, '0') FROM generate_series(1, :diagnostics) AS d;
INSERT INTO dts_unit (dts_id, name, kind, host_number)
  SELECT 5000, 'gshot', 'FPGA-DTS', 5000
  UNION ALL
  SELECT 5000 + u, 'gdts' || lpad(u::text, 2, '0'), 'VME-DTS', 5000 + u
    FROM generate_series(1, :units) AS u;
INSERT INTO host (host_number, name)
  SELECT dts_id, name || '-ctl.gen.example' FROM dts_unit WHERE dts_id BETWEEN 5000 AND 5999;

INSERT INTO dts_output (dts_id, module, channel, first_shot, last_shot, sub_shot, collected,
                        unit_channel, output_name, purpose, base_rate, delay_preset,
                        internal_delay, dvd_range, dvd_magnification, delay, pulse_width,
                        repetition_time, repetition_count, trigger_select, output_enabled,
                        event_out, vme_interrupt, external_trigger, clock_internal,
                        polarity_positive, inhibit, bus_input, move_mode,
                        timer_trigger_channel)
SELECT g.unit, g.module, g.channel, g.first, g.last, g.sub,
       timestamptz '2025-04-01 09:00:00+09' + g.first * interval '3 minutes',
       substring(g.module FROM '[0-9]+$')::integer * 8 + g.channel,
       CASE WHEN g.channel <= 6 THEN 'TRG' || g.channel
            WHEN g.module LIKE 'DMODSS%' THEN 'CLK' || (g.channel - 6)
            ELSE 'DIV' || g.channel END,
       'generated', 10000000, 20, 30,
       CASE WHEN g.channel > 6 THEN 100 END, CASE WHEN g.channel > 6 THEN 10 END,
       1190000000 + g.seed % 100000 * 100 + g.channel, 100, 1000, g.seed % 7, 0,
       true, false, NULL, false, true, true, NULL, NULL, 0, 0
  FROM (
    -- gshot DMODSS0, every shot
    SELECT 5000 AS unit, 'DMODSS0' AS module, c AS channel, s AS first,
           NULL::bigint AS last, NULL::integer AS sub, s AS seed
      FROM generate_series(1, :shots) AS s, generate_series(1, 8) AS c
    UNION ALL
    SELECT 5000, 'DMODSS0', 2, 1, NULL, 2, 999999
    UNION ALL
    -- the changing modules: every 4th version of output 8 ends halfway
    SELECT m.unit, m.module, c, v.first,
           CASE WHEN c = 8 AND v.v % 4 = 3 THEN v.first + (:every - 1) / 2 END, NULL,
           v.v * 7 + m.unit + c
      FROM version v, generate_series(1, 8) AS c,
           (SELECT 5000 AS unit, 'DMOD1' AS module
            UNION ALL
            SELECT 5000 + u, 'DMOD' || n
              FROM generate_series(1, :units) AS u, generate_series(0, :modules - 1) AS n) m
    UNION ALL
    -- sub-shot 1 of output 1 of those modules, every 10th version from the 5th
    SELECT 5000 + u, 'DMOD0', 1, v.first, NULL, 1, v.v * 11 + u
      FROM version v, generate_series(1, :units) AS u
     WHERE v.v % 10 = 5) g;

INSERT INTO dts_link (diag_id, first_shot, last_shot, sub_shot, ch_key1, ch_key2, dts_kind,
                      trigger_unit, trigger_module, clock_output, trigger_output, ext_clock,
                      clock_source, int_clock, record_length, options)
SELECT g.diag, g.first, g.last, g.sub, g.key1, g.key2,
       CASE WHEN g.diag = 5000 THEN 'FPGA-DTS' ELSE 'VME-DTS' END,
       CASE WHEN g.diag = 5000 THEN 'gshot'
            ELSE 'gdts' || lpad(((g.diag - 5001) % :units + 1)::text, 2, '0') END,
       CASE WHEN g.diag = 5000 THEN 'DMODSS0' ELSE 'DMOD0' END,
       '7', (g.key2 - 1) % 6 + 1, '1', 'External', '0', (1000 + g.seed % 1000)::text,
       'PreSample ' || g.seed % 100
  FROM (
    -- PerShot, every shot
    SELECT 5000 AS diag, s AS first, NULL::bigint AS last, NULL::integer AS sub,
           1 AS key1, c AS key2, s AS seed
      FROM generate_series(1, :shots) AS s, generate_series(1, :channels) AS c
    UNION ALL
    SELECT 5000, 1, NULL, 2, 1, 1, 999999
    UNION ALL
    -- the D diagnostics: every 3rd version of channel (1, 1) ends halfway
    SELECT 5000 + d, v.first,
           CASE WHEN p = 1 AND c = 1 AND v.v % 3 = 2 THEN v.first + (:every - 1) / 2 END,
           NULL, p, c, v.v * 13 + d + c
      FROM version v, generate_series(1, :diagnostics) AS d, generate_series(1, 2) AS p,
           generate_series(1, :channels) AS c
    UNION ALL
    -- sub-shot 1 of channel (1, 2), every 5th version from the 2nd
    SELECT 5000 + d, v.first, NULL, 1, 1, 2, v.v * 17 + d
      FROM version v, generate_series(1, :diagnostics) AS d
     WHERE v.v % 5 = 2) g;

-- The settings of the digitizer modules: of gen-PerShot-1 (PXI6143) and of
-- each D module with both card types, changing every :every shots.
INSERT INTO dmod_channel (key1, key2, first_shot, last_shot, sub_shot, channel, range_volts,
                          offset_volts, clock_hz, pre_samples, samples, clock_count, mode_flag)
SELECT m.key1, m.key2, v.first,
       CASE WHEN c = 1 AND v.v % 3 = 1 THEN v.first + (:every - 1) / 2 END,
       CASE WHEN c = 2 AND v.v % 4 = 2 THEN 1 END,
       c, 10, 0, 1000000, v.v % 1000, 1000 + c, 1, 0
  FROM version v, generate_series(1, :channels) AS c,
       (SELECT 'gen-PerShot-1' AS key1, 'PXI6143' AS key2
        UNION ALL
        SELECT 'gen-D' || lpad(d::text, 3, '0') || '-' || p, k
          FROM generate_series(1, :diagnostics) AS d, generate_series(1, 2) AS p,
               unnest(ARRAY['PXI6143', 'PXI6133']) AS k) m;

COMMIT;
ANALYZE site, diag, dts_unit, host, dts_output, dts_link, dmod_channel;

\connect setup
SET client_min_messages = warning;
BEGIN;
DELETE FROM dmod_use WHERE site = 'gen';
INSERT INTO dmod_use (site, diag, first_shot, last_shot, sub_shot, position, key1, key2)
SELECT 'gen', 'PerShot', 1, NULL, NULL, 1, 'gen-PerShot-1', 'PXI6143'
UNION ALL
SELECT 'gen', d.name, 1 + v * :every::bigint,
       CASE WHEN v % 3 = 2 THEN 1 + v * :every::bigint + (:every - 1) / 2 END,
       CASE WHEN p = 2 AND v % 5 = 3 THEN 1 END,
       p, 'gen-' || d.name || '-' || p, CASE WHEN v % 2 = 0 THEN 'PXI6143' ELSE 'PXI6133' END
  FROM generate_series(0, (:shots - 1) / :every) AS v, generate_series(1, 2) AS p,
       (SELECT 'D' || lpad(n::text, 3, '0') AS name
          FROM generate_series(1, :diagnostics) AS n) d;
COMMIT;
ANALYZE dmod_use;
