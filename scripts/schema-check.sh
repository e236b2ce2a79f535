#!/usr/bin/env bash
# Loads every schema script into real SQLite files and PostgreSQL databases and checks them:
# the statement separator rule, the version rows and LOCDATA layouts of 7.08 to 7.14, that both
# engines have the same tables, columns, types and widths, that every table takes usp_Insert,
# that the PostgreSQL usp_Clean runs exactly the SQLite clean-up list, and that both clean-ups
# remove the same orphaned rows and keep the rest.
#
#   scripts/schema-check.sh            (starts a private PostgreSQL cluster when none is set up)
#
# Needs sqlite3, psql, isql and the PostgreSQL server binaries. Reports every failed check and
# exits non-zero; a script that does not load stops the run at once.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
schema=$(cd "$here/../schema" && pwd)

# Without a cluster from the caller, run inside a private one.
if [[ -z "${NORVIK_PG_PORT:-}" ]]; then
    exec "$here/with-pg-cluster.sh" "$0" "$@"
fi

# psql sends 8-bit texts unchanged only with the client encoding of the databases.
export PGCLIENTENCODING=SQL_ASCII

work=$(mktemp -d /tmp/norvik-schema-check.XXXXXX)
pg_dbs=()
cleanup() {
    local db
    for db in "${pg_dbs[@]}"; do dropdb --if-exists "$db" >/dev/null 2>&1 || true; done
    rm -rf "$work"
}
trap cleanup EXIT

failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
pass() { echo "ok: $*"; }
expect_eq() { # what, expected, actual
    if [[ "$2" == "$3" ]]; then pass "$1"; else fail "$1"$'\n'"--- expected"$'\n'"$2"$'\n'"--- actual"$'\n'"$3"; fi
}

# The statement separator rule of schema/README.md: a statement ends with ";" at the end of a
# line, "--" lines outside dollar quotes are comments, "$$ ... $$" bodies are copied whole.
# Prints the statements NUL-separated; fails on a statement left unterminated, and on a
# comment that ends with ";" or follows a statement on its line, which would mislead a
# splitter that only looks at line ends.
split_statements() {
    awk '
        /^[[:space:]]*--.*;[[:space:]]*$/ || /;[[:space:]]*--/ { print FILENAME ":" FNR ": comment would end a statement" > "/dev/stderr"; bad = 1 }
        !body && /^[[:space:]]*--/ { next }
        !body && buf == "" && /^[[:space:]]*$/ { next }
        {
            line = $0
            if (gsub(/\$\$/, "", line) % 2 == 1) body = !body
            buf = buf $0 "\n"
            if (!body && $0 ~ /;[[:space:]]*$/) { printf "%s%c", buf, 0; buf = "" }
        }
        END {
            if (buf ~ /[^[:space:]]/) { print "unterminated statement in " FILENAME > "/dev/stderr"; exit 1 }
            if (bad) exit 1
        }
    ' "$1"
}

sq() { sqlite3 -batch -bail "$@"; }
pg() { local db=$1; shift; psql -X -q -v ON_ERROR_STOP=1 -At -F '|' -d "$db" "$@"; }

# Runs a script one statement at a time, so that a wrong split fails the load.
load_sqlite() { # db file
    local stmt count=0
    while IFS= read -r -d '' stmt; do
        sq "$1" "$stmt" || { fail "sqlite: $2 statement $((count + 1)) failed:"$'\n'"$stmt"; return 1; }
        count=$((count + 1))
    done < <(split_statements "$2")
    ((count > 0)) || fail "sqlite: no statement in $2"
}
load_pg() { # db file
    local stmt count=0
    while IFS= read -r -d '' stmt; do
        pg "$1" -c "$stmt" >/dev/null || { fail "postgresql: $2 statement $((count + 1)) failed:"$'\n'"$stmt"; return 1; }
        count=$((count + 1))
    done < <(split_statements "$2")
    ((count > 0)) || fail "postgresql: no statement in $2"
}

# A new 7.14 database per engine, loaded statement by statement once; every other database is
# a copy of it with the version's delta applied.
make_base() {
    load_sqlite "$work/base.db" "$schema/sqlite/tables.sql"
    dropdb --if-exists norvik_check_base >/dev/null 2>&1
    createdb -E SQL_ASCII -T template0 --locale=C norvik_check_base
    pg_dbs+=(norvik_check_base)
    local f
    load_pg norvik_check_base "$schema/postgresql/tables.sql"
    for f in "$schema"/postgresql/usp_*.sql; do load_pg norvik_check_base "$f"; done
}
make_sqlite() { # name version; prints the file name
    local db="$work/$1.db"
    cp "$work/base.db" "$db"
    [[ "$2" == 7_14 ]] || load_sqlite "$db" "$schema/sqlite/v$2.sql"
    echo "$db"
}
make_pg() { # name version; the database is norvik_check_<name>
    local db="norvik_check_$1"
    dropdb --if-exists "$db" >/dev/null 2>&1
    createdb -T norvik_check_base "$db"
    pg_dbs+=("$db")
    [[ "$2" == 7_14 ]] || load_pg "$db" "$schema/postgresql/v$2.sql"
}

# Canonical column list "TABLE|ordinal|column|type" of every table, for either engine.
columns_sqlite() {
    local t
    for t in $(sq "$1" "select name from sqlite_master where type='table' and name <> 'sqlite_sequence' order by name"); do
        sq -separator '|' "$1" "select '$t', cid + 1, name, lower(type) from pragma_table_info('$t') order by cid"
    done | sed -E 's/\|datetime$/|date/'
}
columns_pg() {
    pg "$1" -c "select upper(table_name), ordinal_position, upper(column_name),
                       case when data_type = 'character varying' then 'varchar(' || character_maximum_length || ')'
                            when data_type like 'timestamp%' then 'date' else data_type end
                from information_schema.columns where table_schema = 'public'
                order by upper(table_name), ordinal_position"
}

# ---------------------------------------------------------------------------------------------
echo "== separator rule and loading"
for f in "$schema"/sqlite/*.sql "$schema"/postgresql/*.sql; do
    split_statements "$f" >/dev/null || fail "$f does not follow the separator rule"
done
make_base
for v in 7_14 7_12 7_10 7_08; do
    make_sqlite "v$v" "$v" >/dev/null
    make_pg "v$v" "$v"
done
pass "every version loads statement by statement on both engines"

echo "== version rows and LOCDATA layout"
for v in 7_14 7_12 7_10 7_08; do
    want="7|$((10#${v#7_}))"
    expect_eq "sqlite $v version row" "$want" "$(sq -separator '|' "$work/v$v.db" "select _MAJOR, _MINOR from VERSION")"
    expect_eq "postgresql $v version row" "$want" "$(pg "norvik_check_v$v" -c "select _MAJOR, _MINOR from VERSION")"
    if [[ $v == 7_08 ]]; then want_ip="integer"; else want_ip="varchar(255)"; fi
    expect_eq "sqlite $v LOCDATA address columns" "LOCDATA|5|_IPFROM|$want_ip"$'\n'"LOCDATA|6|_IPTO|$want_ip" \
        "$(columns_sqlite "$work/v$v.db" | grep '^LOCDATA|.*_IP')"
    expect_eq "postgresql $v LOCDATA address columns" "LOCDATA|5|_IPFROM|$want_ip"$'\n'"LOCDATA|6|_IPTO|$want_ip" \
        "$(columns_pg "norvik_check_v$v" | grep '^LOCDATA|.*_IP')"
done
# 7.08 holds one range per location as signed 32-bit numbers (192.168.0.1 is -1062731775).
sq "$work/v7_08.db" "insert into LOCDATA (_NAME,_IPFROM,_IPTO) values ('Old',-1062731775,-1062731521)"
pg norvik_check_v7_08 -c "insert into LOCDATA (_NAME,_IPFROM,_IPTO) values ('Old',-1062731775,-1062731521)"
expect_eq "7.08 address numbers round-trip on both engines" \
    "$(sq -separator '|' "$work/v7_08.db" "select _IPFROM,_IPTO from LOCDATA")" \
    "$(pg norvik_check_v7_08 -c "select _IPFROM,_IPTO from LOCDATA")"

expect_eq "7.08 columns, types and widths agree" "$(columns_sqlite "$work/v7_08.db")" "$(columns_pg norvik_check_v7_08)"
# The 7.09 widening of the address columns (schema/README.md) gives the 7.14 layout back.
pg norvik_check_v7_08 -c "alter table LOCDATA alter column _IPFROM type varchar(255), alter column _IPFROM set default '';
                          alter table LOCDATA alter column _IPTO type varchar(255), alter column _IPTO set default ''"
expect_eq "postgresql 7.08 LOCDATA widened as documented matches 7.14" \
    "$(columns_pg norvik_check_v7_14 | grep '^LOCDATA|')" "$(columns_pg norvik_check_v7_08 | grep '^LOCDATA|')"
expect_eq "postgresql widening keeps the numbers as decimal text" "-1062731775|-1062731521" \
    "$(pg norvik_check_v7_08 -c "select _IPFROM,_IPTO from LOCDATA")"
sq "$work/v7_08.db" "update LOCDATA set _IPFROM='192.168.0.1',_IPTO='' where _NAME='Old'"
expect_eq "sqlite 7.08 integer columns keep dotted texts as texts" "192.168.0.1|text|''|text" \
    "$(sq -separator '|' "$work/v7_08.db" "select _IPFROM, typeof(_IPFROM), quote(_IPTO), typeof(_IPTO) from LOCDATA")"

echo "== both engines have the same tables and columns"
expect_eq "7.14 columns, types and widths agree" "$(columns_sqlite "$work/v7_14.db")" "$(columns_pg norvik_check_v7_14)"
tables=$(sq "$work/v7_14.db" "select name from sqlite_master where type='table' and name <> 'sqlite_sequence' order by name")
expect_eq "31 tables" 31 "$(echo "$tables" | wc -l)"
for t in $tables; do
    first=$(columns_sqlite "$work/v7_14.db" | grep "^$t|1|")
    [[ "$first" == "$t|1|_ID|integer" ]] || fail "$t does not start with _ID integer: $first"
done
pass "every table starts with _ID"

echo "== seed rows"
for e in sqlite postgresql; do
    if [[ $e == sqlite ]]; then q() { sq -separator '|' "$work/v7_14.db" "$1"; }; else q() { pg norvik_check_v7_14 -c "$1"; }; fi
    expect_eq "$e SECURITY seed" "1|0" "$(q "select _ID, _ENABLED from SECURITY")"
    expect_eq "$e LICTYPE seed" "1|Not Specified|0" "$(q "select _ID, _NAME, _FLAGS from LICTYPE")"
done

echo "== usp_Insert"
expect_eq "usp_Insert returns ret 0 and the new _ID" "0|1" \
    "$(pg norvik_check_v7_14 -c "select * from usp_Insert('OPTIONS','_KEY,_VAL','''a'',''O''''Neil''')")"
expect_eq "usp_Insert stored the quoted text once" "a|O'Neil" "$(pg norvik_check_v7_14 -c "select _KEY,_VAL from OPTIONS")"
expect_eq "usp_Insert through the ODBC call escape" "0|2" \
    "$(echo "{call usp_Insert('OPTIONS','_KEY,_VAL','''b'',''c''')}" |
        isql -k "${NORVIK_TEST_PG_DSN/Database=postgres/Database=norvik_check_v7_14}" -b -c -d'|' 2>&1 |
        grep -v '^SQLRowCount' | tail -1 | tr -d ' ')"
if pg norvik_check_v7_14 -c "select * from usp_Insert('NOSUCH','_A','1')" >/dev/null 2>&1; then
    fail "usp_Insert into a missing table succeeded"
else
    pass "usp_Insert into a missing table raises"
fi
# Every table takes an insert of its defaults and counts on from its seeds; both engines agree.
ids_sqlite=""
ids_pg=""
for t in $tables; do
    ids_sqlite+="$t|$(sq "$work/v7_12.db" "insert into $t (_ID) values (null); select last_insert_rowid()" 2>&1 || true)"$'\n'
    ids_pg+="$t|$(pg norvik_check_v7_12 -c "select newid from usp_Insert('$t','_ID','default')" 2>&1 || true)"$'\n'
done
expect_eq "every table assigns the same next _ID on both engines" "$ids_sqlite" "$ids_pg"
expect_eq "identities continue after the seeds" "LICTYPE|2 SECURITY|2 VERSION|2" \
    "$(echo "$ids_pg" | grep -E '^(LICTYPE|SECURITY|VERSION)\|' | tr '\n' ' ' | sed 's/ $//')"

echo "== widths and values"
for e in sqlite postgresql; do
    if [[ $e == sqlite ]]; then q() { sq -separator '|' "$work/v7_14.db" "$1" 2>/dev/null; }; else q() { pg norvik_check_v7_14 -c "$1" 2>/dev/null; }; fi
    # Every varchar(N) column takes N bytes (8-bit ones included) and refuses N + 1.
    while IFS='|' read -r t _ c type; do
        n=${type#varchar(}
        n=${n%)}
        text=$(head -c "$((n - 1))" /dev/zero | tr '\0' 'x')$'\xe9'
        q "insert into $t ($c) values ('$text')" >/dev/null || fail "$e: $n bytes refused by $t.$c"
        if q "insert into $t ($c) values ('${text}y')" >/dev/null; then fail "$e: $((n + 1)) bytes accepted by $t.$c"; fi
        [[ "$(q "select count(*) from $t where $c = '$text'")" == 1 ]] || fail "$e: $t.$c did not keep its $n bytes"
    done < <(columns_sqlite "$work/v7_14.db" | grep '|varchar(')
    pass "$e: every varchar(N) column keeps N bytes and refuses N + 1"
    q "insert into SWFILE (_NAME,_SIZE,_CRC,_APPID) values ('f',-1,-2147483648,2147483647)" >/dev/null
    expect_eq "$e: 32-bit values written with %d round-trip" "-1|-2147483648|2147483647" \
        "$(q "select _SIZE,_CRC,_APPID from SWFILE where _NAME='f'")"
    q "insert into HISTORY (_ASSET,_DATE,_CODE) values (1,'20090101 00:00:00',65539)" >/dev/null
    expect_eq "$e: date literal stored and compared" "1" \
        "$(q "select count(*) from HISTORY where _DATE = '20090101 00:00:00' and _DATE < '20090101 00:00:01'")"
done

echo "== usp_Clean is the same list on both engines"
sqlite_list=$(grep -v -e '^--' -e '^[[:space:]]*$' "$schema/sqlite/usp_clean.sql")
pg_list=$(sed -n '/^begin$/,/^end;$/p' "$schema/postgresql/usp_clean.sql" | sed -e '1d' -e '$d' -e 's/^    //' | grep -v '^ret := 0;$')
expect_eq "postgresql usp_Clean body equals sqlite/usp_clean.sql" "$sqlite_list" "$pg_list"

echo "== usp_Clean removes orphans and keeps the rest"
# Assets 1 and 2 exist, asset 3 was deleted; applications 10 and 13 exist, 12 was deleted.
fixture="
insert into ASSET (_ID,_NAME) values (1,'PC1');
insert into ASSET (_ID,_NAME) values (2,'PC2');
insert into APPS (_ID,_MFR,_APP,_ALIAS) values (10,'Acme','Editor',0);
insert into APPS (_ID,_MFR,_APP,_ALIAS) values (11,'Acme','Old',12);
insert into APPS (_ID,_MFR,_APP,_ALIAS) values (13,'Acme','Editor Pro',10);
insert into APPINST (_ID,_ASSET,_APP) values (1,1,10);
insert into APPINST (_ID,_ASSET,_APP) values (2,3,10);
insert into APPINST (_ID,_ASSET,_APP) values (3,1,12);
insert into APPINST (_ID,_ASSET,_APP) values (4,0,10);
insert into LICALERTS (_ID,_APP) values (1,10);
insert into LICALERTS (_ID,_APP) values (2,12);
insert into USERDATA (_ID,_OWNER,_FLAGS) values (1,1,2);
insert into USERDATA (_ID,_OWNER,_FLAGS) values (2,3,2);
insert into USERDATA (_ID,_OWNER,_FLAGS) values (3,3,18);
insert into USERDATA (_ID,_OWNER,_FLAGS) values (4,12,4);
insert into USERDATA (_ID,_OWNER,_FLAGS) values (5,10,4);
insert into USERDATA (_ID,_OWNER,_FLAGS) values (6,3,8);
insert into USERDATA (_ID,_OWNER,_FLAGS) values (7,0,2);
insert into SWFOLDER (_ID,_NAME,_PARENT) values (1,'C:',0);
insert into SWFOLDER (_ID,_NAME,_PARENT) values (2,'Windows',1);
insert into SWFOLDER (_ID,_NAME,_PARENT) values (3,'Temp',1);
insert into SWFOLDER (_ID,_NAME,_PARENT) values (4,'Sub',3);
insert into SWFOLDER (_ID,_NAME,_PARENT) values (5,'D:',0);
insert into SWFOLDER (_ID,_NAME,_PARENT) values (6,'Data',5);
insert into SWFILE (_ID,_NAME,_APPID) values (1,'a.exe',10);
insert into SWFILE (_ID,_NAME,_APPID) values (2,'b.exe',12);
insert into SWFILE (_ID,_NAME,_APPID) values (3,'c.tmp',0);
insert into SWFILE (_ID,_NAME,_APPID) values (4,'d.dll',10);
insert into SWFILE (_ID,_NAME,_APPID) values (5,'e.txt',0);
insert into SWFILE (_ID,_NAME,_APPID) values (6,'f.dll',12);
insert into SWLINK (_ID,_ASSET,_FOLDER,_FILE) values (1,1,2,0);
insert into SWLINK (_ID,_ASSET,_FOLDER,_FILE) values (2,1,2,1);
insert into SWLINK (_ID,_ASSET,_FOLDER,_FILE) values (3,1,2,2);
insert into SWLINK (_ID,_ASSET,_FOLDER,_FILE) values (4,3,4,3);
insert into SWLINK (_ID,_ASSET,_FOLDER,_FILE) values (5,3,6,4);
insert into SWLINK (_ID,_ASSET,_FOLDER,_FILE) values (6,3,5,0);
insert into HISTORY (_ID,_ASSET,_DATE,_CODE) values (1,1,'20090101 00:00:00',65539);
insert into HISTORY (_ID,_ASSET,_DATE,_CODE) values (2,3,'20090101 00:00:00',65539);
insert into HISTORY (_ID,_ASSET,_DATE,_CODE) values (3,0,'20090101 00:00:00',262158);
insert into EVENTLOG (_ID,_EVENT,_HISTID) values (1,'kept',1);
insert into EVENTLOG (_ID,_EVENT,_HISTID) values (2,'history of a deleted asset',2);
insert into EVENTLOG (_ID,_EVENT,_HISTID) values (3,'history long gone',99);
insert into EVENTLOG (_ID,_EVENT,_HISTID) values (4,'no history',0);
insert into HW (_ID,_PARENT,_ASSET,_KEY,_FLAGS) values (1,0,0,'Hardware',1);
insert into HW (_ID,_PARENT,_ASSET,_KEY,_VAL) values (2,1,1,'Speed','800');
insert into HW (_ID,_PARENT,_ASSET,_KEY,_VAL) values (3,1,3,'Speed','900');
insert into IECOOKIE (_ID,_ASSET,_NAME) values (1,1,'c1');
insert into IECOOKIE (_ID,_ASSET,_NAME) values (2,3,'c3');
insert into IEHIST (_ID,_ASSET,_SITE,_PAGECOUNT) values (1,1,'a.example',1);
insert into IEHIST (_ID,_ASSET,_SITE,_PAGECOUNT) values (2,3,'b.example',1);
insert into SWCAPTURE (_ID,_ASSET,_FNAME) values (1,1,'boot.ini');
insert into SWCAPTURE (_ID,_ASSET,_FNAME) values (2,3,'boot.ini');
insert into DISCOVER (_ID,_DOMAIN,_ASSET) values (1,'WORK','PC3');
insert into NOTES (_ID,_TYPE,_TABLE,_RECORD,_TEXT) values (1,1,1,3,'note on asset 3');
"
dump_query="
select 'APPS', _ID, _ALIAS from APPS order by _ID;
select 'APPINST', _ID from APPINST order by _ID;
select 'LICALERTS', _ID from LICALERTS order by _ID;
select 'USERDATA', _ID from USERDATA order by _ID;
select 'SWFOLDER', _ID from SWFOLDER order by _ID;
select 'SWFILE', _ID, _APPID from SWFILE order by _ID;
select 'SWLINK', _ID from SWLINK order by _ID;
select 'HISTORY', _ID from HISTORY order by _ID;
select 'EVENTLOG', _ID from EVENTLOG order by _ID;
select 'HW', _ID from HW order by _ID;
select 'IECOOKIE', _ID from IECOOKIE order by _ID;
select 'IEHIST', _ID from IEHIST order by _ID;
select 'SWCAPTURE', _ID from SWCAPTURE order by _ID;
select 'ASSET', _ID from ASSET order by _ID;
select 'DISCOVER', _ID from DISCOVER order by _ID;
select 'NOTES', _ID from NOTES order by _ID;
"
expected="APPS|10|0
APPS|11|0
APPS|13|10
APPINST|1
APPINST|4
LICALERTS|1
USERDATA|1
USERDATA|5
USERDATA|6
USERDATA|7
SWFOLDER|1
SWFOLDER|2
SWFILE|1|10
SWFILE|2|0
SWFILE|4|10
SWLINK|1
SWLINK|2
SWLINK|3
HISTORY|1
HISTORY|3
EVENTLOG|1
EVENTLOG|4
HW|1
HW|2
IECOOKIE|1
IEHIST|1
SWCAPTURE|1
ASSET|1
ASSET|2
DISCOVER|1
NOTES|1"

clean_db="$(make_sqlite clean 7_14)"
sq "$clean_db" "$fixture"
make_pg clean 7_14
pg norvik_check_clean -c "$fixture" >/dev/null
load_sqlite "$clean_db" "$schema/sqlite/usp_clean.sql"
expect_eq "postgresql usp_Clean returns 0" "0" "$(pg norvik_check_clean -c "select * from usp_Clean()")"
after_sqlite=$(sq -separator '|' "$clean_db" "$dump_query")
after_pg=$(pg norvik_check_clean -c "$dump_query")
expect_eq "sqlite clean-up keeps exactly the expected rows" "$expected" "$after_sqlite"
expect_eq "postgresql clean-up keeps exactly the expected rows" "$expected" "$after_pg"
load_sqlite "$clean_db" "$schema/sqlite/usp_clean.sql"
pg norvik_check_clean -c "select * from usp_Clean()" >/dev/null
expect_eq "a second sqlite clean-up changes nothing" "$expected" "$(sq -separator '|' "$clean_db" "$dump_query")"
expect_eq "a second postgresql clean-up changes nothing" "$expected" "$(pg norvik_check_clean -c "$dump_query")"

echo
if ((failures > 0)); then
    echo "$failures check(s) failed" >&2
    exit 1
fi
echo "all schema checks passed"
