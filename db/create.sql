-- The two databases and the reading group role. Run as the cluster's
-- superuser in the database "postgres", once, before index.sql and setup.sql.

SET client_min_messages = warning;

CREATE ROLE tovak_reader NOLOGIN;
CREATE DATABASE "index" TEMPLATE template0 ENCODING 'UTF8' LOCALE 'C';
CREATE DATABASE setup TEMPLATE template0 ENCODING 'UTF8' LOCALE 'C';
REVOKE ALL ON DATABASE "index" FROM PUBLIC;
REVOKE ALL ON DATABASE setup FROM PUBLIC;
GRANT CONNECT ON DATABASE "index" TO tovak_reader;
GRANT CONNECT ON DATABASE setup TO tovak_reader;
