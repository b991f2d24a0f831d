-- The fault tests' own superuser, reached by password like the sites.
SET password_encryption = 'scram-sha-256';
CREATE ROLE tovak_faults LOGIN SUPERUSER PASSWORD 'tovak_faults';
