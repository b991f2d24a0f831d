-- Schema version 2, setup database (after common.sql): the lookups by key.

SET client_min_messages = warning;

-- The probe's index (see common.sql).
CREATE INDEX dmod_use_shots
  ON dmod_use (site, diag, position, sub_class(sub_shot), first_shot DESC);

-- The module at one position of a diagnostic's module list.
CREATE FUNCTION dmod_use_for(s text, d text, pos integer, shot bigint, sub integer)
  RETURNS SETOF dmod_use
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT r.*
      FROM shot_classes(sub) c
     CROSS JOIN LATERAL (
       SELECT u.* FROM dmod_use u
        WHERE u.site = s AND u.diag = d AND u.position = pos
          AND sub_class(u.sub_shot) = c.class AND holds(u.first_shot, u.last_shot, shot)
        ORDER BY u.first_shot DESC LIMIT 1) r
     ORDER BY c.preference LIMIT 1;
  END;

-- The positions of a diagnostic's module list that have rows, found by
-- skipping through the index: one descent per position.
CREATE FUNCTION dmod_positions(s text, d text) RETURNS TABLE (pos integer)
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    WITH RECURSIVE p(pos) AS (
      SELECT min(u.position) FROM dmod_use u WHERE u.site = s AND u.diag = d
      UNION ALL
      SELECT (SELECT min(u.position) FROM dmod_use u
               WHERE u.site = s AND u.diag = d AND u.position > p.pos)
        FROM p WHERE p.pos IS NOT NULL)
    SELECT p.pos FROM p WHERE p.pos IS NOT NULL;
  END;

-- A diagnostic's modules of a site, one row per position.
CREATE FUNCTION dmod_use_of(s text, d text, shot bigint, sub integer)
  RETURNS SETOF dmod_use
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT u.*
      FROM dmod_positions(s, d) p, LATERAL dmod_use_for(s, d, p.pos, shot, sub) u;
  END;
