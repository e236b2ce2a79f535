-- The Audit Database at schema 7.14 on SQLite: every table, its indexes and the seed rows.
-- Run on an empty database file; see ../README.md for the order of the scripts and the
-- statement separator rule.
--
-- Types: every number is a 32-bit value written with "%d" (identifiers, flags, sizes and
-- checksums may arrive negative when their top bit is set), so plain integer. Dates are
-- written as '20090101 00:00:00'; "datetime" keeps that text as it is. Texts are stored as
-- the bytes that were sent. The widths that PostgreSQL enforces with varchar(N) are
-- enforced here by CHECK constraints on the byte length, so both engines refuse the same
-- over-long values.
--
-- Every table starts with _ID, because several statements read "select *" by position.
-- Columns that inserts leave out default to 0 or the empty text; dates default to null
-- ("never").

-- Schema version: one row.
create table VERSION (
    _ID integer primary key autoincrement,
    _MAJOR integer not null default 0,
    _MINOR integer not null default 0
);

-- Site-wide settings, one row per key.
create table OPTIONS (
    _ID integer primary key autoincrement,
    _KEY text default '',
    _VAL text default ''
);
create index IX_OPTIONS_KEY on OPTIONS (_KEY);

-- Location types: a chain of levels, each type naming the one above it.
create table LOCTYPE (
    _ID integer primary key autoincrement,
    _LABEL text default '',
    _PARENT integer default 0
);
create index IX_LOCTYPE_PARENT on LOCTYPE (_PARENT);

-- Locations: a tree; the address ranges are dotted IPv4 texts joined by ";".
create table LOCDATA (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _PARENT integer default 0,
    _TYPE integer default 0,
    _IPFROM varchar(255) default '' check (length(cast(_IPFROM as blob)) <= 255),
    _IPTO varchar(255) default '' check (length(cast(_IPTO as blob)) <= 255)
);
create index IX_LOCDATA_PARENT_NAME on LOCDATA (_PARENT, _NAME);
create index IX_LOCDATA_TYPE on LOCDATA (_TYPE);

-- Assets. _LOCATION is a LOCDATA._ID, or the parent asset's _ID when _STATUS has 0x1000.
create table ASSET (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _LOCATION integer default 0,
    _STATUS integer default 0,
    _CAT integer default 0,
    _MAKE integer default 0,
    _MODEL integer default 0,
    _SERIAL text default '',
    _MACADDR text default '',
    _IPADDR text default '',
    _AUDDATE datetime,
    _FLAGS integer default 0
);
create index IX_ASSET_NAME on ASSET (_NAME);
create index IX_ASSET_LOCATION on ASSET (_LOCATION);
create index IX_ASSET_MACADDR on ASSET (_MACADDR);

-- Pick lists and their items.
create table PICKTYPE (
    _ID integer primary key autoincrement,
    _NAME text default ''
);
create index IX_PICKTYPE_NAME on PICKTYPE (_NAME);

create table PICKDATA (
    _ID integer primary key autoincrement,
    _LISTID integer default 0,
    _DATA text default ''
);
create index IX_PICKDATA_LISTID on PICKDATA (_LISTID);

-- User-defined field definitions and groups (_FLAGS bit 0x1: group).
create table USERDEF (
    _ID integer primary key autoincrement,
    _PARENT integer default 0,
    _KEY text default '',
    _FLAGS integer default 0,
    _VAL1 text default '',
    _VAL2 text default ''
);
create index IX_USERDEF_PARENT on USERDEF (_PARENT);

-- User-defined values; _OWNER is an ASSET._ID when _FLAGS has 0x2, an APPS._ID with 0x4.
create table USERDATA (
    _ID integer primary key autoincrement,
    _PARENT integer default 0,
    _OWNER integer default 0,
    _KEY text default '',
    _VAL text default '',
    _FLAGS integer default 0
);
create index IX_USERDATA_OWNER on USERDATA (_OWNER);
-- No index on _KEY or _PARENT: the reads by key list one field over the whole site, a large
-- share of the rows, and most fields share the parent 0, while each index costs every new asset
-- page writes for its field rows. A value is found through its owner.

-- Site categories, makes and models. MAKE._CAT and MODEL._MAKE hold combined identifiers.
create table CAT (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _TYPE integer default 0
);
create index IX_CAT_NAME on CAT (_NAME);

create table MAKE (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _CAT integer default 0
);
create index IX_MAKE_CAT on MAKE (_CAT);

create table MODEL (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _MAKE integer default 0
);
create index IX_MODEL_MAKE on MODEL (_MAKE);

-- Hardware tree: the shared category skeleton (_ASSET 0) and each asset's value nodes.
create table HW (
    _ID integer primary key autoincrement,
    _PARENT integer default 0,
    _ASSET integer default 0,
    _KEY varchar(255) default '' check (length(cast(_KEY as blob)) <= 255),
    _VAL varchar(255) default '' check (length(cast(_VAL as blob)) <= 255),
    _FLAGS integer default 0
);
create index IX_HW_PARENT_ASSET_KEY on HW (_PARENT, _ASSET, _KEY);
create index IX_HW_ASSET on HW (_ASSET);
create index IX_HW_KEY_VAL on HW (_KEY, _VAL);

-- Software folders and files, stored once for the site and linked to assets.
create table SWFOLDER (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _PARENT integer default 0
);
create index IX_SWFOLDER_PARENT_NAME on SWFOLDER (_PARENT, _NAME);

create table SWFILE (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _SIZE integer default 0,
    _CRC integer default 0,
    _RESMFR text default '',
    _RESAPP text default '',
    _RESVER text default '',
    _APPID integer default 0
);
create index IX_SWFILE_NAME on SWFILE (_NAME);
create index IX_SWFILE_APPID on SWFILE (_APPID);

-- A folder link has _FILE 0; a file link names the file and the folder it lies in. The
-- (_ASSET, _FOLDER, _FILE) index finds one link of a file, as every merge of a file does.
create table SWLINK (
    _ID integer primary key autoincrement,
    _ASSET integer default 0,
    _FOLDER integer default 0,
    _FILE integer default 0,
    _FDATE integer default 0
);
create index IX_SWLINK_ASSET_FOLDER on SWLINK (_ASSET, _FOLDER, _FILE);
create index IX_SWLINK_FILE on SWLINK (_FILE);
create index IX_SWLINK_FOLDER on SWLINK (_FOLDER);

create table SWCAPTURE (
    _ID integer primary key autoincrement,
    _ASSET integer default 0,
    _FNAME text default '',
    _CONTENT text default ''
);
create index IX_SWCAPTURE_ASSET on SWCAPTURE (_ASSET);

-- Application catalogue. _LICTYPE 1 is the "not specified" licence type seeded below.
create table APPS (
    _ID integer primary key autoincrement,
    _MFR text default '',
    _APP text default '',
    _FLAGS integer default 0,
    _ALIAS integer default 0,
    _LICTYPE integer default 1,
    _LICCOUNT integer default 0
);
create index IX_APPS_APP_MFR on APPS (_APP, _MFR);
create index IX_APPS_ALIAS on APPS (_ALIAS);

-- Application instances, one per application per asset.
create table APPINST (
    _ID integer primary key autoincrement,
    _ASSET integer default 0,
    _APP integer default 0,
    _SERIAL text default '',
    _VERSION text default '',
    _FILES integer default 0,
    _FLAGS integer default 0
);
create index IX_APPINST_ASSET_APP on APPINST (_ASSET, _APP);
-- An application's installations (their assets, versions and ids) from the index alone: its counts,
-- its assets and versions, EnumGlobalSwAssets, on a site of many computers.
create index IX_APPINST_APP_ASSET_VERSION_ID on APPINST (_APP, _ASSET, _VERSION, _ID);

-- Licence types, alerts, licence totals by application text, serial-number places.
create table LICTYPE (
    _ID integer primary key autoincrement,
    _NAME text default '',
    _FLAGS integer default 0
);

create table LICALERTS (
    _ID integer primary key autoincrement,
    _TYPE integer default 0,
    _APP integer default 0,
    _DATE datetime,
    _DECLARED integer default 0,
    _INSTANCES integer default 0
);
create index IX_LICALERTS_APP on LICALERTS (_APP);

create table SWLIC (
    _ID integer primary key autoincrement,
    _TYPE integer default 0,
    _APP text default '',
    _TOTAL integer default 0,
    _AUTHORIZED integer default 0
);
create index IX_SWLIC_TYPE_APP on SWLIC (_TYPE, _APP);

create table SWSERIAL (
    _ID integer primary key autoincrement,
    _APPNAME text default '',
    _REGKEY text default '',
    _REGITEM text default ''
);

-- Change history; the column order is the one "select *" is read in.
create table HISTORY (
    _ID integer primary key autoincrement,
    _ASSET integer default 0,
    _DATE datetime,
    _CODE integer default 0,
    _KEY varchar(256) default '' check (length(cast(_KEY as blob)) <= 256),
    _VALUE1 varchar(256) default '' check (length(cast(_VALUE1 as blob)) <= 256),
    _VALUE2 varchar(256) default '' check (length(cast(_VALUE2 as blob)) <= 256),
    _USERNAME varchar(256) default '' check (length(cast(_USERNAME as blob)) <= 256)
);
create index IX_HISTORY_ASSET_DATE on HISTORY (_ASSET, _DATE);
-- No index on _DATE alone: every history row written would pay for it, and only purges, rare
-- maintenance that reads most of the table anyway, search by date across assets.

create table EVENTLOG (
    _ID integer primary key autoincrement,
    _EVENT text default '',
    _HISTID integer default 0
);
create index IX_EVENTLOG_HISTID on EVENTLOG (_HISTID);

-- Internet history (one row per asset, site and day) and cookies.
create table IEHIST (
    _ID integer primary key autoincrement,
    _ASSET integer default 0,
    _DATE datetime,
    _SITE varchar(1024) default '' check (length(cast(_SITE as blob)) <= 1024),
    _PAGECOUNT integer default 0
);
create index IX_IEHIST_ASSET_SITE on IEHIST (_ASSET, _SITE);
create index IX_IEHIST_DATE on IEHIST (_DATE);

create table IECOOKIE (
    _ID integer primary key autoincrement,
    _ASSET integer default 0,
    _DATE datetime,
    _NAME text default ''
);
create index IX_IECOOKIE_ASSET on IECOOKIE (_ASSET);
create index IX_IECOOKIE_DATE on IECOOKIE (_DATE);

-- Console users, the security switch, discovered computers, notes.
create table USERS (
    _ID integer primary key autoincrement,
    _USER text default '',
    _PASSWD text default '',
    _LEVEL integer default 0,
    _LOCID integer default 0,
    _PROFILE text default '',
    _FNAME text default '',
    _LNAME text default ''
);
create index IX_USERS_USER on USERS (_USER);

create table SECURITY (
    _ID integer primary key autoincrement,
    _ENABLED integer default 0
);

-- _ASSET is the computer's name, matched against ASSET._NAME.
create table DISCOVER (
    _ID integer primary key autoincrement,
    _DOMAIN text default '',
    _ASSET text default '',
    _IPADDR text default ''
);
create index IX_DISCOVER_ASSET on DISCOVER (_ASSET);

create table NOTES (
    _ID integer primary key autoincrement,
    _TYPE integer default 0,
    _TABLE integer default 0,
    _RECORD integer default 0,
    _DATA integer default 0,
    _TEXT text default ''
);
create index IX_NOTES_TYPE_TABLE_RECORD on NOTES (_TYPE, _TABLE, _RECORD);

-- Seed rows. Security starts switched off, so that a new database opens without users.
-- Licence type 1 stands for "no licence specified" and must exist before any type the
-- site adds, which therefore start at 2.
insert into VERSION (_ID, _MAJOR, _MINOR) values (1, 7, 14);
insert into SECURITY (_ID, _ENABLED) values (1, 0);
insert into LICTYPE (_ID, _NAME, _FLAGS) values (1, 'Not Specified', 0);
