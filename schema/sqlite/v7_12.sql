-- Turns a new 7.14 database (tables.sql) into the 7.12 layout, for upgrade tests. The
-- tables of 7.12 are those of 7.14; only the version row differs.
update VERSION set _MAJOR = 7, _MINOR = 12;
