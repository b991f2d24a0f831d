-- Schema version 3, index database (after common.sql): the shot log.
--
-- The shots and sub-shots each site recorded, written by the experiment as
-- each is taken. Lookups never read it: the rows of the other tables hold
-- from a shot on whether or not later shots happened. It tells a caller
-- whether the shot it asks about was ever taken (tovakGetShotRecord).

SET client_min_messages = warning;

CREATE TABLE recorded_shot (
  site_id  integer NOT NULL REFERENCES site ON DELETE CASCADE,
  shot     bigint  NOT NULL CHECK (shot BETWEEN 0 AND 4294967295),
  sub_shot integer NOT NULL,
  PRIMARY KEY (site_id, shot, sub_shot)
);
GRANT SELECT ON recorded_shot TO tovak_reader;

-- For the connected site: the newest shot it recorded (null: none) and
-- whether it recorded this shot and sub-shot. No row for a session that is
-- no site. Two descents of the primary key.
CREATE FUNCTION shot_record(s bigint, sub integer)
  RETURNS TABLE (newest bigint, recorded boolean)
  LANGUAGE sql STABLE PARALLEL SAFE
  BEGIN ATOMIC
    SELECT (SELECT max(r.shot) FROM recorded_shot r WHERE r.site_id = x.site_id),
           EXISTS (SELECT FROM recorded_shot r
                    WHERE r.site_id = x.site_id AND r.shot = s AND r.sub_shot = sub)
      FROM site x
     WHERE x.name = session_user;
  END;
