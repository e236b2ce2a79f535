-- usp_Insert(table, columns, values): inserts one row and hands back its new _ID.
-- Reached through the ODBC call escape "{?=call usp_Insert('T','C1,C2','V1,V2',?)}": the
-- driver runs "select * from usp_Insert(...)" and passes the result columns to the bound
-- parameters in order, ret to the return-value marker and newid to the trailing one.
-- The column and value lists are SQL text put together by the library, which has already
-- quoted every text in them; they are spliced in as they are. A failing insert raises, and
-- the caller sees the statement fail.
create or replace function usp_Insert(tbl text, cols text, vals text, out ret integer, out newid integer)
language plpgsql as $$
begin
    execute 'insert into ' || tbl || ' (' || cols || ') values (' || vals || ') returning _ID' into newid;
    ret := 0;
end;
$$;
