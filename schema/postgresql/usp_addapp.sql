-- usp_AddApp(mfr, app, flags): the _ID of the APPS row with exactly this publisher and name (the
-- lowest when there are several), inserted with _FLAGS flags when there is none. Reached through
-- "{?=call usp_AddApp('Acme','Editor',1,?)}": ret goes to the return-value marker, id to the
-- trailing one. The library runs the same steps itself on SQLite (sql/sqlite_procedures.cpp).
-- A missing row is looked for again under an advisory lock on the name (schema/README.md), so
-- that of two sessions adding one application the second waits and finds the first's row.
create or replace function usp_AddApp(p_mfr text, p_app text, p_flags integer, out ret integer, out id integer)
language plpgsql as $$
begin
    select _ID into id from APPS where _MFR = p_mfr and _APP = p_app order by _ID limit 1;
    if id is null then
        perform pg_advisory_xact_lock(hashtext('APPS'), hashtext(upper(p_mfr) || chr(9) || upper(p_app)));
        select _ID into id from APPS where _MFR = p_mfr and _APP = p_app order by _ID limit 1;
        if id is null then
            insert into APPS (_MFR, _APP, _FLAGS) values (p_mfr, p_app, p_flags) returning _ID into id;
        end if;
    end if;
    ret := 0;
end;
$$;
