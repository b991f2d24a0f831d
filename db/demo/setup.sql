-- Demo experiment, setup database: the digitizer modules of each diagnostic.
-- Position is the first channel key of the index database's DTS links; key1
-- names the module, key2 is its card type.

SET client_min_messages = warning;

INSERT INTO dmod_use (site, diag, first_shot, sub_shot, position, key1, key2) VALUES
  ('ubo', 'Magnetics',      120000, NULL, 1, 'mag-pxi1',  'PXI6143'),
  ('ubo', 'Magnetics',      120000, NULL, 2, 'mag-pxi2',  'PXI6133'),
  ('ubo', 'Bolometer',      120000, NULL, 1, 'bolo-we1',  'WE7275'),
  ('ubo', 'ECE',            120000, NULL, 1, 'ece-pxie1', 'PXIe6368'),
  ('ubo', 'Interferometer', 120000, NULL, 1, 'fir-we1',   'WE7272'),
  ('ubo', 'Langmuir',       120000, NULL, 1, 'lp-we1',    'WE7271'),
  ('ubo', 'Spectroscopy',   120000, NULL, 1, 'spec-cam1', 'CAM-4K'),
  ('tsu', 'Magnetics',      120000, NULL, 1, 'tsu-we1',   'WE7273');
