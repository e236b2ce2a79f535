-- Turns a new 7.14 database (tables.sql) into the 7.08 layout, for upgrade tests. Before
-- 7.09 a location had one address range, each end a 32-bit number written with "%d"
-- instead of dotted texts. The two columns are last in LOCDATA, so dropping and adding
-- them keeps the column order.
alter table LOCDATA drop column _IPTO;
alter table LOCDATA drop column _IPFROM;
alter table LOCDATA add column _IPFROM integer default 0;
alter table LOCDATA add column _IPTO integer default 0;
-- Before IX_HW_KEY_VAL, HW's values were found through an index on _KEY alone.
drop index IX_HW_KEY_VAL;
create index IX_HW_KEY on HW (_KEY);
-- and an application's instances through an index on _APP alone.
drop index IX_APPINST_APP_ASSET_VERSION_ID;
create index IX_APPINST_APP on APPINST (_APP);
update VERSION set _MAJOR = 7, _MINOR = 8;
