-- The query planner's statistics for SQLite, as ANALYZE found them on a generated site of 5,000
-- computers (300 applications, about 90 hardware values, 10 user-defined fields and 50 history
-- records each), with the small catalogue tables given the sizes of a real site. Without them the
-- planner guesses, and on a grown site some of its guesses read the whole of HW for each asset
-- (the operating system of an asset page: a minute at 5,000 computers instead of a tenth of a
-- second). Only the proportions matter, so they serve a site of any size; an ANALYZE run by the
-- site later replaces them with its own.
-- ANALYZE of a one-row table creates sqlite_stat1 when it is missing; the last statement makes
-- this connection read the rows written.
analyze VERSION;
delete from sqlite_stat1 where tbl in ('APPINST', 'APPS', 'ASSET', 'CAT', 'HISTORY', 'HW', 'LOCDATA', 'LOCTYPE',
                                       'MAKE', 'MODEL', 'USERDATA', 'USERDEF');
insert into sqlite_stat1 (tbl, idx, stat) values
    ('APPINST', 'IX_APPINST_APP_ASSET_VERSION_ID', '1500000 300 1 1 1'),
    ('APPINST', 'IX_APPINST_ASSET_APP', '1500000 300 1'),
    ('APPS', 'IX_APPS_ALIAS', '5000 5000'),
    ('APPS', 'IX_APPS_APP_MFR', '5000 1 1'),
    ('ASSET', 'IX_ASSET_LOCATION', '5000 25'),
    ('ASSET', 'IX_ASSET_MACADDR', '5000 1'),
    ('ASSET', 'IX_ASSET_NAME', '5000 1'),
    ('CAT', 'IX_CAT_NAME', '50 1'),
    ('HISTORY', 'IX_HISTORY_ASSET_DATE', '263350 53 53'),
    ('HW', 'IX_HW_ASSET', '452531 91'),
    ('HW', 'IX_HW_KEY_VAL', '452531 6116 11'),
    ('HW', 'IX_HW_PARENT_ASSET_KEY', '452531 14142 5 1'),
    ('LOCDATA', 'IX_LOCDATA_PARENT_NAME', '224 9 1'),
    ('LOCDATA', 'IX_LOCDATA_TYPE', '224 75'),
    ('LOCTYPE', 'IX_LOCTYPE_PARENT', '3 1'),
    ('MAKE', 'IX_MAKE_CAT', '200 4'),
    ('MODEL', 'IX_MODEL_MAKE', '2000 10'),
    ('USERDATA', 'IX_USERDATA_OWNER', '50000 10'),
    ('USERDEF', 'IX_USERDEF_PARENT', '10 10');
analyze sqlite_master;
