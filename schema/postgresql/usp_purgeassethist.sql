-- usp_PurgeAssetHist(asset, before, keepinitial, keepaudits): deletes old history and hands
-- back how many HISTORY rows went. Reached through "{?=call usp_PurgeAssetHist(1,'20090101
-- 00:00:00',1,0,?)}": ret goes to the return-value marker, removed to the trailing one.
--   asset       the asset whose history is purged; 0 purges every asset's
--   before      rows dated strictly before this time are purged
--   keepinitial non-zero keeps initial audits (code 0x10003 = 65539) however old
--   keepaudits  above 0, keeps the rows of the asset's keepaudits latest history dates (one
--               audit stamps all its rows with one date) even when they are older
-- The events of purged rows go with them, so no EVENTLOG row is left pointing nowhere. The
-- library runs the same two statements itself on SQLite (sql/sqlite_procedures.cpp): keep
-- them identical. One transaction: a failure leaves the history as it was.
create or replace function usp_PurgeAssetHist(p_asset integer, p_before timestamp, p_keepinitial integer, p_keepaudits integer, out ret integer, out removed integer)
language plpgsql as $$
begin
    delete from EVENTLOG where _HISTID in (select _ID from HISTORY where (p_asset = 0 or _ASSET = p_asset) and _DATE < p_before and (p_keepinitial = 0 or _CODE <> 65539) and (p_keepaudits <= 0 or (select count(distinct H._DATE) from HISTORY H where H._ASSET = HISTORY._ASSET and H._DATE > HISTORY._DATE) >= p_keepaudits));
    delete from HISTORY where (p_asset = 0 or _ASSET = p_asset) and _DATE < p_before and (p_keepinitial = 0 or _CODE <> 65539) and (p_keepaudits <= 0 or (select count(distinct H._DATE) from HISTORY H where H._ASSET = HISTORY._ASSET and H._DATE > HISTORY._DATE) >= p_keepaudits);
    get diagnostics removed = row_count;
    ret := 0;
end;
$$;
