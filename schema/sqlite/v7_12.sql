-- Turns a new 7.14 database (tables.sql) into the 7.12 layout, for upgrade tests. The
-- tables of 7.12 are those of 7.14; the version row and the older indexes of HW and APPINST differ.
-- Before IX_HW_KEY_VAL, HW's values were found through an index on _KEY alone.
drop index IX_HW_KEY_VAL;
create index IX_HW_KEY on HW (_KEY);
-- and an application's instances through an index on _APP alone.
drop index IX_APPINST_APP_ASSET_VERSION_ID;
create index IX_APPINST_APP on APPINST (_APP);
update VERSION set _MAJOR = 7, _MINOR = 12;
