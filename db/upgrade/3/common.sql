-- Schema version 3, both databases: the version itself (the index database
-- gains the shot log, index.sql).

UPDATE schema_version SET version = 3;
