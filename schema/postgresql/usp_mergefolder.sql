-- usp_MergeFolder(asset, parent, name): the SWFOLDER row called `name` directly below folder
-- `parent` (0: a top-level folder), created when there is none, and a folder link (_FILE 0)
-- of `asset` to it, added when the asset has none. Reached through
-- "{?=call usp_MergeFolder(7,0,'Program Files',?)}": ret goes to the return-value marker, the
-- folder's _ID to the trailing one.
--   p_asset   ASSET._ID of the asset the folder was found on (the first number)
--   p_parent  SWFOLDER._ID of the parent folder, 0 at the top (the second number)
--   p_name    the folder's own name, one path component; compared byte for byte
-- Folder rows are shared by the whole site; a missing one is looked for again under an
-- advisory lock on parent and name (schema/README.md), so concurrent imports share one row. The library runs the same statements itself on
-- SQLite (sql/sqlite_software_procedures.cpp): keep them in step.
create or replace function usp_MergeFolder(p_asset integer, p_parent integer, p_name text, out ret integer, out folder integer)
language plpgsql as $$
begin
    select _ID into folder from SWFOLDER where _PARENT = p_parent and _NAME = p_name order by _ID limit 1;
    if folder is null then
        perform pg_advisory_xact_lock(hashtext('SWFOLDER'), hashtext(p_parent || chr(9) || upper(p_name)));
        select _ID into folder from SWFOLDER where _PARENT = p_parent and _NAME = p_name order by _ID limit 1;
        if folder is null then
            insert into SWFOLDER (_NAME, _PARENT) values (p_name, p_parent) returning _ID into folder;
        end if;
    end if;
    if not exists (select 1 from SWLINK where _ASSET = p_asset and _FOLDER = folder and _FILE = 0) then
        insert into SWLINK (_ASSET, _FOLDER, _FILE, _FDATE) values (p_asset, folder, 0, 0);
    end if;
    ret := 0;
end;
$$;
