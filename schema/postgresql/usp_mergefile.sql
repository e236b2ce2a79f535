-- usp_MergeFile(asset, folder, crc, name, size, date, mfr, product, version, app): records
-- that `asset` holds a file in `folder`. Reached through
-- "{?=call usp_MergeFile(7,12,-559038737,'app.exe',40960,1234567,'Acme','Editor','1.0',0)}",
-- ret going to the return-value marker. The ten positions, in order:
--   1 p_asset    ASSET._ID of the asset the file was found on
--   2 p_folder   SWFOLDER._ID of the folder it lies in (from usp_MergeFolder)
--   3 p_crc      CRC-32 of its contents (0 = not known)
--   4 p_name     the file name
--   5 p_size     its size in bytes
--   6 p_date     its date as the auditor gives it, stored in the link unchanged
--   7 p_mfr      manufacturer text of its version resource ('' = none)
--   8 p_product  product (application) text of its version resource
--   9 p_version  version text of its version resource
--  10 p_app      APPS._ID of the application it belongs to, 0 = not known
-- Numbers are 32-bit values written with "%d", so CRCs, sizes and dates of 2^31 and above
-- arrive negative and are stored and compared as they arrive.
-- File rows are shared by the whole site: the SWFILE row whose name, size, CRC and three
-- version texts all equal the arguments (texts byte for byte) is taken, else one is inserted
-- with p_app (a missing row is looked for again under an advisory lock on the name, as
-- schema/README.md describes, so concurrent imports share one row). A found row without an
-- application takes p_app; one with an application keeps it (assignments are changed by AssignFile, which keeps APPINST in step). The asset's link of
-- that file in that folder takes the date; without one, a link is inserted. The library runs the
-- same statements itself on SQLite (sql/sqlite_software_procedures.cpp): keep them in step.
create or replace function usp_MergeFile(p_asset integer, p_folder integer, p_crc integer, p_name text, p_size integer, p_date integer, p_mfr text, p_product text, p_version text, p_app integer, out ret integer)
language plpgsql as $$
declare
    v_file integer;
    v_app integer;
begin
    select _ID, _APPID into v_file, v_app from SWFILE where _NAME = p_name and _SIZE = p_size and _CRC = p_crc and _RESMFR = p_mfr and _RESAPP = p_product and _RESVER = p_version order by _ID limit 1;
    if v_file is null then
        perform pg_advisory_xact_lock(hashtext('SWFILE'), hashtext(upper(p_name)));
        select _ID, _APPID into v_file, v_app from SWFILE where _NAME = p_name and _SIZE = p_size and _CRC = p_crc and _RESMFR = p_mfr and _RESAPP = p_product and _RESVER = p_version order by _ID limit 1;
    end if;
    if v_file is null then
        insert into SWFILE (_NAME, _SIZE, _CRC, _RESMFR, _RESAPP, _RESVER, _APPID) values (p_name, p_size, p_crc, p_mfr, p_product, p_version, p_app) returning _ID into v_file;
    elsif v_app = 0 and p_app <> 0 then
        update SWFILE set _APPID = p_app where _ID = v_file;
    end if;
    update SWLINK set _FDATE = p_date where _ASSET = p_asset and _FOLDER = p_folder and _FILE = v_file;
    if not found then
        insert into SWLINK (_ASSET, _FOLDER, _FILE, _FDATE) values (p_asset, p_folder, v_file, p_date);
    end if;
    ret := 0;
end;
$$;
