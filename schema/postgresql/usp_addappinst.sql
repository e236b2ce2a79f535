-- usp_AddAppInst(asset, app, serial, version, flags): the _ID of the asset's instance of the
-- application (the lowest when there are several). An existing instance gets one more in _FILES
-- and is otherwise left as it is; a new one is inserted with the serial, the version and _FLAGS
-- flags, and _FILES 1 when flags hold 0x2 (the instance comes from a file assigned to the
-- application) or 0 otherwise. Reached through "{?=call usp_AddAppInst(7,3,'SERIAL','VERSION',2,?)}":
-- ret goes to the return-value marker, id to the trailing one. The library runs the same steps
-- itself on SQLite (sql/sqlite_procedures.cpp).
create or replace function usp_AddAppInst(p_asset integer, p_app integer, p_serial text, p_version text, p_flags integer, out ret integer, out id integer)
language plpgsql as $$
begin
    select _ID into id from APPINST where _ASSET = p_asset and _APP = p_app order by _ID limit 1;
    if id is null then
        insert into APPINST (_ASSET, _APP, _SERIAL, _VERSION, _FILES, _FLAGS)
            values (p_asset, p_app, p_serial, p_version, case when (p_flags & 2) <> 0 then 1 else 0 end, p_flags)
            returning _ID into id;
    else
        update APPINST set _FILES = _FILES + 1 where _ID = id;
    end if;
    ret := 0;
end;
$$;
