-- usp_Clean: removes the rows left behind by deleted assets and applications. The library
-- runs these statements in order on SQLite; the PostgreSQL function usp_Clean runs the very
-- same statements (postgresql/usp_clean.sql), so both engines clean alike. Each statement
-- ends with ";" at the end of its line and is written in SQL that both engines accept.
--
-- Asset deletion removes most of an asset's rows at once. This catches what it leaves:
--   - rows of a deleted asset (_ASSET no longer in ASSET) in APPINST, HISTORY, HW (value
--     nodes only: the shared skeleton has _ASSET 0), IECOOKIE, IEHIST, SWCAPTURE, SWLINK
--   - asset-level USERDATA values (_FLAGS 0x2) whose _OWNER asset is gone
--   - EVENTLOG rows whose HISTORY row is gone
-- Application deletion removes the APPS row and its instances. This catches:
--   - APPINST rows and LICALERTS rows whose _APP is gone
--   - application-level USERDATA values (_FLAGS 0x4 without 0x2) whose _OWNER is gone
--   - APPS._ALIAS and SWFILE._APPID naming a gone application: reset to 0, the rows stay
-- And the site-wide software rows that no asset refers to any more:
--   - SWFILE rows without any SWLINK that are not assigned to an application (an assigned
--     file is part of its application's definition and is kept)
--   - SWFOLDER rows that no SWLINK names, unless they are the parent of a folder that is kept
-- A reference of 0 means "none", never a deleted record, so rows holding 0 are left alone.
-- Assets and applications themselves, DISCOVER, NOTES, locations, LICTYPE, SWLIC and
-- SWSERIAL are never touched.

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
