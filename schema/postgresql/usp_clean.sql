-- usp_Clean: removes the rows left behind by deleted assets and applications, and returns
-- 0. Reached through the ODBC call escape "{?=call usp_Clean}". The body is the statement
-- list of sqlite/usp_clean.sql, copied verbatim and in the same order (that file says what
-- each statement removes and why); keep the two identical, scripts/schema-check.sh checks
-- it. The function runs in one transaction: a failing statement undoes the whole clean-up.
create or replace function usp_Clean(out ret integer)
language plpgsql as $$
begin
    delete from APPINST where _ASSET <> 0 and not exists (select 1 from ASSET where ASSET._ID = APPINST._ASSET);
    delete from APPINST where _APP <> 0 and not exists (select 1 from APPS where APPS._ID = APPINST._APP);
    delete from LICALERTS where _APP <> 0 and not exists (select 1 from APPS where APPS._ID = LICALERTS._APP);
    delete from USERDATA where (_FLAGS & 2) <> 0 and _OWNER <> 0 and not exists (select 1 from ASSET where ASSET._ID = USERDATA._OWNER);
    delete from USERDATA where (_FLAGS & 6) = 4 and _OWNER <> 0 and not exists (select 1 from APPS where APPS._ID = USERDATA._OWNER);
    update APPS set _ALIAS = 0 where _ALIAS <> 0 and not exists (select 1 from APPS A where A._ID = APPS._ALIAS);
    update SWFILE set _APPID = 0 where _APPID <> 0 and not exists (select 1 from APPS where APPS._ID = SWFILE._APPID);
    delete from HISTORY where _ASSET <> 0 and not exists (select 1 from ASSET where ASSET._ID = HISTORY._ASSET);
    delete from EVENTLOG where _HISTID <> 0 and not exists (select 1 from HISTORY where HISTORY._ID = EVENTLOG._HISTID);
    delete from HW where _ASSET <> 0 and not exists (select 1 from ASSET where ASSET._ID = HW._ASSET);
    delete from IECOOKIE where _ASSET <> 0 and not exists (select 1 from ASSET where ASSET._ID = IECOOKIE._ASSET);
    delete from IEHIST where _ASSET <> 0 and not exists (select 1 from ASSET where ASSET._ID = IEHIST._ASSET);
    delete from SWCAPTURE where _ASSET <> 0 and not exists (select 1 from ASSET where ASSET._ID = SWCAPTURE._ASSET);
    delete from SWLINK where _ASSET <> 0 and not exists (select 1 from ASSET where ASSET._ID = SWLINK._ASSET);
    delete from SWFILE where _APPID = 0 and not exists (select 1 from SWLINK where SWLINK._FILE = SWFILE._ID);
    with recursive KEPT(_ID) as (select _FOLDER from SWLINK union select SWFOLDER._PARENT from SWFOLDER join KEPT on SWFOLDER._ID = KEPT._ID) delete from SWFOLDER where not exists (select 1 from KEPT where KEPT._ID = SWFOLDER._ID);
    ret := 0;
end;
$$;
