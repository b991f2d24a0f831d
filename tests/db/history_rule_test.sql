-- The lookups over every key of the cluster (demo, odd rows, generated history) against the rule
-- applied by a full sort, at shots around changes, ended rows and sub-shot rows. Run as a site in
-- each database; fails with the first differences.
\set ON_ERROR_STOP 1
SELECT $check$
DO $$
DECLARE
  probe constant text := 'WITH probe AS (SELECT s AS shot, u AS sub FROM generate_series(0, 60) s,'
    ' unnest(ARRAY[0, 1, 2, -1]) u UNION ALL SELECT s, u FROM'
    ' unnest(ARRAY[155, 300, 301, 120049, 120050, 120100]) s, unnest(ARRAY[1, 2]) u) ';
  checks constant text[][] := ARRAY[  -- table, its key, the columns compared, the lookup of a key
    ['dts_link', 'diag_id, ch_key1, ch_key2', 't.*', '(SELECT DISTINCT diag_id, ch_key1, ch_key2'
     ' FROM dts_link) k, LATERAL dts_link_for(k.diag_id, p.shot, p.sub, k.ch_key1, k.ch_key2) r'],
    ['dts_output', 'dts_id, module, channel', 't.*', '(SELECT DISTINCT dts_id, module'
     ' FROM dts_output) k, LATERAL dts_outputs_of(k.dts_id, k.module, p.shot, p.sub) r'],
    ['dts_output', 'dts_id, module, channel', 't.dts_id, t.module, t.channel, t.first_shot',
     '(SELECT DISTINCT dts_id FROM dts_output) k, LATERAL dts_unit_table_of(k.dts_id, p.shot, p.sub) r'],
    ['dmod_channel', 'key1, key2, channel', 't.*', '(SELECT DISTINCT key1, key2 FROM dmod_channel) k,'
     ' LATERAL dmod_channel_of(k.key1, k.key2, p.shot, p.sub) r'],
    ['dmod_use', 'site, diag, position', 't.*', '(SELECT DISTINCT site, diag FROM dmod_use) k,'
     ' LATERAL dmod_use_of(k.site, k.diag, p.shot, p.sub) r']];
  c text[]; want text; got text; row text; differs boolean := false;
BEGIN
  FOREACH c SLICE 1 IN ARRAY checks LOOP
    CONTINUE WHEN to_regclass(c[1]) IS NULL;  -- not in this database
    want := format('SELECT DISTINCT ON (p.shot, p.sub, %2$s) p.shot, p.sub, %3$s FROM probe p'
                   ' JOIN %1$s t ON t.first_shot <= p.shot AND (t.last_shot IS NULL OR p.shot <='
                   ' t.last_shot) AND (t.sub_shot IS NULL OR t.sub_shot = p.sub) ORDER BY p.shot,'
                   ' p.sub, %2$s, t.sub_shot IS NULL, t.first_shot DESC', c[1], c[2], c[3]);
    got := format('SELECT p.shot, p.sub, %s FROM probe p, %s', replace(c[3], 't.', 'r.'), c[4]);
    FOR row IN EXECUTE format('%s SELECT row_to_json(d)::text FROM (((%s) EXCEPT ALL (%s))'
                              ' UNION ALL ((%s) EXCEPT ALL (%s))) d LIMIT 3',
                              probe, want, got, got, want) LOOP
      RAISE WARNING '%: % differs', c[4], row;
      differs := true;
    END LOOP;
  END LOOP;
  IF differs THEN RAISE EXCEPTION 'lookups differ from the rule'; END IF;
END
$$;
$check$ AS check \gset
:check
\connect setup
:check
