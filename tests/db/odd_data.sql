-- Site "odd", loaded after the demo: SQL punctuation, blanks, empty cells, numbers that are
-- not numbers, negative keys, texts longer than the library's buffers.
INSERT INTO site (site_id, name) VALUES (9, 'odd');
INSERT INTO diag (diag_id, site_id, name) VALUES
  (901, 9, E'O''Brien"; DROP TABLE site; --\\'), (902, 9, 'plain');

INSERT INTO dts_link (diag_id, first_shot, sub_shot, ch_key1, ch_key2, dts_kind, trigger_unit,
                      trigger_module, clock_output, trigger_output, ext_clock, clock_source,
                      int_clock, record_length, options) VALUES
  (901, 1, NULL, 1, 1, '  FPGA-DTS  ', '  unit A  ', E'mod\\1', '12abc', '70000', '-5',
   ' External ', '7', 'x', 'foo PreSample 7 SampInterval 0'),
  (901, 1, NULL, 1, 2, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL),
  (901, 1, NULL, 1, 3, 'VME-DTS', 'vdts01', 'DMOD0', 'CLK_OUT', '3', '1', 'external', '100', '10',
   'notSupportedNow PreSample 5 ClkDTS VME-DTS m1 CLK2'),
  (901, 1, NULL, 1, 4, 'CAMAC', 'cdts01', 'DMOD0', '1', '3', '1', 'Internal', '0', '1',
   'SampInterval 5 PreSample'),
  (901, 1, NULL, 1, 5, repeat('K', 300), repeat('u', 300), 'DMOD0', '1', '3', '1', 'Internal', '0',
   '1', 'PreSample ' || repeat('9', 80) || ' ' || repeat('w ', 200)),
  (901, 1, NULL, -1, -1, 'FPGA-DTS', 'fdts01', 'DMODSS0', '8', '3', '1', 'External', '0', '1',
   'PreSample 1'),
  (901, 1, -1, 1, 1, 'CAMAC-DTS', 'sub-shot minus one', 'DMOD0', '1', '3', '1', 'Internal', '0',
   '1', ''),
  (901, 1, NULL, 1, 6, 'FPGA-DTS', 'fdts01', repeat('m', 20000), repeat('7', 70), '1x', 'many',
   ' External ', '0', '12e3',
   'PreSample abc SampInterval 12x ClkDTS CAMAC ' || repeat('n', 70) || ' ' || repeat('w', 80));

-- Units with odd names and modules; a host name longer than the library keeps.
INSERT INTO dts_unit (dts_id, name, kind, host_number) VALUES
  (91, E'odd''unit;\\', 'CAMAC-DTS', 91), (92, 'lower', 'FPGA-DTS', 92);
INSERT INTO host (host_number, name) VALUES (91, repeat('h', 300));
INSERT INTO dts_output (dts_id, module, channel, first_shot, collected, unit_channel, output_name,
                        purpose, base_rate, delay_preset, internal_delay, dvd_range,
                        dvd_magnification, delay, pulse_width, repetition_time, repetition_count,
                        trigger_select, output_enabled, event_out, vme_interrupt,
                        external_trigger, clock_internal, polarity_positive, inhibit, bus_input,
                        move_mode, timer_trigger_channel)
SELECT 91, 'DMODSS12', c, 1, '2024-01-02 03:04:05+09'::timestamptz, c, 'TRG' || c, NULL, 1000000,
       1, 2, NULL, NULL, 120000000 + c, 10, 0, 1, 0, true, NULL, NULL, true, false, true, NULL,
       false, -1, 0 FROM generate_series(1, 8) AS c
UNION ALL
SELECT 92, 'dmodss', c, 1, '2024-01-02 03:04:05+09'::timestamptz, c, 'TRG' || c, 'lower case',
       10000000, 0, 0, 100, 1, 1200000000, 1, 1, 1, 0, false, false, false, false, false, false,
       false, false, 0, 0 FROM generate_series(1, 2) AS c;
INSERT INTO dmod_channel (key1, key2, first_shot, channel, range_volts, offset_volts, clock_hz,
                          pre_samples, samples, clock_count, mode_flag) VALUES
  (E'key\'1;', E'key\\2', 1, 1, 12.5e-3, -1e300, 0, -7, 2147483647, 0, -1),
  (E'key\'1;', E'key\\2', 1, 2, 'NaN', '-Infinity', 'Infinity', 0, 0, 0, 0);

\connect setup
INSERT INTO dmod_use (site, diag, first_shot, position, key1, key2) VALUES
  ('odd', E'O''Brien"; DROP TABLE site; --\\', 1, 1, E'key\'1;', E'key\\2'),
  ('odd', E'O''Brien"; DROP TABLE site; --\\', 1, 2, repeat('k', 100), 'PXI6143');
