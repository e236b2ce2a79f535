-- Turns a new 7.14 database (tables.sql) into the 7.10 layout, for upgrade tests. The
-- tables of 7.10 are those of 7.14; only the version row differs.
update VERSION set _MAJOR = 7, _MINOR = 10;
