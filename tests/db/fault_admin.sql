-- The fault tests' own login: a superuser reached by password like the sites,
-- which finds, locks out and ends the library's sessions.
SET client_min_messages = warning;
SET password_encryption = 'scram-sha-256';
CREATE ROLE tovak_faults LOGIN SUPERUSER PASSWORD 'tovak_faults';
