-- usp_GetHwCategoryString(node, separator): the names of the category nodes (_FLAGS bit 1)
-- from the root of HW down to `node`, joined by `separator`. A value node adds nothing of its
-- own, so a value's path is its category's. Reached as "select path from
-- usp_GetHwCategoryString(12,'|')"; ret is 0. The walk stops after 64 levels, so a cycle
-- written by hand cannot hang it. The library computes the same on SQLite
-- (sql/hardware_reads.cpp): keep the two identical.
create or replace function usp_GetHwCategoryString(p_node integer, p_separator text, out ret integer, out path text)
language plpgsql as $$
declare
    v_node integer := p_node;
    v_parent integer;
    v_key text;
    v_flags integer;
    v_first boolean := true;
    v_depth integer := 0;
begin
    path := '';
    while v_node <> 0 and v_depth < 64 loop
        select _PARENT, _KEY, _FLAGS into v_parent, v_key, v_flags from HW where _ID = v_node;
        exit when not found;
        if (coalesce(v_flags, 0) & 1) <> 0 then
            if v_first then
                path := coalesce(v_key, '');
            else
                path := coalesce(v_key, '') || p_separator || path;
            end if;
            v_first := false;
        end if;
        v_node := coalesce(v_parent, 0);
        v_depth := v_depth + 1;
    end loop;
    ret := 0;
end;
$$;
