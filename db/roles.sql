-- Site roles: every site of the index database gets a login role of its
-- own name, with the library's fixed password, as a member of tovak_reader
-- (created with the databases), which may connect and read and nothing
-- else. The roles' transactions are read-only as well. A role holds at most
-- 40 connections (each kept-open client and each server worker holds one),
-- and its sessions end a statement after 60 s and a transaction left idle
-- after 60 s; these are the session's defaults, which a client may change,
-- while the privileges and the connection limit hold whatever it asks. A
-- site that chose its own password (ALTER ROLE) keeps it.
--
-- Run as the cluster's superuser in the database "index", after the sites
-- are loaded; safe to run again when sites were added.

SET client_min_messages = warning;
SET password_encryption = 'scram-sha-256';

DO $$
DECLARE
  s record;
BEGIN
  FOR s IN SELECT name FROM site ORDER BY site_id LOOP
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = s.name) THEN
      EXECUTE format('CREATE ROLE %I LOGIN PASSWORD %L IN ROLE tovak_reader',
                     s.name, '19981107quorblex3');
    END IF;
    EXECUTE format('ALTER ROLE %I CONNECTION LIMIT 40', s.name);
    EXECUTE format('ALTER ROLE %I SET default_transaction_read_only = on', s.name);
    EXECUTE format('ALTER ROLE %I SET statement_timeout = %L', s.name, '60s');
    EXECUTE format('ALTER ROLE %I SET idle_in_transaction_session_timeout = %L', s.name, '60s');
  END LOOP;
END
$$;

